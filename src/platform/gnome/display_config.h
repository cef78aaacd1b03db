#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "base/result.h"
#include "display/table_device.h"
#include "platform/dbus/bus_link.h"

namespace dravo::gnome {

using dbus::BusLink;

/// The messages of org.gnome.Mutter.DisplayConfig, as far as tables need them: the one place that knows their form.
///
/// Every call but the first two names the serial of the resources that it is about; with an older one it is refused
/// with `PermissionDenied`, and the serial has to be read anew.

inline constexpr const char* kDisplayConfig = "org.gnome.Mutter.DisplayConfig";
inline constexpr const char* kDisplayConfigPath = "/org/gnome/Mutter/DisplayConfig";

/// The outputs, as `DeviceTopology` has them but for their calibrations, and the CRTCs.
struct DisplayResources {
    std::uint32_t serial = 0;
    std::vector<DeviceOutput> outputs;
    std::vector<CrtcId> crtcs;
    bool operator==(const DisplayResources&) const = default;
};

[[nodiscard]] dbus::Message resourcesCall(BusLink& bus);
/// Errors: `Internal` (not of the form that we know).
[[nodiscard]] Result<DisplayResources> readResources(sd_bus_message* answer);

/// Whether any CRTC has a table. Where none has, old versions end in a fault when they are asked for one.
[[nodiscard]] dbus::Message hasTablesCall(BusLink& bus);
/// True where the version does not say.
[[nodiscard]] bool readHasTables(const BusLink::Answer& answer);

[[nodiscard]] dbus::Message levelsCall(BusLink& bus, std::uint32_t serial, CrtcId crtc);
/// What a CRTC holds, in the length in which it was set. As long as nobody has set anything newer versions know none:
/// then neutral levels of the most usual length.
[[nodiscard]] RampLevels readLevels(sd_bus_message* answer);

/// Null for levels that must not be sent: of unequal or short arrays the compositor reads past the end.
[[nodiscard]] dbus::Message setLevelsCall(BusLink& bus, std::uint32_t serial, const CrtcLevels& ramp);

}  // namespace dravo::gnome
