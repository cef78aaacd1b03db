#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>

#include "base/descriptor_watch.h"
#include "base/scheduler.h"
#include "breaks/notification_service.h"
#include "platform/dbus/bus.h"

namespace dravo::dbus {

/// Notifications through org.freedesktop.Notifications on the session bus.
///
/// While a server answers, permission is authorised, or denied where the server is GNOME's and the person has switched
/// this program's notifications off there: the one desktop that tells. Without a server it is undetermined. No desktop
/// asks the person. A server is told of every break, whatever it may do with it.
///
/// Nothing is connected before the first call. Lifetime: what it is given outlives it.
class DesktopNotifications final : public NotificationService {
public:
    DesktopNotifications(Bus& sessionBus, Scheduler& scheduler, DescriptorWatch& watch)
        : bus_(sessionBus), scheduler_(scheduler), watch_(watch) {}

    void permission(std::function<void(NotificationPermission)> answer) override;
    void requestPermission(std::function<void(Result<bool>)> answer) override;
    void post(const Notification& notification) override;
    Subscription probe(Found found) override;

private:
    /// Calls a method without arguments.
    void ask(const char* member, std::function<void(const Bus::Answer&)> onAnswer);
    /// The server's name, empty without one, and its permission.
    using Answer = std::function<void(const std::string& server, NotificationPermission permission)>;
    void askServer(Answer answer);
    void askGnome(const std::string& server, Answer answer);
    void notify(const Notification& notification, bool readsMarkup);

    Bus& bus_;
    Scheduler& scheduler_;
    DescriptorWatch& watch_;
    std::map<int, Subscription> pending_;  ///< Calls whose answers are awaited, by number.
    int lastNumber_ = 0;
};

/// Text as a server shows it that reads markup.
[[nodiscard]] std::string escapedMarkup(std::string_view text);

}  // namespace dravo::dbus
