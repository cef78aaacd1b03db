#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/localized.h"
#include "base/probe.h"

namespace dravo {

/// Whether something that the program asks of the desktop works here. What is told has a name by which programs know
/// it, the part of its key behind "port.", and a title for a person.
struct PortReport {
    TextKey port;              ///< One of those below.
    std::string subject = {};  ///< Which one, where there are several: a display's connector; else empty.
    Finding finding = {};

    bool operator==(const PortReport&) const = default;
};

inline constexpr TextKey kDisplaysPort = textKey("port.displays", "Displays");
inline constexpr TextKey kDisplayPort = textKey("port.display", "Display");
inline constexpr TextKey kGrayscalePort = textKey("port.grayscale", "Grayscale");
inline constexpr TextKey kShortcutPort = textKey("port.shortcut", "Global Shortcut");
inline constexpr TextKey kTrayPort = textKey("port.tray", "Tray icon");
inline constexpr TextKey kPanelPort = textKey("port.panel", "Panel");
inline constexpr TextKey kAppearancePort = textKey("port.appearance", "The desktop's appearance");
inline constexpr TextKey kNotificationsPort = textKey("port.notifications", "Notifications");
inline constexpr TextKey kLocationPort = textKey("port.location", "Location");
inline constexpr TextKey kWakePort = textKey("port.wake", "Waking from sleep");
inline constexpr TextKey kLoginPort = textKey("port.login", "Launch at Login");
inline constexpr TextKey kControlPort = textKey("port.control", "Commands and scripts");
inline constexpr TextKey kUpdatesPort = textKey("port.updates", "Update check");
inline constexpr TextKey kPicturesPort = textKey("port.pictures", "Pictures");
/// Another program that changes the colours of the screen; the desktop's own service that does.
inline constexpr TextKey kNeighbourPort = textKey("port.neighbour", "Other programs");
inline constexpr TextKey kNightLightPort = textKey("port.night-light", "Night light");

/// The name for programs, e.g. "displays".
[[nodiscard]] std::string_view nameOf(const PortReport& report);

/// The title for a person: of one among several its own.
[[nodiscard]] Sentence titleOf(const PortReport& report);

[[nodiscard]] bool allWork(std::span<const PortReport> reports);

/// One JSON object on one line: whether everything works, and an object for each report with its sentences in the
/// person's language beside their keys, null for what is not.
[[nodiscard]] std::string reportsJson(std::span<const PortReport> reports);

}  // namespace dravo
