#include "support/memory/memory_notifications.h"

#include <utility>

namespace dravo::memory {

void MemoryNotifications::permission(std::function<void(NotificationPermission)> answer) {
    scheduler_.post([held = state, answer = std::move(answer)] { answer(held); });
}

void MemoryNotifications::requestPermission(std::function<void(Result<bool>)> answer) {
    ++prompts;
    open_.push_back(std::move(answer));
}

void MemoryNotifications::answerPrompts(const Result<bool>& decision) {
    if (decision) state = *decision ? NotificationPermission::authorised : NotificationPermission::denied;
    for (auto& answer : std::exchange(open_, {}))
        scheduler_.post([decision, answer = std::move(answer)] { answer(decision); });
}

}  // namespace dravo::memory
