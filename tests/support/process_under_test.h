#pragma once

#include "support/child_process.h"

namespace dravo::testing {

/// A person's home made for one test, in a temporary folder: what the program would find and leave there.
class TestHome {
public:
    /// `parent` as for `TemporaryFolder`.
    explicit TestHome(const std::filesystem::path& parent = {});

    [[nodiscard]] std::filesystem::path path() const { return folder_ / "home"; }
    [[nodiscard]] std::filesystem::path runtimeFolder() const { return folder_ / "run"; }

    /// Writes `text` to the file at `name` below the home, making its folders. As an editor does: a reader finds the
    /// old text or the new one.
    void write(const std::filesystem::path& name, const std::string& text) const;
    [[nodiscard]] std::filesystem::path preferences() const { return path() / ".config/dravo/preferences.toml"; }
    void writePreferences(const std::string& toml) const { write(preferences(), toml); }

    /// Everything a process needs to live in this home alone: no display server, no message bus, English, UTC. With
    /// what `more` says instead or in addition.
    [[nodiscard]] Environment environment(Environment more = {}) const;

private:
    TemporaryFolder folder_;
};

/// The real program's file.
[[nodiscard]] std::filesystem::path programUnderTest();

/// The real program, run in a home of the test's with nothing of the caller's session. File permissions bind it
/// also when the tests run as root.
class ProcessUnderTest : public ChildProcess {
public:
    /// `more` adds to the home's environment, e.g. DISPLAY. `program` may be a copy of the program's file.
    ProcessUnderTest(const TestHome& home, std::vector<std::string> arguments, const Environment& more = {},
                     const std::filesystem::path& outputTo = {},
                     const std::filesystem::path& program = programUnderTest())
        : ChildProcess(program, {.arguments = std::move(arguments),
                                 .environment = home.environment(more),
                                 .outputTo = outputTo,
                                 .isBoundByPermissions = true}) {}
};

struct ProgramOutcome {
    ExitStatus status;
    std::string out;
    std::string err;
};
/// Runs the real program to its end.
ProgramOutcome runProgram(const TestHome& home, std::vector<std::string> arguments, const Environment& more = {},
                          const std::filesystem::path& outputTo = {});

}  // namespace dravo::testing
