#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "controller/running_state.h"

namespace dravo {

/// What a program passes to the one that takes its place in the same process: the displays keep what they show, the
/// saved tables stay, and the controller goes on as it was.
struct HandOver {
    int process = 0;         ///< Whose successor this is for; the number does not change.
    int lock = -1;           ///< The descriptor that holds the lock; -1: there is none.
    bool hasGrayOn = false;  ///< The desktop's grayscale mode is on because of us.
    bool hasPanel = true;    ///< False: the toolkit cannot start here, and that has been said.
    RunningState state;
    bool operator==(const HandOver&) const = default;
};

/// The name under which it stands in the environment of the successor, which removes it.
inline constexpr const char* kHandOverVariable = "DRAVO_HAND_OVER";

[[nodiscard]] std::string encodeHandOver(const HandOver& handOver);

/// None for anything that `encodeHandOver` does not write.
[[nodiscard]] std::optional<HandOver> decodeHandOver(std::string_view text);

}  // namespace dravo
