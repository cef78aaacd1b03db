#pragma once

#include <string>
#include <vector>

#include "base/result.h"
#include "display/displays.h"
#include "display/gamma_table.h"

namespace dravo {

/// Why a display could not be reached. Callers in the engine drop it: the operation is skipped and tried again later.
struct DisplayGammaError {
    enum class Case { getOnlineDisplayListFailed, getTransferFailed, setTransferFailed };

    Case failed{};
    ErrorCode code = ErrorCode::Internal;  ///< The display server's.

    /// The case's fixed text, followed by the code's name.
    [[nodiscard]] std::string description() const;
};

/// The displays that are on and can be filtered, in the server's order, at most `kMaxDisplays`.
[[nodiscard]] Result<std::vector<DisplayId>, DisplayGammaError> onlineDisplayIDs(Displays& displays);

/// What a display holds now: at most 256 entries, taken over the whole range of a longer hardware table.
[[nodiscard]] Result<GammaTable, DisplayGammaError> readTransfer(Displays& displays, DisplayId display);

}  // namespace dravo
