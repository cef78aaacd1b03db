#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "base/result.h"
#include "filter/user_defaults.h"

namespace dravo::files {

/// The longest preferences file we read or write. The reader needs stack for every part of a dotted key, so a longer
/// file could bring the program down.
inline constexpr std::size_t kMaxPreferencesBytes = 16 * 1024;

/// What to store (a value) or to remove (none) under each key.
using DefaultsChanges = std::map<std::string, std::optional<DefaultsValue>, std::less<>>;

/// The settings in a TOML text: its top-level booleans, integers, finite floats, strings, offset date-times and arrays
/// of strings. Everything else (tables, local dates, other arrays, nan) is left out.
/// Errors: `InvalidInput` with line and column, or the length. Thread: any.
[[nodiscard]] Result<DefaultsValues> parsePreferences(std::string_view text);

/// `text` with `changes` made, and all else as the person wrote it: comments, order, spacing, keys we do not know. A
/// changed value is replaced where it stands, a removed key goes with its line, a new one follows the last top-level
/// key. Only where the text does not allow that (a key in the way is a table) it is written anew, without comments.
/// Reading the answer gives exactly the settings of `text` with `changes` made. REQUIRES: storable values.
/// Errors: `InvalidInput` (`text` does not parse, or the answer would be too long to be read again).
[[nodiscard]] Result<std::string> withChanges(std::string_view text, const DefaultsChanges& changes);

}  // namespace dravo::files
