#pragma once

#include <memory>
#include <optional>
#include <string>

#include "app/hot_key_service.h"
#include "base/descriptor_watch.h"
#include "base/result.h"
#include "base/scheduler.h"
#include "display/grayscale_service.h"
#include "display/last_word.h"
#include "display/original_gamma_store.h"
#include "display/remembered_displays.h"

namespace dravo {

namespace x11 {
class EmergencyRestore;
class X11TableDevice;
}  // namespace x11

/// What serves the ports that depend on the kind of session: the displays, what can still be said for them at a sudden
/// end, gray, and the shortcut. Nobody but this and the composition root names their adapters.
///
/// Tried in this order:
///  1. X11, by RandR; never inside a Wayland session, whose X server takes tables and does nothing with them.
///
/// Thread: main thread, but for what `LastWord` says. Lifetime: outlives everything that it serves.
class Session {
public:
    /// Whether a sudden end has to be answered for: by a run that filters, not by a command that looks or restores.
    enum class Guarding { byLastWord, byCaller };

    /// Looks at the session; connects to nothing. REQUIRES with `byLastWord`: no other thread yet.
    [[nodiscard]] static std::unique_ptr<Session> choose(Guarding guarding);
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    /// For the guard, before the displays are opened. REQUIRES: `byLastWord`.
    [[nodiscard]] LastWord& lastWord();

    /// Connects to the session's displays; the first call counts.
    /// Errors: `Disconnected` (nobody answers), `Unsupported` (nothing here can be tinted; the message says why).
    Result<void> openDisplays(OriginalGammaStore& store, Scheduler& scheduler);

    // REQUIRES for what follows: the displays are open.

    [[nodiscard]] RememberedDisplays& displays() { return *displays_; }
    [[nodiscard]] GrayscaleService& grayscale();
    /// Whether `lastWord` could give the displays back.
    [[nodiscard]] bool isGuarded() const;

    /// Starts to listen for what the displays' server tells.
    void listen(DescriptorWatch& watch, Scheduler& scheduler);

    /// Needs no displays.
    [[nodiscard]] static std::unique_ptr<HotKeyService> makeHotKeys(DescriptorWatch& watch, Scheduler& scheduler);

private:
    explicit Session(Guarding guarding);

    std::unique_ptr<x11::EmergencyRestore> emergency_;
    std::unique_ptr<x11::X11TableDevice> device_;
    std::optional<RememberedDisplays> displays_;
};

}  // namespace dravo
