#include <pwd.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <sstream>

#include "desktop/display_watch.h"
#include "desktop/filter_run_test.h"
#include "support/x_windows.h"

namespace dravo::testing {
namespace {

namespace fs = std::filesystem;
using Environment = std::map<std::string, std::string>;

constexpr const char* kGoodPreferences = "filterEnabled = true\nlastPresetID = \"fl41\"\nlastIntensity = 0.9\n";
constexpr const char* kTables = ".dravo/original_gamma.json";
constexpr const char* kPresets = ".dravo/custom_presets.json";
constexpr const char* kPreferences = ".config/dravo/preferences.toml";

constexpr const char* kOwnPreset =
    R"({"id":"MINE","name":"Mine","redFactor":1,"greenFactor":1,"blueFactor":1,"intensity":0,"dimming":0,)"
    R"("blackPoint":0,"gamma":1,"contrast":0,"colorTemperature":6500,"redIntensity":1,"greenIntensity":1,)"
    R"("blueIntensity":1,"isBuiltIn":false,"isGrayscale":false})";

/// Which thing stands at a path, and in what state: a file that was rewritten or replaced has another imprint.
struct Imprint {
    explicit Imprint(const fs::path& path) {
        struct stat status = {};
        if (lstat(path.c_str(), &status) != 0) return;
        facts = {static_cast<long>(status.st_ino), static_cast<long>(status.st_mode), status.st_size,
                 status.st_mtim.tv_sec, status.st_mtim.tv_nsec};
    }
    bool operator==(const Imprint&) const = default;
    std::array<long, 5> facts{};
};

void put(const fs::path& path, const std::string& text) { std::ofstream(path, std::ios::binary) << text; }

/// Something bad in a file's place; what may stand in a file that can be read is the readers' own tests'.
struct Trouble {
    const char* name;
    void (*put)(const fs::path& path);
    bool isAnotherUsers = false;  ///< Says nothing about our own runs.
};
constexpr std::array kTroubles{
    Trouble{"cut off", [](const fs::path& path) { put(path, "{\"1\":{\"red\":[0,0.5"); }},
    Trouble{"a pipe", [](const fs::path& path) { ASSERT_EQ(mkfifo(path.c_str(), 0600), 0); }},
    Trouble{"not ours to read",
            [](const fs::path& path) {
                put(path, "{}");
                fs::permissions(path, fs::perms::none);
            },
            true},
};

std::ptrdiff_t linesNaming(const fs::path& path, const std::string& said) {
    std::istringstream lines(said);
    std::ptrdiff_t count = 0;
    for (std::string line; std::getline(lines, line);) count += line.find(path.string()) != line.npos ? 1 : 0;
    return count;
}

class HostileHomeTest : public FilterRunTest {
protected:
    struct Life {
        std::string said;
        Ramps left;
    };

    [[nodiscard]] Run startIn(const TestHome& home, const Environment& more = {}) {
        return std::make_unique<ProcessUnderTest>(home, std::vector<std::string>{"--headless"}, onServerWith(more));
    }
    [[nodiscard]] Environment onServerWith(Environment more) {
        more.merge(onServer());
        return more;
    }
    void showOwnTables() {
        for (const auto& [output, ramp] : ownTables()) displays().setRamp(output, ramp);
    }

    /// What the run complained about, but for the missing bus of these tests.
    static std::string saidByTheHome(const ProcessUnderTest& run) {
        constexpr std::string_view kNoBus = "dravo: there is no session bus: commands cannot reach this program\n";
        std::string said = run.standardError();
        if (const auto at = said.find(kNoBus); at != std::string::npos) said.erase(at, kNoBus.size());
        return said;
    }

    /// A whole run in this home, with the displays' own tables on screen before: it shows `expected`, then ends in
    /// good order.
    Life live(const TestHome& home, const Ramp& expected, const Environment& more = {}) {
        showOwnTables();
        const Run run = startIn(home, more);
        EXPECT_TRUE(waitUntil([&] { return allShow(expected); })) << run->standardError();
        quit(*run);
        return {saidByTheHome(*run), tables()};
    }

    void expectAKillToBeUndone(const TestHome& home, const Ramp& expected, const Environment& more) {
        showOwnTables();
        const Run killed = startIn(home, more);
        EXPECT_TRUE(waitUntil([&] { return allShow(expected); })) << killed->standardError();
        killHard(*killed);
        const Run next = startIn(home, more);
        EXPECT_TRUE(waitUntil([&] { return !next->standardOutput().empty(); })) << "the kill went unnoticed";
        quit(*next);
        EXPECT_EQ(tables(), ownTables());
    }

    /// What a run shows that found no preferences.
    Ramp shownByDefault() {
        const TestHome home;
        const Run run = startIn(home);
        EXPECT_TRUE(waitUntil([&] { return tables().at("DUMMY2") != ownTables().at("DUMMY2"); }));
        const Ramp shown = tables().at("DUMMY2");
        quit(*run);
        return shown;
    }

    /// Own tables, but neutral ones on the displays that are on.
    [[nodiscard]] Ramps distrustedTables() {
        Ramps expected = ownTables();
        const auto neutral = toLevels(GammaTable::identity(), 256);
        for (const auto& output : displays().enabledOutputs())
            expected[output] = {neutral.red, neutral.green, neutral.blue};
        return expected;
    }

    [[nodiscard]] ProgramOutcome command(const TestHome& home, std::vector<std::string> arguments,
                                         const Environment& more = {}) {
        return runProgram(home, std::move(arguments), onServerWith(more));
    }
    static void expectOneLine(const std::string& said, const fs::path& naming) {
        EXPECT_EQ(std::ranges::count(said, '\n'), 1) << said;
        EXPECT_EQ(linesNaming(naming, said), 1) << said;
    }
    void expectCannotImport(const TestHome& home, const fs::path& naming, const Environment& more = {}) {
        const TemporaryFolder incoming;
        put(incoming / "mine.json", kOwnPreset);
        const auto outcome = command(home, {"import", incoming / "mine.json"}, more);
        EXPECT_EQ(outcome.status, ExitStatus::exited(1));
        expectOneLine(outcome.err, naming);
    }
};

TEST_F(HostileHomeTest, WithUnusableFilesIsFilteredAllTheSameAndLosesNone) {
    const Ramp byDefault = shownByDefault();
    for (const Trouble& trouble : kTroubles) {
        SCOPED_TRACE(trouble.name);
        const TestHome home;
        const fs::path tablesFile = home.path() / kTables;
        const fs::path presetsFile = home.path() / kPresets;
        std::map<fs::path, Imprint> before;
        for (const char* file : {kTables, kPresets, kPreferences}) {
            fs::create_directories((home.path() / file).parent_path());
            trouble.put(home.path() / file);
            before.emplace(home.path() / file, home.path() / file);
        }
        for (const auto& output : displays().enabledOutputs()) displays().setRamp(output, filtered(kStrong));
        const ProgramOutcome restored = command(home, {"restore"});
        EXPECT_EQ(restored.status, ExitStatus::exited(0));
        if (!trouble.isAnotherUsers) expectOneLine(restored.err, tablesFile);
        EXPECT_EQ(tables(), distrustedTables());
        EXPECT_EQ(Imprint(tablesFile), before.at(tablesFile));

        const Life life = live(home, byDefault);
        EXPECT_EQ(life.left, trouble.isAnotherUsers ? ownTables() : distrustedTables());
        for (const auto& [file, imprint] : before) {
            const bool isSetAside = file == tablesFile && !trouble.isAnotherUsers;
            EXPECT_EQ(linesNaming(file, life.said), 1) << file << " in:\n" << life.said;
            EXPECT_EQ(Imprint(file.string() + (isSetAside ? ".bad" : "")), imprint) << file;
        }

        for (const std::vector<std::string>& needing :
             {std::vector<std::string>{"export"}, {"presets"}, {"table", presetsFile}, {"import", presetsFile}}) {
            const auto outcome = command(home, needing);
            EXPECT_EQ(outcome.status, ExitStatus::exited(1)) << needing.front();
            expectOneLine(outcome.err, presetsFile);
        }
        home.write("mine.json", kOwnPreset);
        const ProgramOutcome imported = command(home, {"import", home.path() / "mine.json"});
        EXPECT_EQ(imported.status, ExitStatus::exited(0));
        expectOneLine(imported.err, presetsFile);
        EXPECT_EQ(Imprint(presetsFile.string() + ".bad"), before.at(presetsFile));
        EXPECT_NE(contentOf(presetsFile).find("\"MINE\""), std::string::npos);
    }
}

/// A home that cannot hold what the program wants to keep.
struct SpoiltHome {
    const char* name;
    void (*spoil)(const fs::path& home);
    Environment environment;  ///< "~" in a value stands for the home.
    fs::path named;           ///< What the lines name, below the home.
    std::ptrdiff_t lines = 1;
    bool holdsPreferences = true;
    bool savesTables = true;  ///< In the runtime folder, so that a kill is undone.
};

void makeReadOnly(const fs::path& folder) { fs::permissions(folder, fs::perms::owner_read | fs::perms::owner_exec); }

TEST_F(HostileHomeTest, ThatCannotHoldAnythingKeepsTheDisplaysSafe) {
    const auto filesForFolders = [](const fs::path& home) {
        for (const char* folder : {".dravo", ".config/dravo"}) {
            fs::remove_all(home / folder);
            put(home / folder, "precious");
        }
    };
    const std::array spoiltHomes{
        SpoiltHome{"read-only", makeReadOnly, {}, ".dravo"},
        SpoiltHome{
            "read-only, without a runtime folder", makeReadOnly, {{"XDG_RUNTIME_DIR", ""}}, ".dravo", 2, true, false},
        SpoiltHome{"files in the folders' places", filesForFolders, {}, ".dravo", 2, false},
        SpoiltHome{"missing", makeReadOnly, {{"HOME", "~/none"}, {"XDG_CONFIG_HOME", ""}}, "none", 2, false},
    };
    const Ramp byDefault = shownByDefault();
    for (const SpoiltHome& spoilt : spoiltHomes) {
        SCOPED_TRACE(spoilt.name);
        const TestHome home;
        home.writePreferences(kGoodPreferences);
        spoilt.spoil(home.path());
        Environment more = spoilt.environment;
        for (auto& [name, value] : more)
            if (value.starts_with('~')) value.replace(0, 1, home.path());
        const Ramp expected = spoilt.holdsPreferences ? filtered(kStrong) : byDefault;
        if (spoilt.savesTables) expectAKillToBeUndone(home, expected, more);
        const Life life = live(home, expected, more);
        EXPECT_EQ(life.left, ownTables());
        EXPECT_EQ(std::ranges::count(life.said, '\n'), spoilt.lines) << life.said;
        EXPECT_GE(linesNaming(home.path() / spoilt.named, life.said), 1) << life.said;
        expectCannotImport(home, home.path() / spoilt.named, more);
        EXPECT_EQ(command(home, {"restore"}, more).status, ExitStatus::exited(0));
        EXPECT_EQ(tables(), distrustedTables());
        for (const char* file : {".dravo", ".config/dravo"})
            EXPECT_TRUE(!fs::is_regular_file(home.path() / file) || contentOf(home.path() / file) == "precious");
    }
}

TEST_F(HostileHomeTest, ThatNobodyKnowsOfIsNoReasonNotToFilter) {
    // Without HOME the user database has it; a number that is in none can only be had by root. Nor is there a thread
    // left but the guard's: a toolkit without its own would hang.
    constexpr uid_t kUnknown = 54321;
    const fs::path prlimit = "/usr/bin/prlimit";
    const TemporaryFolder copies;
    const TestHome home(copies.path());
    if (geteuid() != 0 || getpwuid(kUnknown) || !fs::exists(prlimit)) GTEST_SKIP() << "needs root and prlimit";
    fs::copy_file(programUnderTest(), copies / "dravo");
    for (const auto& folder : {copies.path(), home.path().parent_path()}) fs::permissions(folder, fs::perms(0755));
    ASSERT_EQ(chown(home.runtimeFolder().c_str(), kUnknown, kUnknown), 0);

    Environment environment = home.environment();
    environment.erase("HOME");
    environment.insert_or_assign("XDG_CONFIG_HOME", "");
    environment["ASAN_OPTIONS"] += ":detect_leaks=0";  // the search for leaks is a thread, too
    environment.merge(onServer());
    const std::string number = std::to_string(kUnknown);
    const Ramp byDefault = shownByDefault();
    showOwnTables();
    ChildProcess run(prlimit, {.arguments = {"--nproc=2", "setpriv", "--reuid=" + number, "--regid=" + number,
                                             "--clear-groups", copies / "dravo"},
                               .environment = environment});
    EXPECT_TRUE(waitUntil([&] { return allShow(byDefault); })) << run.standardError();
    EXPECT_TRUE(fs::exists(home.runtimeFolder() / "dravo/original_gamma.json")) << run.standardError();
    run.signal(SIGUSR2);
    EXPECT_EQ(run.waitForExit(), ExitStatus::exited(0)) << run.standardError();
    EXPECT_EQ(tables(), ownTables());
    EXPECT_NE(run.standardError().find("there is no home"), std::string::npos) << run.standardError();
    EXPECT_NE(run.standardError().find("there is no panel: Resource"), std::string::npos) << run.standardError();
}

TEST_F(HostileHomeTest, OnAFullDiskKeepsTheDisplaysSafe) {
    const TemporaryFolder disk;
    if (unshare(CLONE_NEWNS) != 0 || mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        mount("small", disk.path().c_str(), "tmpfs", 0, "size=64k") != 0) {
        GTEST_SKIP() << "mounting a small disk needs root: " << std::strerror(errno);
    }
    {
        const TestHome home(disk.path());
        home.writePreferences(kGoodPreferences);
        const TemporaryFolder elsewhere;
        std::ofstream ballast(disk / "ballast", std::ios::binary);
        while (ballast.put('x').flush()) continue;

        const Environment more{{"XDG_RUNTIME_DIR", elsewhere.path()}};
        expectAKillToBeUndone(home, filtered(kStrong), more);
        const Life life = live(home, filtered(kStrong), more);
        EXPECT_EQ(life.left, ownTables());
        expectOneLine(life.said, home.path() / kTables);

        const Life unsaved = live(home, filtered(kStrong));
        EXPECT_EQ(unsaved.left, ownTables());
        expectOneLine(unsaved.said, home.runtimeFolder() / "dravo/original_gamma.json");
        expectCannotImport(home, home.path() / ".dravo");
        EXPECT_EQ(contentOf(home.path() / kPreferences), kGoodPreferences);
    }
    umount2(disk.path().c_str(), MNT_DETACH);
}

using HostileToolkitTest = FilterRunTest;

TEST_F(HostileToolkitTest, ThatIsMisledByItsEnvironmentHasItsPanel) {
    auto environment = onServer();
    for (const char* name : {"QT_QPA_PLATFORM", "QT_QPA_PLATFORM_PLUGIN_PATH", "QT_QPA_PLATFORMTHEME",
                             "QT_QPA_GENERIC_PLUGINS", "QT_STYLE_OVERRIDE", "QT_PLUGIN_PATH", "QT_SCALE_FACTOR"})
        environment[name] = "/nonsense";
    for (const char* scale : {"0", "nan", "1e9"}) {
        environment["QT_SCALE_FACTOR"] = scale;
        ProcessUnderTest run(home(), {}, environment);
        EXPECT_TRUE(waitUntil([&] { return !XWindows(server().address()).of("dravo").empty(); }));
        quit(run);
        EXPECT_EQ(run.standardError(), "dravo: there is no session bus: commands cannot reach this program\n");
    }
}

TEST_F(HostileToolkitTest, ThatCannotStartLeavesTheFilterAtWork) {
    put(home().path() / "libxcb-icccm.so.4", "not a library");
    auto environment = onServer();
    environment["LD_LIBRARY_PATH"] = home().path();
    DisplayWatch watch(server().address(), displays().enabledOutputs());
    ProcessUnderTest run(home(), {}, environment);
    EXPECT_TRUE(waitUntil([&] { return run.standardError().find("no session bus") != std::string::npos; }));
    EXPECT_EQ(std::ranges::count(run.standardError(), '\n'), 2) << run.standardError();
    EXPECT_NE(run.standardError().find("dravo: there is no panel: Could not load the Qt"), std::string::npos);
    EXPECT_TRUE(isInCharge(run));
    preferOther();
    EXPECT_TRUE(waitUntil([&] { return allShow(filtered(intensity())); }));
    for (const auto& [name, seen] : watch.stop())
        for (std::size_t i = 1; i < seen.size(); ++i) EXPECT_TRUE(isFiltered(seen[i].ramp)) << name << " shows " << i;
    run.signal(SIGTERM);
    EXPECT_EQ(run.waitForExit(), ExitStatus::killedBy(SIGTERM));
    EXPECT_EQ(tables(), ownTables());
}

}  // namespace
}  // namespace dravo::testing
