#pragma once

#include <functional>
#include <vector>

#include "base/scheduler.h"
#include "breaks/notification_service.h"

namespace dravo::memory {

/// A desktop whose notifications are a list. What a person or a desktop decides is set in the public members.
class MemoryNotifications : public NotificationService {
public:
    explicit MemoryNotifications(Scheduler& scheduler) : scheduler_(scheduler) {}

    void permission(std::function<void(NotificationPermission)> answer) override;
    void requestPermission(std::function<void(Result<bool>)> answer) override;
    void post(const Notification& notification) override { posted.push_back(notification); }

    /// The person answers every open question.
    void answerPrompts(const Result<bool>& decision);

    NotificationPermission state = NotificationPermission::undetermined;
    int prompts = 0;                   ///< How often the person was asked.
    std::vector<Notification> posted;  ///< In order.

private:
    Scheduler& scheduler_;
    std::vector<std::function<void(Result<bool>)>> open_;
};

}  // namespace dravo::memory
