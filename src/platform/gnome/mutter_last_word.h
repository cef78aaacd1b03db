#pragma once

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "base/unique_fd.h"
#include "display/last_word.h"
#include "display/table_device.h"
#include "platform/gnome/display_config.h"

namespace dravo::gnome {

/// Gives the displays of a GNOME session back on a bus connection of its own, whatever the main thread is doing.
///
/// `open` and `speak` run on the guard's thread, the rest on the main thread.
class MutterLastWord final : public LastWord {
public:
    /// Connects to the session bus. Errors: `Disconnected`.
    Result<void> open() override;
    /// Whether `speak` could do its work: as long as it could not, nothing may be written to a display. Any thread.
    [[nodiscard]] bool isOpen() const { return isOpen_.load(std::memory_order_acquire) && knowsEngine_; }

    /// The connection that `speak` takes away, by its socket, which stays the caller's, and its name on the bus. Comes
    /// before the first write to a CRTC.
    void setEngine(int socket, std::string name);

    /// Swaps in what `speak` is to load. Called before the main thread's first write to a CRTC.
    void setTables(std::shared_ptr<const std::vector<CrtcLevels>> tables);

    /// Whether `speak` also lets Night Light go on, which we have switched off.
    void setNightLightIsOurs(bool isOurs) { nightLightIsOurs_.store(isOurs, std::memory_order_release); }

    /// Ends the engine's connection, waits until the bus has passed on all that was sent there, then loads every table
    /// and waits for the compositor's confirmation: two seconds at most in all. Does nothing before the first tables.
    void speak() override;

private:
    using Deadline = std::chrono::steady_clock::time_point;

    void takePenAway(Deadline deadline);
    void restore(Deadline deadline);
    [[nodiscard]] bool isEveryTableTaken(const std::vector<CrtcLevels>& tables, Deadline deadline);

    std::unique_ptr<BusLink> bus_;
    std::atomic<bool> isOpen_{false};
    std::atomic<bool> knowsEngine_{false};
    std::atomic<bool> nightLightIsOurs_{false};
    std::mutex mutex_;
    UniqueFd engineSocket_;
    std::string engineName_;
    std::shared_ptr<const std::vector<CrtcLevels>> tables_;
};

}  // namespace dravo::gnome
