#include "platform/freedesktop/desktop_settings.h"

#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdlib>
#include <optional>
#include <string_view>

#include "platform/posix/child_output.h"

namespace dravo::freedesktop {

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

/// The pieces of a colon-separated list in the environment; none if it is not set.
std::vector<std::string> listIn(const char* variable) {
    std::vector<std::string> pieces;
    const char* const value = std::getenv(variable);
    std::string_view rest = value ? value : "";
    while (!rest.empty()) {
        const auto end = rest.find(':');
        if (const auto piece = rest.substr(0, end); !piece.empty()) pieces.emplace_back(piece);
        rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 1);
    }
    return pieces;
}

bool isInstalled(std::string_view program) {
    for (const auto& folder : listIn("PATH"))
        if (::access((folder + '/' + std::string(program)).c_str(), X_OK) == 0) return true;
    return false;
}

std::optional<std::vector<std::string>> commandFor(Page page) {
    for (const auto& desktop : listIn("XDG_CURRENT_DESKTOP")) {
        for (const auto& known : kPages) {
            if (known.desktop != desktop || known.page != page || !isInstalled(known.program)) continue;
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
    starting_ = posix::readChildOutput(watch_, scheduler_, shell, kPatience, [](const auto&) {});
}

}  // namespace dravo::freedesktop
