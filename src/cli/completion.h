#pragma once

#include <span>
#include <string>

#include "cli/command_context.h"

namespace dravo::cli {

/// What shell completion offers for the last of `words`, which stand after the program's name up to the cursor: a line
/// for each, with the word, a tab and what it means, or ":files" where files may stand. Made from the command table, so
/// nothing in packaging/completions can fall behind it; only the meanings are translated.
[[nodiscard]] std::string completions(std::span<const char* const> words, CommandContext& context);

}  // namespace dravo::cli
