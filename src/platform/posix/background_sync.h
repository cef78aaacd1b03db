#pragma once

#include <filesystem>
#include <mutex>
#include <set>
#include <thread>

namespace dravo::posix {

/// Makes files survive a power cut on a thread of its own: on a busy disk an `fsync` takes seconds, and the main thread
/// must be there for the displays meanwhile.
///
/// Failures are dropped, and where the system grants no thread a file waits: that leaves what a power cut would leave.
/// Thread: the main thread calls; destroying it waits
/// for what is under way.
class BackgroundSync {
public:
    BackgroundSync() = default;
    BackgroundSync(const BackgroundSync&) = delete;
    BackgroundSync& operator=(const BackgroundSync&) = delete;
    ~BackgroundSync();

    /// Returns at once.
    void sync(const std::filesystem::path& path);

private:
    void work();

    std::mutex mutex_;
    std::set<std::filesystem::path> waiting_;
    bool isWorking_ = false;
    std::thread thread_;
};

}  // namespace dravo::posix
