#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>

#include "base/scheduler.h"
#include "breaks/notification_service.h"
#include "platform/freedesktop/bus.h"

namespace dravo::freedesktop {

/// Notifications through org.freedesktop.Notifications on the session bus.
///
/// While a server answers, permission is authorised; without one it is undetermined, and a request for it fails. No
/// desktop asks the person. A server is told whatever it may do with it: that the person switched this program's
/// notifications off is not known here.
///
/// Nothing is connected before the first call. Lifetime: what it is given outlives it.
class DesktopNotifications final : public NotificationService {
public:
    DesktopNotifications(Bus& sessionBus, Scheduler& scheduler) : bus_(sessionBus), scheduler_(scheduler) {}

    void permission(std::function<void(NotificationPermission)> answer) override;
    void requestPermission(std::function<void(Result<bool>)> answer) override;
    void post(const Notification& notification) override;

private:
    /// Calls a method without arguments. An absent bus answers like an absent server, from the loop.
    void ask(const char* member, std::function<void(const Bus::Answer&)> onAnswer);
    void notify(const Notification& notification, bool readsMarkup);

    Bus& bus_;
    Scheduler& scheduler_;
    std::map<int, Subscription> pending_;  ///< Calls whose answers are awaited, by number.
    std::map<int, Timer> refusals_;
    int lastNumber_ = 0;
};

/// Text as a server shows it that reads markup.
[[nodiscard]] std::string escapedMarkup(std::string_view text);

}  // namespace dravo::freedesktop
