#include "platform/files/desktop_settings.h"

#include <array>
#include <chrono>
#include <optional>
#include <string_view>

#include "platform/files/session_environment.h"
#include "platform/posix/child_output.h"

namespace dravo::files {

namespace {

using namespace std::chrono_literals;

constexpr auto kPatience = 5s;

struct KnownPage {
    std::string_view desktop;
    SystemSettings::Page page;
    std::string_view program;
    std::string_view argument;
};

using Page = SystemSettings::Page;

constexpr std::array<KnownPage, 9> kPages{{
    {"GNOME", Page::notifications, "gnome-control-center", "notifications"},
    {"GNOME", Page::location, "gnome-control-center", "location"},
    {"KDE", Page::notifications, "systemsettings", "kcm_notifications"},
    {"XFCE", Page::notifications, "xfce4-notifyd-config", ""},
    {"MATE", Page::notifications, "mate-notification-properties", ""},
    {"X-Cinnamon", Page::notifications, "cinnamon-settings", "notifications"},
    {"LXQt", Page::notifications, "lxqt-config-notificationd", ""},
    {"Budgie", Page::notifications, "budgie-control-center", "notifications"},
    {"Budgie", Page::location, "budgie-control-center", "location"},
}};

std::optional<std::vector<std::string>> commandFor(Page page) {
    for (const auto& desktop : listVariable("XDG_CURRENT_DESKTOP")) {
        for (const auto& known : kPages) {
            if (known.desktop != desktop || known.page != page || !canBeStarted(known.program)) continue;
            std::vector<std::string> words{std::string(known.program)};
            if (!known.argument.empty()) words.emplace_back(known.argument);
            return words;
        }
    }
    return std::nullopt;
}

}  // namespace

bool DesktopSettings::offers(Page page) const { return commandFor(page).has_value(); }

void DesktopSettings::open(Page page) {
    if (auto command = commandFor(page)) start(std::move(*command));
}

void DesktopSettings::openLink(const std::string& address) {
    if (address.starts_with("https://")) start({"xdg-open", address});
}

// It lives on without us, in a session of its own: not our child, and not ended with our terminal.
void DesktopSettings::start(std::vector<std::string> words) {
    std::vector<std::string> shell{"/bin/sh", "-c", R"(exec setsid --fork "$@" >/dev/null 2>&1)", "sh"};
    shell.insert(shell.end(), words.begin(), words.end());
    starting_ = posix::readChildOutput(watch_, scheduler_, shell, {kPatience}, [](const auto&) {});
}

}  // namespace dravo::files
