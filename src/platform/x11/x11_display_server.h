#pragma once

#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "base/descriptor_watch.h"
#include "base/observable.h"
#include "base/scheduler.h"
#include "display/display_identity.h"
#include "display/display_server.h"
#include "display/icc_profile.h"
#include "display/table_ledger.h"
#include "platform/x11/x11_emergency_restore.h"
#include "platform/x11/x11_gamma_look.h"
#include "platform/x11/x11_matrix_grayscale.h"
#include "platform/x11/x11_topology.h"

namespace dravo::x11 {

/// Transfer tables of an X server's displays, through RandR.
///
/// A display is an enabled CRTC; mirrored outputs on one CRTC are one display. The server keeps ramps when their writer
/// goes, announces nobody's writes, and answers reads from its own copy.
class X11DisplayServer : public DisplayServer {
public:
    /// Connects to `display` ($DISPLAY when empty) and reads all displays. With `emergency`, it is told what to give
    /// back before each first write; it outlives the server. Without, the displays are only as safe as the caller.
    /// Errors: `Disconnected` (no server), `Unsupported` (one that cannot tint; the message says why).
    [[nodiscard]] static Result<std::unique_ptr<X11DisplayServer>> create(const std::string& display,
                                                                          EmergencyRestore* emergency);
    ~X11DisplayServer() override;

    /// Starts to listen for changes of outputs and for the server's end.
    void listen(DescriptorWatch& watch, Scheduler& scheduler);

    /// The grayscale mode of the same displays. Lives as long as this.
    [[nodiscard]] GrayscaleService& grayscale() { return grayscale_; }

    std::string backend() const override { return "x11"; }
    Result<std::vector<DisplayId>> onlineDisplays(std::size_t capacity) override;
    Result<std::vector<DisplayDescription>> describeDisplays() override;
    std::vector<Result<GammaTable>> readTables(std::span<const DisplayId> displays) override;
    std::vector<Result<void>> loadTables(std::span<const DisplayTable> tables) override;
    void keepTables(std::span<const DisplayTable> tables) override;
    Result<void> restoreCalibration() override;
    Result<GammaTable> ownTable(DisplayId display) override;
    void declareOwnTables(const std::map<DisplayId, GammaTable>& tables) override;
    void distrustFoundTables() override;
    Subscription onDisplayChange(std::function<void()> callback) override;
    Subscription onLoss(std::function<void()> callback) override;
    void forgetContents() override { ledger_.forgetContents(); }

private:
    struct Display {
        DisplayId id{};
        std::string name;
        CrtcId crtc{};
        std::size_t tableSize = 0;
    };
    struct PendingLoad;
    using OnOutcome = std::function<void(std::size_t index, Result<void> outcome)>;

    X11DisplayServer(std::string display, Connection connection, ServerFacts facts, EmergencyRestore* emergency);

    [[nodiscard]] bool isGuarded() const { return !emergency_ || emergency_->isOpen(); }
    [[nodiscard]] Result<const Display*> find(DisplayId id) const;
    void adopt(const Topology& topology);
    Result<void> refresh();
    void handleEvents();
    void note(const xcb_generic_event_t& event);
    void noteQueuedEvents();
    [[nodiscard]] bool takeOutputChange();
    void serverIsGone();
    void readBack(std::vector<PendingLoad>& loads);
    void write(const std::vector<CrtcLevels>& ramps, const OnOutcome& onOutcome);
    void send(const std::vector<CrtcLevels>& ramps, const OnOutcome& onOutcome);
    [[nodiscard]] bool isKept(const DisplayTable& wanted, const GammaLook::Answers& held) const;
    void restoreIdleCrtcs(const Topology& topology, const std::map<DisplayId, GammaTable>& tables);
    void publishTargets();

    std::string displayName_;
    Connection connection_;
    ServerFacts facts_;
    EmergencyRestore* emergency_;
    xcb_window_t killHandle_ = XCB_NONE;

    MatrixGrayscale grayscale_;
    DisplayIdentities identities_;
    TableLedger ledger_;
    std::vector<Display> displays_;
    std::set<CrtcId> crtcs_;
    std::set<CrtcId> guarded_;  ///< CRTCs that `emergency_` knows of.
    bool contentsAreFresh_ = true;
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
