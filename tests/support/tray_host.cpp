#include "support/tray_host.h"

#include <algorithm>
#include <iterator>

namespace dravo::testing {

namespace {

// The folder that holds it differs between processors.
std::filesystem::path settingsService() {
    for (const auto& entry : std::filesystem::directory_iterator("/usr/lib")) {
        const auto program = entry.path() / "xfce4/xfconf/xfconfd";
        if (std::filesystem::exists(program)) return program;
    }
    return "/usr/lib/xfce4/xfconf/xfconfd";
}

constexpr const char* kXembedConfiguration = R"(panel_items = S
panel_size = 1024 30
panel_position = bottom left horizontal
panel_monitor = 1
systray_padding = 4 2 4
systray_icon_size = 22
)";

constexpr const char* kNotifierConfiguration = R"(<?xml version="1.0" encoding="UTF-8"?>
<channel name="xfce4-panel" version="1.0">
  <property name="configver" type="int" value="2"/>
  <property name="panels" type="array">
    <value type="int" value="1"/>
    <property name="panel-1" type="empty">
      <property name="position" type="string" value="p=6;x=0;y=0"/>
      <property name="position-locked" type="bool" value="true"/>
      <property name="length" type="uint" value="100"/>
      <property name="size" type="uint" value="30"/>
      <property name="plugin-ids" type="array"><value type="int" value="1"/></property>
    </property>
  </property>
  <property name="plugins" type="empty">
    <property name="plugin-1" type="string" value="systray"/>
  </property>
</channel>
)";

}  // namespace

TrayHost::TrayHost(Kind kind, Environment session) : kind_(kind) {
    session["NO_AT_BRIDGE"] = "1";
    ChildProcess::Options options{.environment = home_.environment(std::move(session))};
    if (kind == Kind::xembed) {
        home_.write("tint2rc", kXembedConfiguration);
        options.arguments = {"-c", home_.path() / "tint2rc"};
        bar_.emplace("/usr/bin/tint2", options);
    } else {
        home_.write(".config/xfce4/xfconf/xfce-perchannel-xml/xfce4-panel.xml", kNotifierConfiguration);
        settings_.emplace(settingsService(), options);
        bar_.emplace("/usr/bin/xfce4-panel", options);
    }
}

std::optional<Place> TrayHost::iconPlace(const XWindows& windows) const {
    // The second kind of icon is drawn by the host, in a window that is as large as its icons.
    const auto candidates = windows.of(kind_ == Kind::xembed ? "dravo" : "wrapper-2.0");
    for (const auto& window : candidates) {
        const bool isOnBar = kind_ == Kind::xembed ? window.box.y > 700 : window.box.y >= 0 && window.box.y < 30;
        const bool isIcon = window.box.width >= 16 && window.box.width <= 32 && window.box.height <= 32;
        if (!isOnBar || !isIcon) continue;
        const auto pixels = windows.picture(window.box);
        if (std::ranges::count(pixels, pixels.front()) < std::ssize(pixels)) return window.box.middle();
    }
    return std::nullopt;
}

}  // namespace dravo::testing
