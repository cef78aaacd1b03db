#pragma once

#include <functional>

namespace dravo {

/// Where views find the check for updates without knowing who carries it out.
///
/// Thread: main thread.
struct UpdaterBridge {
    std::function<void()> checkForUpdates;  ///< Empty while nobody carries it out.

    /// The process's one.
    [[nodiscard]] static UpdaterBridge& shared();
};

}  // namespace dravo
