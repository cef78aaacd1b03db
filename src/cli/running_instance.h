#pragma once

#include <optional>
#include <string>
#include <vector>

#include "base/result.h"

namespace dravo::cli {

/// The Dravo of this user that filters the screen now, if there is one.
///
/// Thread: main thread.
class RunningInstance {
public:
    virtual ~RunningInstance() = default;

    /// Asks it to switch the filter off, and waits until it has. False if none runs.
    /// Errors: `Busy` (one runs and does not do it), `Disconnected` (it went away meanwhile).
    [[nodiscard]] virtual Result<bool> switchOff() = 0;

    /// Hands it the text of a file of presets for its own list, which is the one that counts while it runs, and
    /// returns their ids. Nothing if none runs.
    /// Errors: as above, or its own refusal.
    [[nodiscard]] virtual Result<std::optional<std::vector<std::string>>> importPresets(const std::string& text) = 0;
};

}  // namespace dravo::cli
