#include "platform/posix/background_sync.h"

#include <system_error>

#include "base/files.h"

namespace dravo::posix {

BackgroundSync::~BackgroundSync() {
    if (thread_.joinable()) thread_.join();
}

void BackgroundSync::sync(const std::filesystem::path& path) {
    const std::lock_guard lock(mutex_);
    waiting_.insert(path);
    if (isWorking_) return;
    if (thread_.joinable()) thread_.join();  // through with its work
    try {
        thread_ = std::thread([this] { work(); });
        isWorking_ = true;
    } catch (const std::system_error&) {
        // The file waits for the next request that finds a thread.
    }
}

void BackgroundSync::work() {
    for (;;) {
        std::filesystem::path next;
        {
            const std::lock_guard lock(mutex_);
            isWorking_ = !waiting_.empty();
            if (!isWorking_) return;
            next = waiting_.extract(waiting_.begin()).value();
        }
        static_cast<void>(syncFile(next));
    }
}

}  // namespace dravo::posix
