#include "platform/dbus/desktop_notifications.h"

#include <cstring>
#include <utility>

#include "platform/posix/child_output.h"

namespace dravo::dbus {

namespace {

constexpr const char* kService = "org.freedesktop.Notifications";
constexpr const char* kPath = "/org/freedesktop/Notifications";
constexpr const char* kGnomeSwitch =
    "org.gnome.desktop.notifications.application:/org/gnome/desktop/notifications/application/dravo/";
constexpr std::chrono::seconds kPatience{5};

bool readsMarkup(sd_bus_message* capabilities) {
    bool found = false;
    const char* capability = nullptr;
    if (sd_bus_message_enter_container(capabilities, 'a', "s") < 0) return false;
    while (sd_bus_message_read(capabilities, "s", &capability) > 0)
        found = found || std::strcmp(capability, "body-markup") == 0;
    return found;
}

}  // namespace

std::string escapedMarkup(std::string_view text) {
    std::string escaped;
    for (const char letter : text) {
        switch (letter) {
            case '&':
                escaped += "&amp;";
                break;
            case '<':
                escaped += "&lt;";
                break;
            case '>':
                escaped += "&gt;";
                break;
            default:
                escaped += letter;
        }
    }
    return escaped;
}

void DesktopNotifications::permission(std::function<void(NotificationPermission)> answer) {
    askServer(
        [answer = std::move(answer)](const std::string&, NotificationPermission permission) { answer(permission); });
}

Subscription DesktopNotifications::probe(Found found) {
    auto wanted = std::make_shared<Found>(std::move(found));
    askServer([ending = std::weak_ptr(wanted)](const std::string& server, NotificationPermission permission) {
        const auto still = ending.lock();
        if (!still) return;
        constexpr TextKey kAbsent = textKey("there is no notification server");
        constexpr TextKey kInstall = textKey("Install one, such as dunst or mako");
        constexpr TextKey kOff = textKey("the desktop's settings switch Dravo's notifications off");
        constexpr TextKey kSwitchOn = textKey("Switch them on in the desktop's settings");
        if (server.empty()) return (*still)({{}, Sentence{kAbsent}, Sentence{kInstall}});
        const bool isOff = permission == NotificationPermission::denied;
        (*still)(isOff ? Finding{{}, Sentence{kOff}, Sentence{kSwitchOn}} : Finding{server});
    });
    return Subscription([wanted] {});
}

void DesktopNotifications::askServer(Answer answer) {
    ask("GetServerInformation", [this, answer = std::move(answer)](const Bus::Answer& information) {
        if (!information) return answer({}, NotificationPermission::undetermined);
        const char* server = kService;
        sd_bus_message_read(*information, "s", &server);
        if (std::strcmp(server, "gnome-shell") == 0) {
            askGnome(server, answer);
        } else {
            answer(server, NotificationPermission::authorised);
        }
    });
}

void DesktopNotifications::requestPermission(std::function<void(Result<bool>)> answer) {
    permission([answer = std::move(answer)](NotificationPermission permission) {
        if (permission == NotificationPermission::undetermined) {
            answer(Error{ErrorCode::NotFound, "there is no notification server"});
        } else {
            answer(permission == NotificationPermission::authorised);
        }
    });
}

// GNOME keeps one switch for each program, by the name of its desktop entry; what it cannot tell is on.
void DesktopNotifications::askGnome(const std::string& server, Answer answer) {
    const int number = ++lastNumber_;
    pending_[number] = posix::readChildOutput(
        watch_, scheduler_, {"gsettings", "get", kGnomeSwitch, "enable"}, {kPatience},
        [this, number, server, answer = std::move(answer)](const Result<std::string>& text) {
            const auto answered = pending_.extract(number);
            const bool isOff = text && text->starts_with("false");
            answer(server, isOff ? NotificationPermission::denied : NotificationPermission::authorised);
        });
}

void DesktopNotifications::post(const Notification& notification) {
    ask("GetCapabilities", [this, notification](const Bus::Answer& capabilities) {
        if (capabilities) notify(notification, readsMarkup(*capabilities));
    });
}

void DesktopNotifications::ask(const char* member, std::function<void(const Bus::Answer&)> onAnswer) {
    const int number = ++lastNumber_;
    static_cast<void>(bus_.open());  // an absent bus answers like an absent server
    pending_[number] = bus_.call(bus_.newCall(kService, kPath, kService, member), kPatience,
                                 [this, number, answer = std::move(onAnswer)](const Bus::Answer& result) {
                                     const auto answered = pending_.extract(number);
                                     answer(result);
                                 });
}

void DesktopNotifications::notify(const Notification& notification, bool readsMarkup) {
    const std::string body = readsMarkup ? escapedMarkup(notification.body) : notification.body;
    constexpr std::uint32_t kReplacesNone = 0;
    constexpr std::int32_t kServersTimeout = -1;
    bus_.send(bus_.newCall(kService, kPath, kService, "Notify", "susssasa{sv}i", "Dravo", kReplacesNone, "dravo",
                           notification.title.c_str(), body.c_str(), 0, 2, "desktop-entry", "s", "dravo", "sound-name",
                           "s", "message-new-instant", kServersTimeout));
}

}  // namespace dravo::dbus
