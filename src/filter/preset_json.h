#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/result.h"
#include "filter/filter_preset.h"

namespace dravo {

/// Presets as JSON text: one object with exactly the sixteen keys of `kPresetFields`, or an array of such objects.
/// Written compactly, keys in field order, each number in the shortest form that reads back the same.
///
/// Reading requires all sixteen keys with their types and nothing more: other keys are ignored, no value is checked
/// against a range. Any text may be read, however broken or hostile.
///
/// Thread: any.

/// Errors: `InvalidInput` with a sentence that names the key, or line and column.
[[nodiscard]] Result<FilterPreset> decodePreset(std::string_view text);

/// Errors: as above, naming also the preset by its place, from 1: one broken preset fails the whole array.
[[nodiscard]] Result<std::vector<FilterPreset>> decodePresets(std::string_view text);

/// Errors: `InvalidInput` (a number that is not finite, a text that is not UTF-8).
[[nodiscard]] Result<std::string> encodePreset(const FilterPreset& preset);

/// Errors: as above; one such preset fails the whole array.
[[nodiscard]] Result<std::string> encodePresets(std::span<const FilterPreset> presets);

}  // namespace dravo
