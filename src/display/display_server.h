#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <span>
#include <string>
#include <vector>

#include "base/result.h"
#include "base/subscription.h"
#include "display/gamma_table.h"

namespace dravo {

/// A display's number: derived from its connector and EDID, so it survives a restart and a re-plug. Never 0.
enum class DisplayId : std::uint32_t {};

/// At most so many displays are filtered.
inline constexpr std::size_t kMaxDisplays = 16;

/// One display as a person sees it in a list.
struct DisplayDescription {
    DisplayId id{};
    std::string name;           ///< The connector, e.g. "DP-1".
    std::size_t tableSize = 0;  ///< Entries per channel of its hardware table; 0 when it has none.
    /// Why it cannot be filtered, as a sentence; empty when it can.
    std::string problem;
    bool operator==(const DisplayDescription&) const = default;
};

/// A table and the display it is for, or was read from.
struct DisplayTable {
    DisplayId display{};
    GammaTable table;
};

/// Reads and loads the transfer tables of the displays that are on now.
///
/// Not a scheduler and not a memory of wishes: it holds no time and no wanted state. It does remember, for each
/// display, the table that is the display's own (`ownTable`), and which displays carry ours.
///
/// Every operation covers its displays in one round trip; nothing waits per display. Tables have any length from 2,
/// levels 0..1, and are resampled to the hardware's size; levels travel as k / 65535 rounded to nearest.
///
/// Thread: main thread only. Lifetime: outlives every Subscription it handed out.
class DisplayServer {
public:
    virtual ~DisplayServer() = default;

    /// Which kind of server this is, e.g. "x11".
    [[nodiscard]] virtual std::string backend() const = 0;

    /// Displays that are on and have a table, at most `capacity`, in the server's own order.
    /// Errors: `Disconnected` (skip this round, the next tick asks again).
    [[nodiscard]] virtual Result<std::vector<DisplayId>> onlineDisplays(std::size_t capacity) = 0;

    /// Every display that is on, also those that cannot be filtered.
    /// Errors: `Disconnected`.
    [[nodiscard]] virtual Result<std::vector<DisplayDescription>> describeDisplays() = 0;

    /// What the displays hold now, in native length, in the order asked for.
    /// Errors, for each display: `NotFound` (not on), `Unsupported` (no table), `Disconnected`.
    [[nodiscard]] virtual std::vector<Result<GammaTable>> readTables(std::span<const DisplayId> displays) = 0;

    /// Loads tables now. One that a display is known to hold is first read back and then written only if somebody
    /// changed it; after any sign that the hardware may differ from the server's copy it is written in any case.
    /// Errors, for each table: `NotFound`, `Unsupported`, `InvalidInput` (fewer than 2 entries, unequal channels),
    /// `PermissionDenied` (the server refused), `Disconnected`. A failing display does not stop the others.
    virtual std::vector<Result<void>> loadTables(std::span<const DisplayTable> tables) = 0;

    /// The steady look: brings back what somebody else changed since, at the smallest cost and without ever waiting.
    /// May find out only at the next call. Errors are dropped; the next call tries again.
    virtual void keepTables(std::span<const DisplayTable> tables) = 0;

    /// Gives every display that carries ours its calibration: the `vcgt` of its ICC profile, else its own table, else
    /// neutral. Covers displays that are off by now. Returns when the server has confirmed it.
    /// Errors: `Disconnected`, `PermissionDenied` (some display may still carry ours; keep what is saved).
    [[nodiscard]] virtual Result<void> restoreCalibration() = 0;

    /// The table that belongs to the display: the one declared below, else the one found before our first write.
    /// Errors: `NotFound`, `Unsupported`, `Disconnected`.
    [[nodiscard]] virtual Result<GammaTable> ownTable(DisplayId display) = 0;

    /// Declares whose tables are known from an earlier run that did not end cleanly, of present and absent displays.
    /// What such a display holds when it appears is taken to be ours.
    virtual void declareOwnTables(const std::map<DisplayId, GammaTable>& tables) = 0;

    /// Declares that an earlier run ended uncleanly and its tables are lost: what displays hold is nobody's own, and a
    /// display without an ICC profile has a neutral calibration.
    virtual void distrustFoundTables() = 0;

    /// `callback` runs after any change of outputs or CRTCs, in the event that brought it, with the new state already
    /// visible here.
    [[nodiscard]] virtual Subscription onDisplayChange(std::function<void()> callback) = 0;

    /// `callback` runs once the server is gone for good; every operation then fails with `Disconnected`.
    [[nodiscard]] virtual Subscription onLoss(std::function<void()> callback) = 0;

    /// The hardware may differ from the server's copy (wake, another session on screen): the next load of each display
    /// writes without comparing.
    virtual void forgetContents() = 0;
};

}  // namespace dravo
