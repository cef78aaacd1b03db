#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "base/localized.h"
#include "display/display_identity.h"
#include "display/displays.h"
#include "display/ramp_levels.h"
#include "platform/wayland/wayland_connection.h"

struct wl_output;
struct zwlr_gamma_control_manager_v1;
struct zwlr_gamma_control_v1;

namespace dravo::wayland {

/// One output of the compositor, and its transfer table while it is ours.
///
/// It only notes what the compositor says; when something is tried, and again, is its owner's decision.
/// Thread, lifetime: those of its connection. Its end gives the table back.
class GammaOutput {
public:
    /// REQUIRES: `global` is a wl_output.
    GammaOutput(Connection& connection, const Connection::Global& global);
    ~GammaOutput();
    GammaOutput(const GammaOutput&) = delete;
    GammaOutput& operator=(const GammaOutput&) = delete;

    /// Its number on this connection.
    [[nodiscard]] std::uint32_t name() const { return name_; }
    /// Whether it has said who it is.
    [[nodiscard]] bool isDescribed() const { return isDescribed_; }
    [[nodiscard]] const std::string& connector() const { return connector_; }
    /// Compositors hand out no EDID: what they read from it stands for it.
    [[nodiscard]] OutputIdentity identity() const;

    /// No more is going to be said about who it is.
    void markDescribed() { isDescribed_ = true; }

    /// Asks for the table. REQUIRES: not `isTaken`.
    void take(zwlr_gamma_control_manager_v1* manager);
    /// Whether the answer to `take` is due.
    [[nodiscard]] bool isAwaited() const { return control_ && !isOurs_; }
    /// The compositor has said all that it is going to say about `take`. If that is nothing, it is asked once more, and
    /// then refused. Returns whether it was asked.
    bool noticeSilence(zwlr_gamma_control_manager_v1* manager);
    /// Gives it back; the compositor restores its own.
    void release();
    /// Whether it has been asked for, and not been refused since.
    [[nodiscard]] bool isTaken() const { return control_ != nullptr; }
    /// Whether the compositor has handed it out.
    [[nodiscard]] bool isOurs() const { return isOurs_; }
    [[nodiscard]] bool isControl(std::uint32_t object) const;

    /// Entries of each channel: what the compositor said the last time; 0: it never did.
    [[nodiscard]] std::size_t tableSize() const { return size_; }
    /// What was loaded last since the table is ours.
    [[nodiscard]] const std::optional<RampLevels>& loaded() const { return loaded_; }
    /// Loads the levels, if these are not what it holds. REQUIRES: `isOurs`. Returns whether anything was sent.
    bool load(const RampLevels& levels);
    /// What was loaded may be gone from the hardware: the next load is sent in any case.
    void doubt() { isDoubtful_ = true; }
    /// The answer behind the latest load: with it the load has succeeded.
    void awaitConfirmation(std::uint64_t question) { loadQuestion_ = question; }

    [[nodiscard]] DisplayState state() const { return state_; }
    [[nodiscard]] const Sentence& problem() const { return problem_; }
    /// Whether another attempt may end better.
    [[nodiscard]] bool isRefused() const { return state_ == DisplayState::refused || state_ == DisplayState::held; }
    void refuse(DisplayState state, Sentence problem);
    /// The compositor has refused a load.
    void refuseLoad() { refuse(DisplayState::refused, {textKey("the display server refuses its table")}); }

private:
    struct Listeners;

    void noteSize(std::uint32_t size);
    void noteFailure();

    const Connection& connection_;
    std::uint32_t name_;
    wl_output* output_;
    bool isDescribed_ = false;
    std::string connector_;
    std::string make_;
    std::string model_;
    std::string description_;

    zwlr_gamma_control_v1* control_ = nullptr;
    bool wasAskedTwice_ = false;
    bool isOurs_ = false;
    bool isDoubtful_ = false;
    std::uint64_t loadQuestion_ = 0;
    std::size_t size_ = 0;
    std::optional<RampLevels> loaded_;
    DisplayState state_ = DisplayState::ready;
    Sentence problem_;
};

}  // namespace dravo::wayland
