#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "base/localized.h"
#include "base/result.h"
#include "base/scheduler.h"
#include "base/subscription.h"
#include "display/gamma_table.h"

namespace dravo {

/// A display's number: derived from its connector and EDID, so it survives a restart and a re-plug. Never 0.
enum class DisplayId : std::uint32_t {};

/// At most so many displays are filtered.
inline constexpr std::size_t kMaxDisplays = 16;

/// Whether a display can be filtered now.
enum class DisplayState {
    ready,
    noTable,  ///< Its hardware or driver has no transfer table.
    held,     ///< Another program has it to itself.
    refused,  ///< The server took no table for it the last time.
};

/// One display as a person sees it in a list.
struct DisplayDescription {
    DisplayId id{};
    std::string name;  ///< The connector, e.g. "DP-1".
    std::size_t tableSize =
        0;  ///< Entries per channel of its hardware table; 0 when it has none, or nobody has told yet.
    DisplayState state = DisplayState::ready;
    Sentence problem;  ///< Why it cannot be filtered; empty when it can.
    bool operator==(const DisplayDescription&) const = default;
};

/// What a session's displays are like: what the engine has to do for them, and what it may not.
struct DisplayTraits {
    /// They stay when their writer dies: it takes saved tables and a guard to undo that.
    bool tablesOutliveUs = false;
    /// How often to look for foreign changes that nobody announces; zero where there are none.
    Duration lookPeriod{};
};

/// Whether a table comes on screen at once or in ten steps over 0.3 s.
enum class Fade { none, animated };

/// What the engine asks of a session's displays: a wish, which the adapter brings on every display that is on.
///
/// Calibrating, resampling, saving, comparing, fading and retrying happen inside; nothing but `giveBack` waits for a
/// server that takes its time. Not a scheduler of wishes and not a judge of tables: it shows the latest wish.
///
/// Thread: main thread only. Lifetime: outlives every Subscription it handed out. Callbacks are never called inside
/// `on...`, but may be called inside `show`.
class Displays {
public:
    virtual ~Displays() = default;

    /// Which kind of session this is, e.g. "x11".
    [[nodiscard]] virtual std::string backend() const = 0;
    [[nodiscard]] virtual DisplayTraits traits() const = 0;

    /// Every display that is on, in the server's own order, also those that cannot be filtered.
    /// Errors: `Disconnected`.
    [[nodiscard]] virtual Result<std::vector<DisplayDescription>> list() = 0;

    /// What displays hold now, in native length, in the order asked for.
    /// Errors, for each display: `NotFound` (not on), `Unsupported` (no table, or a session that cannot be read),
    /// `Disconnected`.
    [[nodiscard]] virtual std::vector<Result<GammaTable>> held(std::span<const DisplayId> displays) = 0;

    /// Shows `wish` (any length from 2, levels 0..1) on every display that is on and can be filtered, and on those that
    /// come; without one gives each what is its own: its calibration, else the table found on it. The latest wish
    /// wins, and cuts a fade short.
    ///
    /// A fade starts, on each display, from what that display holds: at no frame is an entry brighter than at both
    /// ends.
    virtual void show(const std::optional<GammaTable>& wish, Fade fade) = 0;

    /// Brings what is wanted back where somebody else changed it: for events after which tables must be loaded again.
    /// Does nothing without a wish. During a fade its latest frame is loaded.
    virtual void loadAgain() = 0;

    /// The steady look, once in `traits().lookPeriod`: the same at the smallest cost. May find a foreign change out
    /// only at the next call.
    virtual void look() = 0;

    /// The hardware may differ from what the server says (wake, another session on screen): the next load of each
    /// display writes without comparing.
    virtual void forgetContents() = 0;

    /// Whether a wish may follow. Once the displays are given back for good, every later call that would write is
    /// ignored, whatever timer or event still brings it.
    enum class GivingBack { forNow, forGood };

    /// Drops the wish, cuts a fade short and gives every display that carries ours its own table, also one that is off
    /// by now. The one call that waits: until the server has confirmed it, some two seconds at most.
    /// Errors: `Disconnected`, `PermissionDenied`, `Busy` (no answer in time): some display may still carry ours. Keep
    /// what is saved. A session that goes on tries again by itself.
    [[nodiscard]] virtual Result<void> giveBack(GivingBack how) = 0;

    [[nodiscard]] virtual bool isFading() const = 0;
    /// Ends a fade where it was going, now.
    virtual void finishFade() = 0;
    /// `callback` runs when a fade has ended or was cut short, and no other follows it at once.
    [[nodiscard]] virtual Subscription onFadeEnd(std::function<void()> callback) = 0;

    /// `callback` runs when `list` answers something new.
    [[nodiscard]] virtual Subscription onListChange(std::function<void()> callback) = 0;

    /// `callback` runs in the event after which tables must be loaded again (outputs changed, somebody announced that
    /// he writes), with the new state already visible here. A refusal is no such event.
    [[nodiscard]] virtual Subscription onLoadNeeded(std::function<void()> callback) = 0;

    /// `callback` runs once the server is gone for good; every operation then fails with `Disconnected`.
    [[nodiscard]] virtual Subscription onLoss(std::function<void()> callback) = 0;
};

}  // namespace dravo
