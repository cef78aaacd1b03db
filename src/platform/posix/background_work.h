#pragma once

#include <functional>
#include <memory>
#include <thread>

#include "base/descriptor_watch.h"
#include "base/result.h"
#include "base/unique_fd.h"

namespace dravo::posix {

/// One piece of work on a thread of its own, for what would hold up the main thread: a large library that is loaded, a
/// transfer. The thread takes no signals.
///
/// Thread: main thread, but for the work, which may touch nothing that the main thread touches meanwhile without a
/// lock.
class BackgroundWork {
public:
    /// Starts `work`, which throws nothing. `onDone` comes from the loop once it has ended, and may destroy this.
    /// Errors: `Internal` (no thread, or no descriptor, to be had).
    [[nodiscard]] static Result<std::unique_ptr<BackgroundWork>> start(DescriptorWatch& watch,
                                                                       std::function<void()> work,
                                                                       std::function<void()> onDone);
    BackgroundWork(const BackgroundWork&) = delete;
    BackgroundWork& operator=(const BackgroundWork&) = delete;

    /// Waits for the work to end, so tell it to first; then `onDone` never comes.
    ~BackgroundWork();

private:
    explicit BackgroundWork(UniqueFd ended) : ended_(std::move(ended)) {}

    UniqueFd ended_;  ///< Readable once the work has ended.
    std::thread thread_;
    Subscription done_;
};

}  // namespace dravo::posix
