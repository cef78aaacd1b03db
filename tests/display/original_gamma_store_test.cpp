#include "display/original_gamma_store.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>

#include "display/display_access.h"
#include "display/engine_world.h"
#include "display/table_json.h"

namespace dravo {
namespace {

using testing::contentOf;
using testing::EngineWorld;
using testing::kDark;
using testing::ownLevels;
using testing::scaled;

std::filesystem::path homeFile(const EngineWorld& world) { return world.folder.home / "original_gamma.json"; }
std::filesystem::path runtimeFile(const EngineWorld& world) { return world.folder.runtime / "original_gamma.json"; }

std::map<DisplayId, GammaTable> saved(const std::filesystem::path& file) {
    const auto tables = decodeTables(contentOf(file));
    return tables ? tables->own : std::map<DisplayId, GammaTable>{};
}

void put(const std::filesystem::path& file, const std::string& text) {
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file) << text;
}

mode_t modeOf(const std::filesystem::path& path) {
    struct stat status = {};
    return ::stat(path.c_str(), &status) == 0 ? status.st_mode & 0777U : 0;
}

TEST(OriginalGammaStoreTest, SavesEveryDisplayInNativeLengthForThisUserOnly) {
    EngineWorld world({256, 1024});
    EXPECT_FALSE(world.run->launch(std::nullopt));
    const auto tables = saved(homeFile(world));
    ASSERT_EQ(tables.size(), 2U);
    EXPECT_EQ(toLevels(tables.at(world.id(1)), 1024), ownLevels(1024, 1));
    EXPECT_EQ(tables.at(world.id(1)).size(), 1024U);
    EXPECT_EQ(modeOf(world.folder.home), 0700U);
    EXPECT_EQ(modeOf(homeFile(world)), 0600U);

    put(homeFile(world), "{\"7\":0}");
    world.run->applicator->apply(kDark, Fade::none);
    EXPECT_EQ(contentOf(homeFile(world)), "{\"7\":0}") << "a file that is there is not replaced";
    world.run->store.clear();
    EXPECT_FALSE(std::filesystem::exists(homeFile(world)));
}

TEST(OriginalGammaStoreTest, TriesAgainWhenTheFileCouldNotBeWritten) {
    EngineWorld world;
    world.folder.runtime.clear();
    put(world.folder.home, "not a folder");
    world.start().launch(kDark);
    std::filesystem::remove(world.folder.home);
    world.scheduler.advance(std::chrono::minutes(1));
    EXPECT_EQ(saved(homeFile(world)).size(), 1U);
}

TEST(OriginalGammaStoreTest, KeepsAProfileUntilItsDisplayHasItBack) {
    const testing::TemporaryFolder home;
    const auto anew = [&home] { return OriginalGammaStore(DataFolder{home / ".dravo", {}}); };
    auto store = anew();
    const SavedProfile first{"/first.icc", "icc"};
    const SavedProfile second{"/second.icc", "icc"};
    EXPECT_TRUE(store.saveProfiles({{DisplayId{1}, first}, {DisplayId{2}, {}}}));
    EXPECT_TRUE(store.saveProfiles({{DisplayId{1}, second}}));
    store.forgetProfiles(std::vector{DisplayId{2}});
    store.clear();

    auto later = anew();
    EXPECT_FALSE(later.restoreIfNeeded()) << "what is owed to a display is no sign of a crash";
    EXPECT_EQ(later.profiles(), (std::map<DisplayId, SavedProfile>{{DisplayId{1}, second}}));
    EXPECT_TRUE(later.saveIfAbsent({{DisplayId{3}, GammaTable::identity()}}));
    EXPECT_TRUE(anew().restoreIfNeeded());
    later.forgetProfiles(std::vector{DisplayId{1}});
    later.clear();
    EXPECT_FALSE(std::filesystem::exists(home / ".dravo/original_gamma.json"));
}

TEST(OriginalGammaStoreTest, HandsNothingOverWhatIsNotSavedAndNothingInMotion) {
    EngineWorld world;
    world.run->launch(kDark);
    std::filesystem::remove_all(world.folder.home);
    world.run->applicator->reset(Fade::animated);
    EXPECT_TRUE(world.run->displays.prepareHandOver()) << "written anew";
    EXPECT_EQ(saved(homeFile(world)).size(), 1U);
    EXPECT_TRUE(world.showsOwn(0)) << "the fade is over";

    std::filesystem::remove_all(world.folder.home);
    put(world.folder.home, "not a folder");
    put(world.folder.runtime, "not a folder");
    EXPECT_FALSE(world.run->displays.prepareHandOver());
}

TEST(OriginalGammaStoreTest, SuccessorWithoutAFileTakesNothingForTheDisplaysOwn) {
    EngineWorld world;
    world.run->launch(kDark);
    std::filesystem::remove_all(world.folder.home);
    world.crashAndStart().launch(kDark, LastingDisplays::Beginning::goingOn);
    ASSERT_TRUE(world.run->quit());
    EXPECT_TRUE(world.shows(GammaTable::identity()));
}

TEST(OriginalGammaStoreTest, RestoresAfterACrashAndCarriesAbsentDisplaysOver) {
    EngineWorld world({256, 1024});
    world.run->launch(kDark);
    world.desk.unplug("DP-2");
    EXPECT_TRUE(world.crashAndStart().launch(std::nullopt));
    EXPECT_TRUE(world.showsOwn(0));
    EXPECT_EQ(saved(homeFile(world)).size(), 2U);
    world.desk.plug("DP-2", world.crtcs[1]);
    EXPECT_TRUE(world.showsOwn(1)) << "it still carried our table";
    ASSERT_TRUE(world.run->quit());
    EXPECT_FALSE(world.start().launch(std::nullopt));
}

TEST(OriginalGammaStoreTest, AddsADisplayBeforeItsFirstWriteAndChangesNoEntry) {
    EngineWorld world({256, 256});
    world.desk.unplug("DP-2");
    world.launched().apply(kDark, Fade::none);
    ASSERT_EQ(saved(homeFile(world)).size(), 1U);
    const GammaTable first = saved(homeFile(world)).at(world.id(0));

    bool wasSaved = false;
    const auto watch = world.desk.onShow([&](CrtcId crtc, const RampLevels& levels) {
        if (crtc == world.crtcs[1] && levels == toLevels(kDark, 256)) wasSaved = saved(homeFile(world)).size() == 2;
    });
    world.desk.plug("DP-2", world.crtcs[1]);
    EXPECT_TRUE(wasSaved);
    EXPECT_EQ(saved(homeFile(world)).at(world.id(0)), first);
    const auto written = std::filesystem::last_write_time(homeFile(world));
    world.scheduler.advance(std::chrono::minutes(1));
    EXPECT_EQ(std::filesystem::last_write_time(homeFile(world)), written) << "nothing new, nothing written";

    EXPECT_TRUE(world.crashAndStart().launch(std::nullopt));
    EXPECT_TRUE(world.showsOwn(0));
    EXPECT_TRUE(world.showsOwn(1));
}

TEST(OriginalGammaStoreTest, FallsBackToTheRuntimeFolderAndReturns) {
    EngineWorld world;
    put(world.folder.home, "not a folder");
    world.run->launch(kDark);
    EXPECT_EQ(saved(runtimeFile(world)).size(), 1U);
    std::filesystem::remove(world.folder.home);
    EXPECT_TRUE(world.crashAndStart().launch(std::nullopt));
    EXPECT_TRUE(world.showsOwn(0));
    EXPECT_EQ(saved(homeFile(world)).size(), 1U);
    EXPECT_FALSE(std::filesystem::exists(runtimeFile(world)));
}

TEST(OriginalGammaStoreTest, UsesBothFilesAndPrefersTheOneInTheHomeFolder) {
    EngineWorld world({256, 256});
    put(homeFile(world), encodeTables({{{world.id(0), toTable(ownLevels(256, 0))}}}));
    put(runtimeFile(world), encodeTables({{{world.id(0), kDark}, {world.id(1), toTable(ownLevels(256, 1))}}}));
    for (const CrtcId crtc : world.crtcs) world.desk.foreignWrite(crtc, toLevels(kDark, 256));
    EXPECT_TRUE(world.start().launch(std::nullopt));
    EXPECT_TRUE(world.showsOwn(0));
    EXPECT_TRUE(world.showsOwn(1));
}

TEST(DisplayAccessTest, SaysWhatFailedAndWhy) {
    EngineWorld world;
    const DisplayId id = world.id(0);
    world.run->launch(std::nullopt);
    world.desk.shutDown();
    EXPECT_EQ(onlineDisplayIDs(world.run->displays).error().description(),
              "CGGetOnlineDisplayList failed: Disconnected");
    EXPECT_EQ(readTransfer(world.run->displays, id).error().description(),
              "CGGetDisplayTransferByTable failed: Disconnected");
}

}  // namespace
}  // namespace dravo
