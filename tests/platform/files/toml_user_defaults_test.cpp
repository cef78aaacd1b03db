#include "platform/files/toml_user_defaults.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <limits>
#include <memory>
#include <tuple>
#include <vector>

#include "base/files.h"
#include "support/memory/memory_user_defaults.h"
#include "support/memory/virtual_scheduler.h"
#include "support/polled_descriptors.h"
#include "support/temporary_folder.h"

namespace dravo::files {
namespace {

using namespace std::chrono_literals;
using testing::contentOf;
namespace fs = std::filesystem;

/// A settings file in a folder of its own, and the program's runs on it.
class TomlBench {
public:
    TomlBench() { reopen(); }

    UserDefaults& defaults() { return *defaults_; }
    void reopen() {
        if (defaults_) turn();
        defaults_.reset();
        defaults_ = std::make_unique<TomlUserDefaults>(file, scheduler, descriptors);
    }
    void replaceFromOutside(const DefaultsValues& values) {
        DefaultsChanges changes(values.begin(), values.end());
        write(withChanges("", changes).value());
    }
    /// Somebody writes the file in place; we hear of it.
    void write(std::string_view text) {
        turn();
        const auto other = file.string() + ".other";
        ASSERT_TRUE(writeFileAtomically(other, text));
        fs::copy_file(other, file, fs::copy_options::overwrite_existing);
        fs::remove(other);
        descriptors.poll();
    }
    /// The loop's turn ends: what was set is written, and what happened to the folder is noticed.
    void turn() {
        scheduler.advance(0ms);
        descriptors.poll();
    }

    testing::TemporaryFolder folder;
    fs::path file = folder / "config" / "dravo" / "preferences.toml";
    memory::VirtualScheduler scheduler;
    testing::PolledDescriptors descriptors;

    TomlUserDefaults& toml() { return *defaults_; }

private:
    std::unique_ptr<TomlUserDefaults> defaults_;
};

struct MemoryBench {
    UserDefaults& defaults() { return stored; }
    void replaceFromOutside(const DefaultsValues& values) { stored.replaceFromOutside(values); }
    void reopen() {}
    memory::MemoryUserDefaults stored;
};

/// What every UserDefaults does.
template <typename Bench>
class UserDefaultsContract : public ::testing::Test {
protected:
    UserDefaults& defaults() { return bench_.defaults(); }
    Bench bench_;
};
using Benches = ::testing::Types<TomlBench, MemoryBench>;
TYPED_TEST_SUITE(UserDefaultsContract, Benches);

TYPED_TEST(UserDefaultsContract, KeepsEveryTypeExactlyAndAcrossARestart) {
    using namespace std::string_literals;
    const DefaultsValues values{{"no", false},
                                {"zero", std::int64_t{0}},
                                {"lowest", std::numeric_limits<std::int64_t>::min()},
                                {"highest", std::numeric_limits<std::int64_t>::max()},
                                {"nought", 0.0},
                                {"whole", 1.0},
                                {"tenth", 0.1},
                                {"smallest", 5e-324},
                                {"largest", -1.7976931348623157e308},
                                {"empty", ""},
                                {"text", "a \"b\" \\ \n\t\r\x01\x7f ü \U0001F319 #=[]\0."s},
                                {"date", WallTime{1789000000s + 123456789ns}},
                                {"early", WallTime{-1ns}},
                                {"texts", std::vector<std::string>{"de", "x\"y"}},
                                {"none", std::vector<std::string>{}},
                                {"a key with = and \"", true}};
    for (const auto& [key, value] : values) this->defaults().set(key, value);
    for (const bool restarted : {false, true}) {
        if (restarted) this->bench_.reopen();
        for (const auto& [key, value] : values) EXPECT_EQ(this->defaults().object(key), value) << key << restarted;
        EXPECT_FALSE(this->defaults().object("absent"));
    }
}

TYPED_TEST(UserDefaultsContract, ReplacesAValueByAnotherTypeAndRemovesIt) {
    this->defaults().set("key", 0.5);
    this->defaults().set("key", std::string("half"));
    EXPECT_EQ(this->defaults().object("key"), DefaultsValue("half"));
    this->bench_.reopen();
    EXPECT_EQ(this->defaults().object("key"), DefaultsValue("half"));
    this->defaults().remove("key");
    this->defaults().remove("never there");
    EXPECT_FALSE(this->defaults().object("key"));
    this->bench_.reopen();
    EXPECT_FALSE(this->defaults().object("key"));
}

TYPED_TEST(UserDefaultsContract, RefusesWhatIsNoNumberAndNoText) {
    this->defaults().set("key", 0.5);
    for (const double wrong : {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity(),
                               -std::numeric_limits<double>::infinity()})
        this->defaults().set("key", wrong);
    for (const char* wrong : {"\xff", "\xc0\xaf", "\xed\xa0\x80", "\xf4\x90\x80\x80", "a\xe2\x82"}) {
        this->defaults().set("key", std::string(wrong));
        this->defaults().set("key", std::vector<std::string>{wrong});
    }
    EXPECT_EQ(this->defaults().object("key"), DefaultsValue(0.5));
}

TYPED_TEST(UserDefaultsContract, ConvertsBetweenTypesAsReadersAsk) {
    using Conversion = std::tuple<DefaultsValue, bool, std::int64_t, double, std::optional<std::string>>;
    constexpr auto kLowest = std::numeric_limits<std::int64_t>::min();
    constexpr auto kHighest = std::numeric_limits<std::int64_t>::max();
    const std::vector<Conversion> rows{
        {true, true, 1, 1.0, "1"},
        {std::int64_t{-7}, true, -7, -7.0, "-7"},
        {0.5, true, 0, 0.5, "0.5"},
        {-2.9, true, -2, -2.9, "-2.9"},
        {1e300, true, kHighest, 1e300, "1e+300"},
        {-1e300, true, kLowest, -1e300, "-1e+300"},
        {" 12abc", true, 12, 12.0, " 12abc"},
        {"+3.75", true, 3, 3.75, "+3.75"},
        {"-0.25x", false, 0, -0.25, "-0.25x"},
        {"99999999999999999999", true, kHighest, 99999999999999999999.0, "99999999999999999999"},
        {"-99999999999999999999", true, kLowest, -99999999999999999999.0, "-99999999999999999999"},
        {"YES", true, 0, 0.0, "YES"},
        {"NO", false, 0, 0.0, "NO"},
        {"007", true, 7, 7.0, "007"},
        {"nan", false, 0, 0.0, "nan"},
        {"+-5", false, 0, 0.0, "+-5"},
        {"", false, 0, 0.0, ""},
        {WallTime{}, false, 0, 0.0, std::nullopt},
        {std::vector<std::string>{"1"}, false, 0, 0.0, std::nullopt},
    };
    for (const auto& [value, flag, integer, number, text] : rows) {
        this->defaults().set("key", value);
        SCOPED_TRACE(::testing::PrintToString(text));
        EXPECT_EQ(this->defaults().boolForKey("key"), flag);
        EXPECT_EQ(this->defaults().integerForKey("key"), integer);
        EXPECT_EQ(this->defaults().doubleForKey("key"), number);
        EXPECT_EQ(this->defaults().stringForKey("key"), text);
    }
    EXPECT_FALSE(this->defaults().boolForKey("absent"));
    EXPECT_EQ(this->defaults().integerForKey("absent"), 0);
    EXPECT_EQ(this->defaults().doubleForKey("absent"), 0);
    EXPECT_EQ(this->defaults().stringForKey("absent"), std::nullopt);
}

TYPED_TEST(UserDefaultsContract, TellsOfOutsideChangesByKeyAndNeverOfOwnOnes) {
    std::vector<DefaultsKeys> heard;
    DefaultsValues seen;
    const auto subscription = this->defaults().onChange([&](const DefaultsKeys& keys) {
        heard.push_back(keys);
        for (const auto& key : keys)
            if (const auto value = this->defaults().object(key)) seen.insert_or_assign(key, *value);
    });
    this->defaults().set("kept", true);
    this->defaults().set("changed", 0.5);
    this->defaults().set("removed", std::int64_t{5});
    this->bench_.replaceFromOutside({{"kept", true}, {"changed", std::int64_t{1}}, {"added", "new"}});
    this->bench_.replaceFromOutside({{"kept", true}, {"changed", std::int64_t{1}}, {"added", "new"}});

    EXPECT_EQ(heard, (std::vector<DefaultsKeys>{{"added", "changed", "removed"}}));
    EXPECT_EQ(seen, (DefaultsValues{{"changed", std::int64_t{1}}, {"added", "new"}}));
    EXPECT_EQ(this->defaults().object("kept"), DefaultsValue(true));
}

class TomlUserDefaultsTest : public ::testing::Test {
protected:
    UserDefaults& defaults() { return bench_.defaults(); }
    std::string text() { return contentOf(bench_.file); }
    std::optional<DefaultsValue> inFile(std::string_view key) {
        const auto values = parsePreferences(text());
        const auto found = values.value().find(key);
        return found == values.value().end() ? std::nullopt : std::optional(found->second);
    }
    /// What was written to standard error while `action` ran.
    template <typename Action>
    std::string said(Action action) {
        ::testing::internal::CaptureStderr();
        action();
        return ::testing::internal::GetCapturedStderr();
    }

    TomlBench bench_;
    std::vector<DefaultsKeys> heard_;
    Subscription subscription_ =
        bench_.defaults().onChange([this](const DefaultsKeys& keys) { heard_.push_back(keys); });
};

TEST_F(TomlUserDefaultsTest, WritesOnceAtTheEndOfTheTurnAndNeverWhileItMayNot) {
    bool ramp = true;
    int asked = 0;
    bench_.toml().setMayWrite([&] { return ++asked, !ramp; });
    defaults().set("a", true);
    defaults().set("b", 0.5);
    EXPECT_FALSE(fs::exists(bench_.file));
    bench_.scheduler.advance(49ms);
    EXPECT_EQ(asked, 1);
    bench_.scheduler.advance(101ms);
    EXPECT_EQ(asked, 4);
    EXPECT_FALSE(fs::exists(bench_.file));
    ramp = false;
    bench_.scheduler.advance(50ms);
    EXPECT_EQ(inFile("a"), DefaultsValue(true));
    EXPECT_EQ(inFile("b"), DefaultsValue(0.5));

    struct ::stat before {};
    ::stat(bench_.file.c_str(), &before);
    EXPECT_EQ(before.st_mode & 0777U, 0600U);
    defaults().set("a", true);
    bench_.scheduler.advance(1h);
    EXPECT_EQ(asked, 5) << "nothing changed, nothing to write";

    ramp = true;
    defaults().set("c", "at the end");
    bench_.toml().flush();
    EXPECT_EQ(inFile("c"), DefaultsValue("at the end"));
    bench_.descriptors.poll();
    EXPECT_TRUE(heard_.empty()) << "our own writes are no edits";
}

TEST_F(TomlUserDefaultsTest, MergesAnEditByKeyAndLetsUnsavedChangesWin) {
    bench_.write("# mine\nlastIntensity = 0.5\nlastDimming = 0.1\nscheduleEnabled = false\n");
    heard_.clear();
    defaults().set("lastDimming", 0.2);
    ASSERT_TRUE(writeFileAtomically(bench_.file, "# mine!\nlastIntensity = 0.6\nlastDimming = 0.3\n"));
    bench_.descriptors.poll();
    EXPECT_EQ(heard_, (std::vector<DefaultsKeys>{{"lastIntensity", "scheduleEnabled"}}));
    EXPECT_EQ(defaults().object("lastDimming"), DefaultsValue(0.2));
    bench_.turn();
    EXPECT_EQ(text(), "# mine!\nlastIntensity = 0.6\nlastDimming = 0.2\n");
}

TEST_F(TomlUserDefaultsTest, LosesNoEditWhoseEventStillWaits) {
    defaults().set("a", true);
    bench_.turn();
    defaults().set("b", true);
    ASSERT_TRUE(writeFileAtomically(bench_.file, "a = true\nc = true\n"));
    bench_.scheduler.advance(0ms);
    EXPECT_EQ(text(), "a = true\nc = true\nb = true\n");
    EXPECT_EQ(heard_, (std::vector<DefaultsKeys>{{"c"}}));
}

TEST_F(TomlUserDefaultsTest, TakesAHalfWrittenFileForNothing) {
    defaults().set("filterEnabled", false);
    bench_.turn();
    fs::remove(bench_.file);
    std::FILE* editor = std::fopen(bench_.file.c_str(), "w");
    bench_.descriptors.poll();
    EXPECT_EQ(defaults().object("filterEnabled"), DefaultsValue(false)) << "only begun";
    std::fputs("filterEnabled = true\n", editor);
    std::fclose(editor);
    bench_.descriptors.poll();
    EXPECT_EQ(defaults().object("filterEnabled"), DefaultsValue(true));
}

TEST_F(TomlUserDefaultsTest, GoesOnWithoutFileOrFolderAndMakesThemAgain) {
    bench_.write("# mine\na = 1\n");
    for (const fs::path& gone : {bench_.file, bench_.file.parent_path(), bench_.folder / "config"}) {
        fs::remove_all(gone);
        bench_.turn();
        EXPECT_EQ(defaults().object("a"), DefaultsValue(std::int64_t{1})) << gone;
        defaults().set("b", gone.string());
        bench_.turn();
        EXPECT_EQ(text(), "# mine\na = 1\nb = \"" + gone.string() + "\"\n");
    }
    heard_.clear();
    bench_.write("a = 2\n");
    EXPECT_EQ(heard_, (std::vector<DefaultsKeys>{{"a", "b"}})) << "the new folder is watched";
}

TEST_F(TomlUserDefaultsTest, KeepsABrokenFileUntilTheNextWriteAndThenAsBad) {
    const std::pair<std::string, const char*> rows[] = {
        {"filterEnabled = false\nlastIntensity = 0,4\n", "line 2, column 18"},
        {"filterEnabled = true\n#" + std::string(kMaxPreferencesBytes, '-'), "longer than 16384 bytes"},
    };
    for (const auto& [broken, complaint] : rows) {
        ASSERT_TRUE(writeFileAtomically(bench_.file, broken));
        EXPECT_NE(said([&] { bench_.reopen(); }).find(complaint), std::string::npos);
        EXPECT_FALSE(defaults().object("filterEnabled")) << "nothing of it counts";
        bench_.toml().flush();
        EXPECT_EQ(text(), broken);

        defaults().set("lastDimming", 0.5);
        bench_.turn();
        EXPECT_EQ(contentOf(bench_.file.string() + ".bad"), broken);
        EXPECT_EQ(inFile("lastDimming"), DefaultsValue(0.5));
    }
}

TEST_F(TomlUserDefaultsTest, KeepsTheSettingsInForceWhenAnEditBreaksTheFile) {
    bench_.write("# mine\nlastIntensity = 0.4\n");
    heard_.clear();
    const auto line = said([&] { bench_.write("# mine\nlastIntensity = \n"); });
    EXPECT_NE(line.find("line 2"), std::string::npos);
    EXPECT_EQ(defaults().object("lastIntensity"), DefaultsValue(0.4));
    EXPECT_EQ(said([&] { bench_.write("# mine\nlastIntensity = \n"); }), "") << "told once";
    bench_.write("# mine\nlastIntensity = 0.3\n");
    EXPECT_EQ(heard_, (std::vector<DefaultsKeys>{{"lastIntensity"}}));
    EXPECT_FALSE(fs::exists(bench_.file.string() + ".bad"));
}

TEST_F(TomlUserDefaultsTest, RefusesToMakeATooLongFile) {
    defaults().set("b", true);
    bench_.turn();
    const auto refused = said([&] {
        defaults().set("c", std::string(kMaxPreferencesBytes, 'c'));
        bench_.turn();
    });
    EXPECT_NE(refused.find("no longer fit"), std::string::npos);
    EXPECT_EQ(inFile("b"), DefaultsValue(true));
    defaults().set("c", "short");
    bench_.turn();
    EXPECT_EQ(inFile("c"), DefaultsValue("short"));
}

TEST_F(TomlUserDefaultsTest, NeverBlocksOnNorReplacesWhatIsNoFile) {
    const std::vector<std::function<void()>> obstacles{
        [&] { ::mkfifo(bench_.file.c_str(), 0600); }, [&] { fs::create_directory(bench_.file); },
        [&] { fs::create_symlink("/dev/zero", bench_.file); }, [&] { fs::create_symlink(bench_.file, bench_.file); }};
    for (const auto& obstruct : obstacles) {
        fs::remove(bench_.file);
        obstruct();
        const auto type = fs::symlink_status(bench_.file).type();
        bench_.reopen();
        defaults().set("a", true);
        bench_.turn();
        EXPECT_EQ(defaults().object("a"), DefaultsValue(true));
        EXPECT_EQ(fs::symlink_status(bench_.file).type(), type);
    }
    fs::remove(bench_.file);
    defaults().set("b", true);
    bench_.turn();
    EXPECT_EQ(inFile("a"), DefaultsValue(true)) << "written with the next change once nothing is in the way";
}

TEST_F(TomlUserDefaultsTest, WritesThroughALinkAndWatchesWhatItLeadsTo) {
    const fs::path kept = bench_.folder / "dotfiles" / "dravo.toml";
    fs::create_directory(kept.parent_path());
    fs::create_symlink("../../dotfiles/dravo.toml", bench_.file);
    bench_.turn();
    defaults().set("a", true);
    bench_.turn();
    EXPECT_TRUE(fs::is_symlink(bench_.file)) << "a link that led nowhere";
    EXPECT_EQ(parsePreferences(contentOf(kept)).value(), (DefaultsValues{{"a", true}}));

    fs::permissions(kept, fs::perms{0640});
    ASSERT_TRUE(writeFileAtomically(kept, "a = false\n", {.mode = 0640}));
    bench_.descriptors.poll();
    EXPECT_EQ(heard_, (std::vector<DefaultsKeys>{{"a"}}));
    defaults().set("b", true);
    bench_.turn();
    EXPECT_TRUE(fs::is_symlink(bench_.file));
    EXPECT_EQ(contentOf(kept), "a = false\nb = true\n");
    EXPECT_EQ(fs::status(kept).permissions(), fs::perms{0640});
}

}  // namespace
}  // namespace dravo::files
