#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace dravo::files {

/// What the environment of a desktop's session says, as its base directory and desktop entry specifications read it.
///
/// Thread: any that nobody else changes the environment in.

/// A variable's value; `unset` where it is not set or empty.
[[nodiscard]] std::string_view variable(const char* name, std::string_view unset = {});

/// The same, cut at its colons; empty pieces are left out.
[[nodiscard]] std::vector<std::string> listVariable(const char* name, std::string_view unset = {});

/// A file, not a folder, that this process may execute.
[[nodiscard]] bool isExecutable(const std::filesystem::path& file);

/// The same for a program's name: a path, or what `PATH` leads to.
[[nodiscard]] bool canBeStarted(std::string_view program);

}  // namespace dravo::files
