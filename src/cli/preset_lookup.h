#pragma once

#include <span>
#include <string_view>
#include <vector>

#include "cli/arguments.h"
#include "cli/command_context.h"
#include "display/gamma_table.h"
#include "filter/filter_preset.h"

namespace dravo::cli {

/// The built-in presets, then the person's own. A file of those that cannot be used is complained about on standard
/// error; then `code` says how to end.
struct PresetList {
    std::vector<FilterPreset> presets;
    ExitCode code = ExitCode::Ok;
};
[[nodiscard]] PresetList allPresets(const Call& call);

/// A preset and what it is to be adjusted by.
struct PresetChoice {
    FilterPreset preset;
    Adjustments adjustments;
};

/// The preset that an operand means: a file with one preset if it has a "/" or ends in ".json", else an id. With the
/// adjustments that the command line gives, and the preset's own for the rest. What goes wrong is written to standard
/// error; then `code` says how to end and the value is empty.
struct PresetOutcome {
    std::optional<PresetChoice> choice;
    ExitCode code = ExitCode::Ok;
};
[[nodiscard]] PresetOutcome choosePreset(const Call& call, std::string_view operand);

/// The table of the choice.
[[nodiscard]] GammaTable tableOf(const PresetChoice& choice);

/// The four options that adjust a preset, for the tables of the commands that take one.
inline constexpr Option kIntensityOption{"intensity",          "X", textKey("Strength of the colour filter"),
                                         Option::Kind::Number, 0,   1};
inline constexpr Option kDimmingOption{"dimming", "X", textKey("Extra darkening"), Option::Kind::Number, 0, 1};
inline constexpr Option kBlackPointOption{"black-point", "X", textKey("Lift of black"), Option::Kind::Number, 0, 1};
inline constexpr Option kContrastOption{"contrast",           "X", textKey("Softer below 0, harder above"),
                                        Option::Kind::Number, -1,  1};

}  // namespace dravo::cli
