#pragma once

#include <filesystem>
#include <string>

namespace dravo::testing {

/// A fresh folder (mode 0700), removed with all it holds when this is destroyed, also what was made read-only.
class TemporaryFolder {
public:
    /// Below `parent`; if empty, where tests have room: in memory if there is such a place.
    explicit TemporaryFolder(const std::filesystem::path& parent = {});
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    [[nodiscard]] const std::filesystem::path& path() const { return path_; }
    [[nodiscard]] std::filesystem::path operator/(const std::filesystem::path& name) const { return path_ / name; }

private:
    std::filesystem::path path_;
};

/// The whole content of a file; empty when there is none.
std::string contentOf(const std::filesystem::path& file);
/// Makes a shell script that can be run, and the folders that it is in.
void writeProgram(const std::filesystem::path& file, const std::string& script);

}  // namespace dravo::testing
