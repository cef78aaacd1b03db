#pragma once

#include <functional>
#include <memory>

#include "base/observable.h"
#include "breaks/notification_service.h"

namespace dravo {

/// Announces breaks by the desktop's notifications, and knows whether it may. Not a timer: it is told when.
///
/// Thread: main thread. Lifetime: `service` outlives it; what the service answers later finds it gone or alive.
class BreakNotifier {
public:
    enum class AuthStatus { unknown, granted, denied };

    explicit BreakNotifier(NotificationService& service);
    BreakNotifier(const BreakNotifier&) = delete;
    BreakNotifier& operator=(const BreakNotifier&) = delete;

    [[nodiscard]] const Observable& changes() const { return changes_; }
    /// `unknown` until the first answer.
    [[nodiscard]] const Property<AuthStatus>& authStatus() const { return authStatus_; }

    /// Asks the person unless that has been decided before, sets `authStatus` and then calls `done` with whether
    /// notifications are shown. An error counts as a refusal, unless there is nobody to ask.
    void requestAuthorization(std::function<void(bool)> done);

    /// Sets `authStatus` to what holds now; never asks the person.
    void refreshStatus();

    /// Posts the announcement of a break, whatever `authStatus` is: the desktop drops what it may not show.
    void postBreakNotification();

private:
    void ask(std::function<void(bool)> done);
    template <typename... Args>
    [[nodiscard]] std::function<void(Args...)> whileAlive(std::function<void(Args...)> action) const;

    NotificationService& service_;
    Observable changes_;
    Property<AuthStatus> authStatus_{changes_, AuthStatus::unknown};
    std::shared_ptr<const char> life_ = std::make_shared<const char>();
};

}  // namespace dravo
