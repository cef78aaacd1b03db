#pragma once

#include <cstdlib>
#include <optional>
#include <string>

#include "app/updater.h"

namespace dravo {

/// The address that this build was made with, or the environment's own. Errors: as `feedAddress`.
[[nodiscard]] inline Result<std::string> updateAddress() {
    const char* const feed = std::getenv("DRAVO_UPDATE_FEED");
    return feedAddress(DRAVO_UPDATE_FEED, feed ? std::optional<std::string>(feed) : std::nullopt);
}

}  // namespace dravo
