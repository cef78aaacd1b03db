#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/descriptor_watch.h"
#include "base/observable.h"
#include "base/scheduler.h"
#include "display/table_device.h"
#include "platform/x11/x11_emergency_restore.h"
#include "platform/x11/x11_gamma_look.h"
#include "platform/x11/x11_matrix_grayscale.h"
#include "platform/x11/x11_topology.h"

namespace dravo::x11 {

/// The transfer tables of an X server, through RandR.
///
/// The server keeps ramps when their writer goes, announces nobody's writes, and answers reads from its own copy. It
/// answers at once: every callback runs inside its call.
class X11TableDevice final : public TableDevice {
public:
    /// Connects to `display` ($DISPLAY when empty) and reads all displays. With `emergency`, that is what gives the
    /// displays back after a sudden end; it outlives the device. Without, they are only as safe as the caller.
    /// Errors: `Disconnected` (no server), `Unsupported` (one that cannot tint; the message says why).
    [[nodiscard]] static Result<std::unique_ptr<X11TableDevice>> create(const std::string& display,
                                                                        EmergencyRestore* emergency);
    ~X11TableDevice() override;

    /// Starts to listen for changes of outputs and for the server's end.
    void listen(DescriptorWatch& watch, Scheduler& scheduler);

    /// The grayscale mode of the same displays. Lives as long as this.
    [[nodiscard]] GrayscaleService& grayscale() { return grayscale_; }

    std::string backend() const override { return "x11"; }
    Duration lookPeriod() const override;
    const DeviceTopology& topology() const override { return topology_; }
    Result<void> refresh() override;
    void read(std::span<const CrtcId> crtcs, std::function<void(Result<Levels>)> done) override;
    void write(std::span<const CrtcLevels> ramps, std::function<void(Outcomes)> done) override;
    std::optional<std::vector<bool>> lookAt(std::span<const CrtcLevels> wanted) override;
    bool isGuarded() const override { return !emergency_ || emergency_->isOpen(); }
    void guard(std::vector<CrtcLevels> own) override;
    Subscription onChange(std::function<void()> callback) override;
    Subscription onLoss(std::function<void()> callback) override;

private:
    X11TableDevice(std::string display, Connection connection, ServerFacts facts, EmergencyRestore* emergency);

    void handleEvents();
    void note(const xcb_generic_event_t& event);
    void noteQueuedEvents();
    [[nodiscard]] bool takeOutputChange();
    void serverIsGone();
    void publishTargets();

    std::string displayName_;
    Connection connection_;
    ServerFacts facts_;
    EmergencyRestore* emergency_;
    xcb_window_t killHandle_ = XCB_NONE;

    MatrixGrayscale grayscale_;
    DeviceTopology topology_;
    std::vector<CrtcLevels> guarded_;
    bool outputsChanged_ = false;
    bool isLost_ = false;

    std::unique_ptr<GammaLook> look_;
    SteadyTime lookAsked_{};
    bool lookIsImpossible_ = false;

    Scheduler* scheduler_ = nullptr;
    Timer queuedEvents_;
    SubscriberList<> changed_;
    SubscriberList<> lost_;
    Subscription readable_;
};

}  // namespace dravo::x11
