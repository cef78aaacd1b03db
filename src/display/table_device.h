#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "base/result.h"
#include "base/scheduler.h"
#include "base/subscription.h"
#include "display/ramp_levels.h"

namespace dravo {

/// A server's number for one piece of hardware with one transfer table.
enum class CrtcId : std::uint32_t {};

/// What a CRTC holds, or is to be loaded with.
struct CrtcLevels {
    CrtcId crtc{};
    RampLevels levels;
};

/// One connector of the server, in use or not.
struct DeviceOutput {
    std::string connector;                  ///< E.g. "DP-1".
    std::vector<std::uint8_t> edid;         ///< Empty when the monitor gives none.
    std::optional<CrtcId> crtc;             ///< What drives it now; none when it is off.
    std::vector<CrtcId> possibleCrtcs;      ///< What could drive it; may be empty where nobody tells.
    std::optional<GammaTable> calibration;  ///< The `vcgt` of its ICC profile.
    std::optional<GammaTable> own = {};     ///< What the server itself would load into it now, where that is known.
    bool operator==(const DeviceOutput&) const = default;
};

/// All of a server's tables and what hangs on them, at one moment. `crtcs` hold what their tables hold; without levels
/// where there is no table. Several outputs on one CRTC mirror each other.
struct DeviceTopology {
    std::vector<DeviceOutput> outputs;
    std::vector<CrtcLevels> crtcs;
};

/// A display server whose tables outlive their writer: reads and writes levels, and holds no rules. What belongs to
/// whom, and what is to be written when, is `RememberedDisplays`' business.
///
/// An operation on many CRTCs costs one round trip. Answers come by callback: inside the call where the server answers
/// at once, else from the loop, in the order of asking.
///
/// Thread: main thread, but for what `GuardedTables` says. Lifetime: outlives every Subscription and callback it holds.
class TableDevice {
public:
    virtual ~TableDevice() = default;

    /// Which kind of server this is, e.g. "x11".
    [[nodiscard]] virtual std::string backend() const = 0;

    /// As `DisplayTraits` has it.
    [[nodiscard]] virtual Duration lookPeriod() const = 0;

    /// What the server had when it was last asked: at construction, by `refresh`, and in each change that it announced.
    [[nodiscard]] virtual const DeviceTopology& topology() const = 0;

    /// Asks again, profiles included, whose changes nobody may announce. Delivers no change.
    /// Errors: `Disconnected`.
    virtual Result<void> refresh() = 0;

    using Levels = std::vector<RampLevels>;
    using Outcomes = std::vector<Result<void>>;

    /// What tables hold now, in the order asked for; empty where a CRTC is gone or has no table.
    /// Errors: `Disconnected`.
    virtual void read(std::span<const CrtcId> crtcs, std::function<void(Result<Levels>)> done) = 0;

    /// Loads levels of native length. An outcome is given once the server has confirmed or refused.
    /// Errors, for each CRTC: `PermissionDenied` (the server refused), `Internal`, `Disconnected`. One that fails does
    /// not stop the others.
    virtual void write(std::span<const CrtcLevels> ramps, std::function<void(Outcomes)> done) = 0;

    /// Whether an answer to `write` is still awaited: frames of a fade may be left out.
    [[nodiscard]] virtual bool isBusy() const { return false; }

    /// Waits until every answer awaited has come, for `patience` at most.
    virtual void finish(std::chrono::milliseconds patience) { static_cast<void>(patience); }

    /// The steady look: which of `wanted` still stand as they were wanted, by an answer that was asked for at the last
    /// call; none where there is no fresh one, and a plain read has to tell. Asks for the next answer.
    virtual std::optional<std::vector<bool>> lookAt(std::span<const CrtcLevels> wanted) = 0;

    /// Whether somebody would give back what `guard` names: as long as nobody would, nothing is filtered.
    [[nodiscard]] virtual bool isGuarded() const { return true; }

    /// What a sudden end gives back, whatever the main thread is doing then. In force when this returns.
    virtual void guard(std::vector<CrtcLevels> own) = 0;

    /// `callback` runs after any change of outputs or CRTCs, in the event that brought it; `topology` is new by then.
    [[nodiscard]] virtual Subscription onChange(std::function<void()> callback) = 0;

    /// `callback` runs when somebody else says that he writes tables: what they hold has to be compared with what is
    /// wanted. What is an output's own in `topology` may be new. A server where nobody says so never calls.
    // NOLINTNEXTLINE(performance-unnecessary-value-param): as its overrides take it
    [[nodiscard]] virtual Subscription onForeignWrite(std::function<void()> /*callback*/) { return {}; }

    /// `callback` runs once the server is gone for good; every operation then fails with `Disconnected`.
    [[nodiscard]] virtual Subscription onLoss(std::function<void()> callback) = 0;
};

}  // namespace dravo
