#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "base/result.h"
#include "display/displays.h"
#include "display/gamma_table.h"

namespace dravo {

/// Transfer tables as JSON text, compact. One table is `{"red":[0,0.003921569,...],"green":[...],"blue":[...]}`, each
/// level the shortest number that reads back as the same 32-bit float.
///
/// Thread: any.

/// One table. Levels outside 0..1 are written as the nearer end, NaN as 0.
[[nodiscard]] std::string encodeTable(const GammaTable& table);

/// The colour profile that a person gave a display, where the compositor draws by profiles.
struct SavedProfile {
    std::string path;    ///< Its file; may be empty.
    std::string source;  ///< What the display follows, in that adapter's words; empty where nobody says.
    bool operator==(const SavedProfile&) const = default;
};

/// What a run saves about the displays that it may have changed.
struct SavedTables {
    std::map<DisplayId, GammaTable> own;
    /// Whether that run has switched everything to gray; none in a text that does not say.
    std::optional<bool> grayIsOurs = {};
    /// Whether that run has switched the desktop's night light off until tomorrow.
    bool nightLightIsOurs = false;
    std::map<DisplayId, SavedProfile> profiles = {};
    bool operator==(const SavedTables&) const = default;
};

/// One object with a table for each display, under its id in decimal, `"grayscale":true` or `false`,
/// `"nightLightPaused":true` where it is, and where there are profiles
/// `"profiles":{"17":{"path":"/home/me/desk.icc","source":"icc"}}`.
[[nodiscard]] std::string encodeTables(const SavedTables& tables);

/// Reads what `encodeTables` writes, also after a person had a hand in it: ids may start with "+"; entries whose key is
/// no 32-bit number are left out; unknown keys inside an entry are ignored; of channels of unequal length the first
/// entries count, as many as the shortest has, and a table of fewer than 2 is left out; levels are held to 0..1.
/// Errors: `InvalidInput` (not JSON, an entry without its three arrays, a level that is no number or too large for a
/// 32-bit float, a profile whose path or source is no text): nothing of the text is to be used.
[[nodiscard]] Result<SavedTables> decodeTables(std::string_view text);

}  // namespace dravo
