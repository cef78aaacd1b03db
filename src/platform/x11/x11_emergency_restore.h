#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <vector>

#include "display/last_word.h"
#include "display/table_device.h"
#include "platform/x11/x11_connection.h"

namespace dravo::x11 {

/// Everything a sudden end needs to know, immutable once handed over.
struct EmergencyTargets {
    /// A window of the engine's connection: killing its client drops the writes that connection still has queued,
    /// which would otherwise land after the restore.
    xcb_window_t engineWindow = XCB_NONE;
    std::vector<CrtcLevels> calibrations;
    /// Outputs whose colour matrix we set, to be given the neutral one.
    std::vector<xcb_randr_output_t> matrixOutputs;
    xcb_atom_t matrix = XCB_NONE;
};

/// Gives the displays back on its own connection, whatever the main thread is doing.
///
/// `open` and `speak` run on the guard's thread, `setTargets` on the main thread.
class EmergencyRestore final : public LastWord {
public:
    /// `display` as for `connect`. Names the authority file in $XAUTHORITY where nobody has, so that two threads may
    /// connect at once from here on. REQUIRES: no other thread yet.
    explicit EmergencyRestore(std::string display);

    /// Connects. Errors: `Disconnected`.
    Result<void> open() override;
    /// Whether `speak` could do its work: as long as it could not, nothing may be written to a display. Any thread.
    [[nodiscard]] bool isOpen() const { return isOpen_.load(std::memory_order_acquire); }

    /// Swaps in what `speak` is to do. Called before the main thread's first write to a CRTC.
    void setTargets(std::shared_ptr<const EmergencyTargets> targets);

    /// Takes the engine's connection away, loads every ramp and waits for the server's confirmation, two seconds at
    /// most. Does nothing before the first targets.
    void speak() override;

private:
    std::string display_;
    Connection connection_;
    std::atomic<bool> isOpen_{false};
    std::mutex mutex_;
    std::shared_ptr<const EmergencyTargets> targets_;
};

/// Asks the server to load `ramp`; checked, so that errors come to the cookie's owner.
xcb_void_cookie_t sendRamp(xcb_connection_t* connection, const CrtcLevels& ramp);

}  // namespace dravo::x11
