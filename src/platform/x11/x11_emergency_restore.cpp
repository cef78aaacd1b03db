#include "platform/x11/x11_emergency_restore.h"

#include <poll.h>
#include <xcb/xcbext.h>

#include <chrono>
#include <cstdlib>
#include <utility>

#include "platform/x11/x11_matrix_grayscale.h"

namespace dravo::x11 {

namespace {

// Another client may hold the server grabbed; then the process ends unconfirmed rather than never.
constexpr std::chrono::milliseconds kPatience{2000};

bool waitForReply(xcb_connection_t* connection, unsigned int sequence) {
    const auto deadline = std::chrono::steady_clock::now() + kPatience;
    for (;;) {
        void* reply = nullptr;
        xcb_generic_error_t* error = nullptr;
        if (xcb_poll_for_reply(connection, sequence, &reply, &error) != 0) {
            const bool answered = reply != nullptr;
            std::free(reply);
            std::free(error);
            return answered;
        }
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0) return false;
        pollfd waiting{xcb_get_file_descriptor(connection), POLLIN, 0};
        poll(&waiting, 1, static_cast<int>(left.count()));
    }
}

}  // namespace

xcb_void_cookie_t sendRamp(xcb_connection_t* connection, const CrtcLevels& ramp) {
    return xcb_randr_set_crtc_gamma_checked(connection, static_cast<xcb_randr_crtc_t>(ramp.crtc),
                                            static_cast<std::uint16_t>(ramp.levels.size()), ramp.levels.red.data(),
                                            ramp.levels.green.data(), ramp.levels.blue.data());
}

EmergencyRestore::EmergencyRestore(std::string display) : display_(std::move(display)) {
    // Without the variable libXau puts the path together in one buffer of the whole process: of two threads that
    // connect at once, one may read half a path and be refused.
    const char* const home = std::getenv("HOME");
    if (home) ::setenv("XAUTHORITY", (std::string(home) + "/.Xauthority").c_str(), 0);
}

Result<void> EmergencyRestore::open() {
    auto connection = connect(display_);
    if (!connection) return connection.error();
    // What the restore will need of the extension is asked for now: at the end there is time for one round trip.
    xcb_get_extension_data(connection->get(), &xcb_randr_id);
    connection_ = std::move(*connection);
    isOpen_.store(true, std::memory_order_release);
    return {};
}

void EmergencyRestore::setTargets(std::shared_ptr<const EmergencyTargets> targets) {
    const std::lock_guard lock(mutex_);
    targets_.swap(targets);
}

void EmergencyRestore::speak() {
    std::shared_ptr<const EmergencyTargets> targets;
    {
        const std::lock_guard lock(mutex_);
        targets = targets_;
    }
    if (!targets || !isOpen() || connection_.isBroken()) return;
    auto* xcb = connection_.get();
    xcb_kill_client(xcb, targets->engineWindow);
    for (const auto& ramp : targets->calibrations) sendRamp(xcb, ramp);
    for (const auto output : targets->matrixOutputs) sendNeutralMatrix(xcb, output, targets->matrix);
    const unsigned int sequence = xcb_get_input_focus(xcb).sequence;
    xcb_flush(xcb);
    waitForReply(xcb, sequence);
}

}  // namespace dravo::x11
