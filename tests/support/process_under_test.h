#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <vector>

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
    /// Writes the program's preferences.
    void writePreferences(const std::string& toml) const { write(".config/dravo/preferences.toml", toml); }

    /// Everything a process needs to live in this home alone: no display server, no message bus, English, UTC.
    [[nodiscard]] std::map<std::string, std::string> environment() const;

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
    ProcessUnderTest(const TestHome& home, std::vector<std::string> arguments,
                     const std::map<std::string, std::string>& more = {}, std::filesystem::path outputTo = {},
                     const std::filesystem::path& program = programUnderTest());
};

/// The program installed once more, for tests in which its file is replaced.
class ProgramCopy {
public:
    ProgramCopy();

    [[nodiscard]] std::filesystem::path path() const { return folder_ / "bin/dravo"; }
    /// Takes the file away and puts another in its place.
    void replaceBy(const std::string& content, std::filesystem::perms permissions) const;
    /// The program itself again.
    void putBack() const;

private:
    TemporaryFolder folder_;
};

struct ProgramOutcome {
    ExitStatus status;
    std::string out;
    std::string err;
};
/// Runs the real program to its end.
ProgramOutcome runProgram(const TestHome& home, std::vector<std::string> arguments,
                          const std::map<std::string, std::string>& more = {},
                          const std::filesystem::path& outputTo = {});

}  // namespace dravo::testing
