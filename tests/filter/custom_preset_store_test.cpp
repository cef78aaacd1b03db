#include "filter/custom_preset_store.h"

#include <gtest/gtest.h>

#include <fstream>
#include <limits>

#include "filter/preset_json.h"
#include "support/temporary_folder.h"

namespace dravo {
namespace {

namespace fs = std::filesystem;
using testing::contentOf;

class CustomPresetStoreTest : public ::testing::Test {
protected:
    void put(const std::string& text) {
        fs::create_directories(folder_);
        std::ofstream(file_) << text;
    }
    static FilterPreset preset(const std::string& id, const std::string& name = "") { return {.id = id, .name = name}; }
    static std::string textOf(const std::vector<FilterPreset>& presets) { return encodePresets(presets).value(); }

    testing::TemporaryFolder home_;
    fs::path folder_ = home_ / ".dravo";
    fs::path file_ = folder_ / "custom_presets.json";
    fs::path bad_ = folder_ / "custom_presets.json.bad";
};

TEST_F(CustomPresetStoreTest, StartsEmptyAndWritesNothingBeforeTheFirstSave) {
    CustomPresetStore store(folder_);
    EXPECT_TRUE(store.presets.get().empty());
    EXPECT_EQ(fs::status(folder_).permissions(), fs::perms::owner_all);
    EXPECT_TRUE(fs::is_empty(folder_));
    EXPECT_EQ(readCustomPresets(folder_).error().code, ErrorCode::NotFound);

    store.presets = {preset("a", "First"), preset("b", "Second")};
    ASSERT_TRUE(store.save());
    EXPECT_EQ(contentOf(file_), textOf(store.presets));
    EXPECT_EQ(fs::status(file_).permissions(), fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_EQ(CustomPresetStore(folder_).presets.get(), store.presets.get());
    EXPECT_EQ(readCustomPresets(folder_).value(), store.presets.get());
}

TEST_F(CustomPresetStoreTest, UpdatesTheFirstWithThatIdAndNothingElse) {
    put(textOf({preset("a", "1"), preset("b", "1"), preset("b", "2")}));
    CustomPresetStore store(folder_);
    ASSERT_TRUE(store.update(preset("b", "new")));
    const std::vector<FilterPreset> expected{preset("a", "1"), preset("b", "new"), preset("b", "2")};
    EXPECT_EQ(store.presets.get(), expected);
    EXPECT_EQ(contentOf(file_), textOf(expected));

    fs::remove(file_);
    ASSERT_TRUE(store.update(preset("c")));
    EXPECT_EQ(store.presets.get(), expected);
    EXPECT_FALSE(fs::exists(file_));
}

TEST_F(CustomPresetStoreTest, ShowsABrokenFileAsEmptyAndKeepsItBesideTheFirstSave) {
    std::string broken = textOf({preset("a"), preset("b"), preset("c")});
    broken.replace(broken.find("isGrayscale"), 11, "isGreyscale");
    put(broken);
    ::testing::internal::CaptureStderr();
    CustomPresetStore store(folder_);
    EXPECT_NE(::testing::internal::GetCapturedStderr().find("preset 1: \"isGrayscale\" is missing"), std::string::npos);
    EXPECT_TRUE(store.presets.get().empty());
    EXPECT_EQ(contentOf(file_), broken);

    // What cannot be written leaves even the broken file where it is.
    FilterPreset infinite = preset("n");
    infinite.gamma = std::numeric_limits<double>::infinity();
    store.presets = {infinite};
    EXPECT_EQ(store.save().error().code, ErrorCode::InvalidInput);
    EXPECT_EQ(contentOf(file_), broken);

    store.presets = {preset("new")};
    ASSERT_TRUE(store.save());
    EXPECT_EQ(contentOf(bad_), broken);
    EXPECT_EQ(contentOf(file_), textOf({preset("new")}));
    ASSERT_TRUE(store.save());
    EXPECT_EQ(contentOf(bad_), broken);
}

TEST_F(CustomPresetStoreTest, KeepsTheListWhereNothingCanBeSaved) {
    std::ofstream(folder_) << "a file in the folder's place";
    CustomPresetStore blocked(folder_);
    blocked.presets = {preset("a")};
    EXPECT_FALSE(blocked.save());
    EXPECT_EQ(blocked.presets.get().size(), 1U);
    EXPECT_FALSE(blocked.adopt(std::vector<FilterPreset>{preset("b")}));
    EXPECT_EQ(blocked.presets.get().size(), 1U);

    CustomPresetStore homeless{fs::path()};
    EXPECT_EQ(homeless.save().error().code, ErrorCode::NotFound);
    EXPECT_FALSE(fs::exists("custom_presets.json"));
}

}  // namespace
}  // namespace dravo
