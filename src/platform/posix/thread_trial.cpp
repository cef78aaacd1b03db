#include "platform/posix/thread_trial.h"

#include <atomic>
#include <system_error>
#include <thread>
#include <vector>

#include "base/system_reason.h"

namespace dravo::posix {

Result<void> tryThreads(std::size_t count) {
    std::atomic<bool> isOver{false};
    std::vector<std::thread> threads;
    Result<void> outcome;
    try {
        while (threads.size() < count) threads.emplace_back([&] { isOver.wait(false); });
    } catch (const std::system_error& refusal) {
        const int number = refusal.code().value();
        outcome = Error{ErrorCode::Busy, systemReason(number), number};
    }
    isOver = true;
    isOver.notify_all();
    for (auto& thread : threads) thread.join();
    return outcome;
}

}  // namespace dravo::posix
