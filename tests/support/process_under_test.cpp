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

std::map<std::string, std::string> TestHome::environment() const {
    std::map<std::string, std::string> variables{
        {"HOME", path()},
        {"XDG_CONFIG_HOME", path() / ".config"},
        {"XDG_DATA_HOME", path() / ".local/share"},
        {"XDG_RUNTIME_DIR", runtimeFolder()},
        {"DBUS_SESSION_BUS_ADDRESS", "disabled:"},
        {"DBUS_SYSTEM_BUS_ADDRESS", "disabled:"},
        {"PATH", "/usr/bin:/bin"},
        {"LANG", "C.UTF-8"},
        {"TZ", "UTC"},
    };
    // How the sanitizers report is the caller's decision.
    for (const char* name : {"ASAN_OPTIONS", "UBSAN_OPTIONS", "TSAN_OPTIONS", "LSAN_OPTIONS"}) {
        if (const char* value = std::getenv(name)) variables.emplace(name, value);
    }
    // Read by a build that looks for leaks, ignored by any other.
    variables.emplace("LSAN_OPTIONS", "print_suppressions=0:suppressions=" DRAVO_LEAK_SUPPRESSIONS);
    return variables;
}

namespace {

ChildProcess::Options optionsFor(const TestHome& home, std::vector<std::string> arguments,
                                 const std::map<std::string, std::string>& more, fs::path outputTo) {
    ChildProcess::Options options;
    options.arguments = std::move(arguments);
    options.environment = home.environment();
    for (const auto& [name, value] : more) options.environment.insert_or_assign(name, value);
    options.outputTo = std::move(outputTo);
    options.isBoundByPermissions = true;
    return options;
}

}  // namespace

fs::path programUnderTest() { return DRAVO_PROGRAM; }

ProcessUnderTest::ProcessUnderTest(const TestHome& home, std::vector<std::string> arguments,
                                   const std::map<std::string, std::string>& more, fs::path outputTo,
                                   const fs::path& program)
    : ChildProcess(program, optionsFor(home, std::move(arguments), more, std::move(outputTo))) {}

ProgramCopy::ProgramCopy() {
    const fs::path built = programUnderTest().parent_path();
    fs::create_directory(folder_ / "bin");
    fs::create_symlink(built / "dravo-desktop.so", folder_ / "bin/dravo-desktop.so");
    fs::create_symlink(built.parent_path() / "share", folder_ / "share");
    putBack();
}

void ProgramCopy::replaceBy(const std::string& content, fs::perms permissions) const {
    fs::remove(path());
    std::ofstream(path()) << content;
    fs::permissions(path(), permissions);
}

void ProgramCopy::putBack() const {
    fs::remove(path());
    fs::copy_file(programUnderTest(), path());
}

ProgramOutcome runProgram(const TestHome& home, std::vector<std::string> arguments,
                          const std::map<std::string, std::string>& more, const fs::path& outputTo) {
    ProcessUnderTest program(home, std::move(arguments), more, outputTo);
    const auto status = program.waitForExit();
    return {status.value_or(ExitStatus{}), program.standardOutput(), program.standardError()};
}

}  // namespace dravo::testing
