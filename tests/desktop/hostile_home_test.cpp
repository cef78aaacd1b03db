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
#include <initializer_list>
#include <sstream>

#include "desktop/filter_run_test.h"

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

/// Something bad in a file's spoilt.
struct Trouble {
    const char* name;
    void (*put)(const fs::path& path);
    bool isEmptyToml = false;     ///< Sets nothing, and nothing is wrong with it.
    bool isAnotherUsers = false;  ///< Says nothing about our own runs.
};

void put(const fs::path& path, const std::string& text) { std::ofstream(path, std::ios::binary) << text; }
bool isToml(const fs::path& path) { return path.extension() == ".toml"; }

constexpr std::array kTroubles{
    Trouble{"cut off", [](const fs::path& path) { put(path, "{\"1\":{\"red\":[0,0.5"); }},
    Trouble{"binary",
            [](const fs::path& path) {
                std::string bytes;
                for (int i = 0; i < 5000; ++i) bytes += static_cast<char>(i * 7);
                put(path, bytes);
            }},
    Trouble{"empty", [](const fs::path& path) { put(path, ""); }, true},
    Trouble{"deeply nested",
            [](const fs::path& path) {
                put(path, isToml(path) ? "a = " + std::string(16000, '[') : std::string(100000, '['));
            }},
    Trouble{"many parts",
            [](const fs::path& path) {
                std::string text = isToml(path) ? "a" : "{";
                for (int i = 0; i < 7900; ++i) text += isToml(path) ? ".a" : "\"1\":{\"red\":";
                put(path, text);
            }},
    Trouble{"huge numbers",
            [](const fs::path& path) {
                put(path, isToml(path) ? "lastIntensity = 99999999999999999999999999"
                                       : R"({"1":{"red":[0,1e999],"green":[0,1],"blue":[0,1]}})");
            }},
    Trouble{"a folder", [](const fs::path& path) { fs::create_directories(path / "inside"); }},
    Trouble{"a pipe", [](const fs::path& path) { ASSERT_EQ(mkfifo(path.c_str(), 0600), 0); }},
    Trouble{"a link to itself", [](const fs::path& path) { fs::create_symlink(path.filename(), path); }},
    Trouble{"200 MB of nothing",
            [](const fs::path& path) {
                put(path, "");
                fs::resize_file(path, 200U << 20U);
            }},
    Trouble{"not ours to read",
            [](const fs::path& path) {
                put(path, "{}");
                fs::permissions(path, fs::perms::none);
            },
            false, true},
};

auto countLines(const std::string& text) { return std::ranges::count(text, '\n'); }

class HostileHomeTest : public FilterRunTest {
protected:
    struct Life {
        std::string said;
        Ramps left;
    };

    static void furnish(const TestHome& home, std::initializer_list<const char*> files, const Trouble& trouble) {
        for (const char* file : files) {
            fs::create_directories((home.path() / file).parent_path());
            trouble.put(home.path() / file);
        }
    }

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
        for (const auto& output : displays().enabledOutputs()) {
            expected[output] = {neutral.red, neutral.green, neutral.blue};
        }
        return expected;
    }

    /// Runs a command in this home to its end.
    [[nodiscard]] ProgramOutcome command(const TestHome& home, std::vector<std::string> arguments,
                                         const Environment& more = {}) {
        return runProgram(home, std::move(arguments), onServerWith(more));
    }
    void expectFileTrouble(const ProgramOutcome& outcome, const fs::path& naming) {
        EXPECT_EQ(outcome.status, ExitStatus::exited(1));
        expectOneLine(outcome.err, naming);
    }
    void expectCannotImport(const TestHome& home, const fs::path& naming, const Environment& more = {}) {
        const TemporaryFolder incoming;
        put(incoming / "mine.json", kOwnPreset);
        expectFileTrouble(command(home, {"import", incoming / "mine.json"}, more), naming);
    }

    static std::ptrdiff_t linesNaming(const fs::path& path, const std::string& said) {
        std::istringstream lines(said);
        std::ptrdiff_t count = 0;
        for (std::string line; std::getline(lines, line);) count += line.find(path.string()) != line.npos ? 1 : 0;
        return count;
    }
    static void expectOneLine(const std::string& said, const fs::path& naming) {
        EXPECT_EQ(countLines(said), 1) << said;
        EXPECT_NE(said.find(naming.string()), std::string::npos) << said;
    }
};

TEST_F(HostileHomeTest, WithUnusableFilesIsFilteredAllTheSameAndLosesNone) {
    const Ramp byDefault = shownByDefault();
    for (const Trouble& trouble : kTroubles) {
        SCOPED_TRACE(trouble.name);
        const TestHome home;
        furnish(home, {kTables, kPresets, kPreferences}, trouble);
        const fs::path tablesFile = home.path() / kTables;
        const Imprint tablesBefore(tablesFile);
        const Imprint presetsBefore(home.path() / kPresets);
        const Imprint preferencesBefore(home.path() / kPreferences);

        for (const auto& output : displays().enabledOutputs()) displays().setRamp(output, filtered(kStrong));
        const ProgramOutcome restored = command(home, {"restore"});
        EXPECT_EQ(restored.status, ExitStatus::exited(0));
        if (!trouble.isAnotherUsers) expectOneLine(restored.err, tablesFile);
        EXPECT_EQ(tables(), distrustedTables());
        EXPECT_EQ(Imprint(tablesFile), tablesBefore);

        const Life life = live(home, byDefault);
        EXPECT_EQ(life.left, trouble.isAnotherUsers ? ownTables() : distrustedTables());
        for (const char* name : {kTables, kPresets, kPreferences}) {
            EXPECT_EQ(linesNaming(home.path() / name, life.said), name == kPreferences && trouble.isEmptyToml ? 0 : 1)
                << name << " in:\n"
                << life.said;
        }
        EXPECT_EQ(Imprint(tablesFile.string() + (trouble.isAnotherUsers ? "" : ".bad")), tablesBefore);
        EXPECT_EQ(Imprint(home.path() / kPresets), presetsBefore);
        EXPECT_EQ(Imprint(home.path() / kPreferences), preferencesBefore);
    }
}

TEST_F(HostileHomeTest, WithUnusableFilesIsNamedByTheCommandsThatNeedThem) {
    for (const Trouble& trouble : kTroubles) {
        SCOPED_TRACE(trouble.name);
        const TestHome home;
        furnish(home, {kPresets}, trouble);
        const fs::path file = home.path() / kPresets;
        const Imprint before(file);
        for (const char* needed : {"table", "import"}) expectFileTrouble(command(home, {needed, file}), file);
        expectFileTrouble(command(home, {"export"}), file);

        home.write("mine.json", kOwnPreset);
        const ProgramOutcome imported = command(home, {"import", home.path() / "mine.json"});
        EXPECT_EQ(imported.status, ExitStatus::exited(0));
        expectOneLine(imported.err, file);
        EXPECT_EQ(Imprint(file.string() + ".bad"), before);
        EXPECT_NE(contentOf(file).find("\"MINE\""), std::string::npos);
    }
    const TestHome home;
    furnish(home, {kPresets}, kTroubles.front());
    for (const std::vector<std::string>& needed :
         std::vector<std::vector<std::string>>{{"presets"}, {"export", "MINE"}, {"table", "MINE"}}) {
        expectFileTrouble(command(home, needed), home.path() / kPresets);
    }
    EXPECT_EQ(command(home, {"table", "fl41"}).err, "");
}

/// A home that cannot hold what the program wants to keep.
struct SpoiltHome {
    const char* name;
    const char* readOnly = nullptr;  ///< A folder of it.
    const char* blocked = nullptr;   ///< A folder of it that is a file.
    bool exists = true;
    bool hasRuntimeFolder = true;
    const char* named = "";  ///< What the lines name, below the home.
    std::ptrdiff_t lines = 1;
    bool holdsPreferences = true;
    bool holdsPresets = false;
    bool savesTables = true;  ///< In the runtime folder, so that a kill is undone.

    /// Makes it so; what it adds to the environment.
    [[nodiscard]] Environment spoil(const TestHome& home) const {
        if (readOnly) fs::permissions(home.path() / readOnly, fs::perms::owner_read | fs::perms::owner_exec);
        if (blocked) {
            fs::remove_all(home.path() / blocked);
            put(home.path() / blocked, "precious");
        }
        if (!exists) return {{"HOME", home.path() / "none"}, {"XDG_CONFIG_HOME", ""}};
        if (!hasRuntimeFolder) return {{"XDG_RUNTIME_DIR", ""}};
        return {};
    }
};

const std::array kSpoiltHomes{
    SpoiltHome{.name = "read-only", .readOnly = "", .named = ".dravo"},
    SpoiltHome{.name = "read-only, without a runtime folder",
               .readOnly = "",
               .hasRuntimeFolder = false,
               .named = ".dravo",
               .lines = 2,
               .savesTables = false},
    SpoiltHome{.name = ".dravo is a file", .blocked = ".dravo", .named = ".dravo"},
    SpoiltHome{.name = "the folder of the preferences is a file",
               .blocked = ".config/dravo",
               .named = ".config/dravo",
               .holdsPreferences = false,
               .holdsPresets = true},
    SpoiltHome{.name = "the folder of the preferences is read-only",
               .readOnly = ".config/dravo",
               .lines = 0,
               .holdsPresets = true},
    SpoiltHome{
        .name = "missing", .readOnly = "", .exists = false, .named = "none", .lines = 2, .holdsPreferences = false},
};

TEST_F(HostileHomeTest, ThatCannotHoldAnythingKeepsTheDisplaysSafe) {
    const Ramp byDefault = shownByDefault();
    for (const SpoiltHome& spoilt : kSpoiltHomes) {
        SCOPED_TRACE(spoilt.name);
        const TestHome home;
        home.writePreferences(kGoodPreferences);
        const Environment more = spoilt.spoil(home);
        const Ramp expected = spoilt.holdsPreferences ? filtered(kStrong) : byDefault;
        if (spoilt.savesTables) expectAKillToBeUndone(home, expected, more);
        const Life life = live(home, expected, more);
        EXPECT_EQ(life.left, ownTables());
        if (!spoilt.holdsPresets) expectCannotImport(home, home.path() / spoilt.named, more);
        EXPECT_EQ(command(home, {"restore"}, more).status, ExitStatus::exited(0));
        EXPECT_EQ(tables(), distrustedTables());
        EXPECT_EQ(countLines(life.said), spoilt.lines) << life.said;
        EXPECT_NE(life.said.find(spoilt.lines ? (home.path() / spoilt.named).string() : ""), std::string::npos)
            << life.said;
        for (const char* file : {".dravo", ".config/dravo"}) {
            if (!fs::is_regular_file(home.path() / file)) continue;
            EXPECT_EQ(contentOf(home.path() / file), "precious");
        }
    }
}

TEST_F(HostileHomeTest, ThatNobodyKnowsOfIsNoReasonNotToFilter) {
    // Without HOME the user database has it; a number that is in none can only be had by root.
    constexpr uid_t kUnknown = 54321;
    const fs::path setpriv = "/usr/bin/setpriv";
    const TemporaryFolder copies;
    const TestHome home(copies.path());
    if (geteuid() != 0 || getpwuid(kUnknown) || !fs::exists(setpriv)) GTEST_SKIP() << "needs root and setpriv";
    fs::copy_file(programUnderTest(), copies / "dravo");
    for (const auto& folder : {copies.path(), home.path().parent_path()}) fs::permissions(folder, fs::perms(0755));
    ASSERT_EQ(chown(home.runtimeFolder().c_str(), kUnknown, kUnknown), 0);

    Environment environment = home.environment();
    environment.erase("HOME");
    environment.insert_or_assign("XDG_CONFIG_HOME", "");
    environment.merge(onServer());
    const std::string number = std::to_string(kUnknown);
    const Ramp byDefault = shownByDefault();
    showOwnTables();
    ChildProcess run(setpriv, {.arguments = {"--reuid=" + number, "--regid=" + number, "--clear-groups",
                                             copies / "dravo", "--headless"},
                               .environment = environment});
    EXPECT_TRUE(waitUntil([&] { return allShow(byDefault); })) << run.standardError();
    EXPECT_TRUE(fs::exists(home.runtimeFolder() / "dravo/original_gamma.json")) << run.standardError();
    run.signal(SIGUSR2);
    EXPECT_EQ(run.waitForExit(), ExitStatus::exited(0));
    EXPECT_EQ(tables(), ownTables());
    EXPECT_NE(run.standardError().find("there is no home"), std::string::npos) << run.standardError();
}

/// A small disk of its own, full to the last byte once `fill` was called.
class SmallDisk {
public:
    /// Mounts it where only this process sees it. Not `isThere()` where that is not allowed.
    SmallDisk() {
        isThere_ = unshare(CLONE_NEWNS) == 0 && mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                   mount("small", point_.path().c_str(), "tmpfs", 0, "size=64k") == 0;
    }
    ~SmallDisk() {
        if (isThere_) umount2(point_.path().c_str(), MNT_DETACH);
    }
    SmallDisk(const SmallDisk&) = delete;
    SmallDisk& operator=(const SmallDisk&) = delete;

    [[nodiscard]] bool isThere() const { return isThere_; }
    [[nodiscard]] const fs::path& path() const { return point_.path(); }
    void fill() const {
        std::ofstream ballast(point_ / "ballast", std::ios::binary);
        while (ballast.put('x').flush()) continue;
    }

private:
    TemporaryFolder point_;
    bool isThere_ = false;
};

TEST_F(HostileHomeTest, OnAFullDiskKeepsTheDisplaysSafe) {
    const SmallDisk disk;
    if (!disk.isThere()) GTEST_SKIP() << "mounting a small disk needs root: " << std::strerror(errno);
    const TestHome home(disk.path());
    home.writePreferences(kGoodPreferences);
    const TemporaryFolder elsewhere;
    disk.fill();

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

}  // namespace
}  // namespace dravo::testing
