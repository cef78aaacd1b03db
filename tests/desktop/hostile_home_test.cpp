#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <sstream>

#include "desktop/display_watch.h"
#include "support/x_windows.h"

namespace dravo::testing {
namespace {

namespace fs = std::filesystem;

const RampLevels& shownByDefault() {
    static const RampLevels levels = shown(FilterPreset::defaultPreset());
    return levels;
}

void put(const fs::path& path, const std::string& text) { std::ofstream(path, std::ios::binary) << text; }

std::ptrdiff_t linesNaming(const fs::path& path, const std::string& said) {
    std::istringstream lines(said);
    std::ptrdiff_t count = 0;
    for (std::string line; std::getline(lines, line);) count += line.find(path.string()) != line.npos ? 1 : 0;
    return count;
}

class HostileHomeTest : public FilterRunTest {
protected:
    /// A whole run that shows `expected`. What it said but that these tests have no session bus.
    std::string live(const RampLevels& expected) {
        const Run run = start();
        EXPECT_TRUE(soonShow(expected)) << run->standardError();
        quit(*run);
        return saidBy(*run);
    }
    /// The same for a run that finds the displays as a killed one left them.
    std::string liveAfterAKill(const RampLevels& expected) {
        const Run killed = start();
        EXPECT_TRUE(soonShow(expected)) << killed->standardError();
        EXPECT_EQ(killed->endBy(SIGKILL), ExitStatus::killedBy(SIGKILL));
        const Run next = start();
        EXPECT_TRUE(soon([&] { return next->standardOutput() == kCrashNotice; })) << "the kill went unnoticed";
        quit(*next);
        return saidBy(*next);
    }
    static std::string saidBy(const ProcessUnderTest& run) {
        constexpr std::string_view kNoBus = "dravo: there is no session bus: commands cannot reach this program\n";
        std::string said = run.standardError();
        if (const auto at = said.find(kNoBus); at != std::string::npos) said.erase(at, kNoBus.size());
        return said;
    }
};

/// A home that cannot hold what the program wants to keep.
struct SpoiltHome {
    const char* name;
    void (*spoil)(const fs::path& home, Environment& session);
    const char* named = ".dravo";  ///< What the lines name, below the home.
    std::ptrdiff_t lines = 1;
    bool holdsPreferences = true;
    bool savesTables = true;  ///< In the runtime folder, so that a kill is undone.
};

void makeReadOnly(const fs::path& folder) { fs::permissions(folder, fs::perms::owner_read | fs::perms::owner_exec); }

class SpoiltHomeTest : public HostileHomeTest, public ::testing::WithParamInterface<SpoiltHome> {};

TEST_P(SpoiltHomeTest, KeepsTheDisplaysSafe) {
    const SpoiltHome& spoilt = GetParam();
    spoilt.spoil(home().path(), session());
    const RampLevels expected = spoilt.holdsPreferences ? filtered(kStrong) : shownByDefault();
    const std::string said = spoilt.savesTables ? liveAfterAKill(expected) : live(expected);
    EXPECT_EQ(std::ranges::count(said, '\n'), spoilt.lines) << said;
    EXPECT_GE(linesNaming(home().path() / spoilt.named, said), 1) << said;
    for (const char* file : {".dravo", ".config/dravo"})
        EXPECT_TRUE(!fs::is_regular_file(home().path() / file) || contentOf(home().path() / file) == "precious");
}

INSTANTIATE_TEST_SUITE_P(Home, SpoiltHomeTest,
                         ::testing::Values(SpoiltHome{"ReadOnly",
                                                      [](const fs::path& home, Environment&) { makeReadOnly(home); }},
                                           SpoiltHome{"ReadOnlyWithoutARuntimeFolder",
                                                      [](const fs::path& home, Environment& session) {
                                                          makeReadOnly(home);
                                                          session["XDG_RUNTIME_DIR"] = "";
                                                      },
                                                      ".dravo", 2, true, false},
                                           SpoiltHome{"FilesInTheFoldersPlaces",
                                                      [](const fs::path& home, Environment&) {
                                                          for (const char* folder : {".dravo", ".config/dravo"}) {
                                                              fs::remove_all(home / folder);
                                                              put(home / folder, "precious");
                                                          }
                                                      },
                                                      ".dravo", 2, false},
                                           SpoiltHome{"Missing",
                                                      [](const fs::path& home, Environment& session) {
                                                          makeReadOnly(home);
                                                          session["HOME"] = home / "none";
                                                          session["XDG_CONFIG_HOME"] = "";
                                                      },
                                                      "none", 2, false}),
                         [](const auto& home) { return home.param.name; });

TEST_F(HostileHomeTest, ThatNobodyKnowsOfIsNoReasonNotToFilter) {
    // Without HOME the user database has it; a number that is in none can only be had by root. Nor is there a thread
    // left but the guard's: a toolkit without its own would hang.
    constexpr uid_t kUnknown = 54321;
    const fs::path prlimit = "/usr/bin/prlimit";
    const TemporaryFolder copies;
    const TestHome unknown(copies.path());
    if (geteuid() != 0 || getpwuid(kUnknown) || !fs::exists(prlimit)) GTEST_SKIP() << "needs root and prlimit";
    fs::copy_file(programUnderTest(), copies / "dravo");
    for (const auto& folder : {copies.path(), unknown.path().parent_path()}) fs::permissions(folder, fs::perms(0755));
    ASSERT_EQ(chown(unknown.runtimeFolder().c_str(), kUnknown, kUnknown), 0);

    Environment environment = unknown.environment(onServer());
    environment.erase("HOME");
    environment["XDG_CONFIG_HOME"] = "";
    environment["ASAN_OPTIONS"] += ":detect_leaks=0";  // the search for leaks is a thread, too
    const std::string number = std::to_string(kUnknown);
    ChildProcess run(prlimit, {.arguments = {"--nproc=2", "setpriv", "--reuid=" + number, "--regid=" + number,
                                             "--clear-groups", copies / "dravo"},
                               .environment = environment});
    EXPECT_TRUE(soonShow(shownByDefault())) << run.standardError();
    EXPECT_TRUE(fs::exists(unknown.runtimeFolder() / "dravo/original_gamma.json")) << run.standardError();
    EXPECT_EQ(run.endBy(SIGUSR2), ExitStatus::exited(0)) << run.standardError();
    EXPECT_EQ(tables(), ownTables());
    for (const char* said : {"there is no home", "there is no panel: Resource"})
        EXPECT_NE(run.standardError().find(said), std::string::npos) << run.standardError();
}

using HostileToolkitTest = FilterRunTest;

TEST_F(HostileToolkitTest, ThatIsMisledByItsEnvironmentHasItsPanel) {
    for (const char* name : {"QT_QPA_PLATFORM", "QT_QPA_PLATFORM_PLUGIN_PATH", "QT_QPA_PLATFORMTHEME",
                             "QT_QPA_GENERIC_PLUGINS", "QT_STYLE_OVERRIDE", "QT_PLUGIN_PATH", "QT_SCALE_FACTOR"})
        session()[name] = "/nonsense";
    for (const char* scale : {"0", "nan", "1e9"}) {
        session()["QT_SCALE_FACTOR"] = scale;
        const Run run = start({});
        EXPECT_TRUE(soon([&] { return !XWindows(server().address()).of("dravo").empty(); }));
        quit(*run);
        EXPECT_EQ(run->standardError(), "dravo: there is no session bus: commands cannot reach this program\n");
    }
}

TEST_F(HostileToolkitTest, ThatCannotStartLeavesTheFilterAtWork) {
    put(home().path() / "libxcb-icccm.so.4", "not a library");
    session()["LD_LIBRARY_PATH"] = home().path();
    DisplayWatch watch(server().address(), displays().enabledOutputs());
    const Run run = start({});
    EXPECT_TRUE(soon([&] { return run->standardError().find("no session bus") != std::string::npos; }));
    EXPECT_EQ(std::ranges::count(run->standardError(), '\n'), 2) << run->standardError();
    EXPECT_NE(run->standardError().find("dravo: there is no panel: Could not load the Qt"), std::string::npos);
    EXPECT_TRUE(isInCharge(*run));
    preferOther();
    EXPECT_TRUE(soonFiltered());
    expectFiltered(watch.stop(), 1);
    EXPECT_EQ(run->endBy(SIGTERM), ExitStatus::killedBy(SIGTERM));
    EXPECT_EQ(tables(), ownTables());
}

}  // namespace
}  // namespace dravo::testing
