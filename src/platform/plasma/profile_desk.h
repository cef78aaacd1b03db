#pragma once

#include <functional>
#include <memory>
#include <string>

#include "base/data_folder.h"
#include "base/descriptor_watch.h"
#include "base/result.h"
#include "base/scheduler.h"
#include "base/subscription.h"
#include "display/last_word.h"
#include "display/lasting_displays.h"
#include "display/original_gamma_store.h"

namespace dravo::plasma {

/// What a Plasma session's compositor offers as a global, and from which version on it takes colour profiles for its
/// displays: those of Plasma 5 do not.
inline constexpr const char* kOutputManagement = "kde_output_management_v2";
inline constexpr std::uint32_t kFirstWithProfiles = 6;

/// The displays of a Plasma session. All of them live in the Wayland module.
///
/// Thread: main thread, but for what `LastWord` says.
class ProfileDesk {
public:
    virtual ~ProfileDesk() = default;

    /// Needs no displays.
    [[nodiscard]] virtual LastWord& lastWord() = 0;

    /// Connects, and waits until the displays are described: two seconds at most. The first call that succeeds counts.
    /// Errors: `Disconnected`. Lifetime: `store` and `scheduler` outlive this.
    virtual Result<void> open(OriginalGammaStore& store, Scheduler& scheduler) = 0;

    // REQUIRES for what follows: they are open.

    [[nodiscard]] virtual LastingDisplays& displays() = 0;
    /// Serves the compositor's connection from the loop.
    virtual void listen(DescriptorWatch& watch) = 0;
    /// Whether anything is filtered. `callback` hears it at each change.
    [[nodiscard]] virtual bool isFiltering() const = 0;
    [[nodiscard]] virtual Subscription onFiltering(std::function<void(bool)> callback) = 0;
};

/// Makes one; it connects to nothing. `folder` is where its profiles lie.
/// Errors: `NotFound` (no such module, or one that does not load), `Unsupported` (it belongs to another version).
[[nodiscard]] Result<std::unique_ptr<ProfileDesk>> makeProfileDesk(const std::string& version,
                                                                   const DataFolder& folder);

/// The module's entry for it. Whoever calls it owns the result; null to another version.
using ProfileDeskEntry = ProfileDesk* (*)(const char* version, const DataFolder& folder);
inline constexpr const char* kProfileDeskEntry = "dravoPlasma";

}  // namespace dravo::plasma
