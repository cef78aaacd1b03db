#pragma once

#include <span>
#include <string_view>
#include <vector>

#include "base/result.h"
#include "filter/filter_preset.h"

namespace dravo {

/// Presets that come from outside, to become a person's own: an array of presets, or one preset by itself.
///
/// All or nothing. Refused are an empty id, a built-in preset's id, and a number outside the range that the editor's
/// slider has for it. `isBuiltIn` becomes false. An id that occurs twice is not refused: `mergePresets` takes the
/// later. Errors: `InvalidInput` with a sentence that names preset, key and range.
[[nodiscard]] Result<std::vector<FilterPreset>> importPresets(std::string_view text);

/// `own` with every preset of `incoming` in the place of the first one with the same id, else at the end, in order.
[[nodiscard]] std::vector<FilterPreset> mergePresets(std::vector<FilterPreset> own,
                                                     std::span<const FilterPreset> incoming);

}  // namespace dravo
