#include "support/process_under_test.h"

#include <cstdlib>
#include <fstream>

namespace dravo::testing {

namespace fs = std::filesystem;

TestHome::TestHome(const fs::path& parent) : folder_(parent) {
    fs::create_directory(path());
    fs::create_directory(runtimeFolder());
    fs::permissions(runtimeFolder(), fs::perms::owner_all);
}

void TestHome::write(const fs::path& name, const std::string& text) const {
    fs::create_directories((path() / name).parent_path());
    const fs::path draft = folder_ / "draft";
    std::ofstream(draft, std::ios::binary) << text;
    fs::rename(draft, path() / name);
}

Environment TestHome::environment(Environment more) const {
    more.merge(Environment{
        {"HOME", path()},
        {"XDG_CONFIG_HOME", path() / ".config"},
        {"XDG_DATA_HOME", path() / ".local/share"},
        {"XDG_RUNTIME_DIR", runtimeFolder()},
        {"DBUS_SESSION_BUS_ADDRESS", "disabled:"},
        {"DBUS_SYSTEM_BUS_ADDRESS", "disabled:"},
        {"PATH", "/usr/bin:/bin"},
        {"LANG", "C.UTF-8"},
        {"TZ", "UTC"},
    });
    // How the sanitizers report is the caller's decision.
    for (const char* name : {"ASAN_OPTIONS", "UBSAN_OPTIONS", "TSAN_OPTIONS", "LSAN_OPTIONS"})
        if (const char* value = std::getenv(name)) more.emplace(name, value);
    // Read by a build that looks for leaks, ignored by any other.
    more.emplace("LSAN_OPTIONS", "print_suppressions=0:suppressions=" DRAVO_LEAK_SUPPRESSIONS);
    return more;
}

fs::path programUnderTest() { return DRAVO_PROGRAM; }

ProgramOutcome runProgram(const TestHome& home, std::vector<std::string> arguments, const Environment& more,
                          const fs::path& outputTo) {
    ProcessUnderTest program(home, std::move(arguments), more, outputTo);
    const auto status = program.waitForExit();
    return {status.value_or(ExitStatus{}), program.standardOutput(), program.standardError()};
}

}  // namespace dravo::testing
