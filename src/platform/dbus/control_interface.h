#pragma once

#include <optional>
#include <span>
#include <string_view>

#include "app/control_state.h"
#include "base/result.h"
#include "platform/systemd/systemd.h"

namespace dravo::dbus::control {

inline constexpr const char* kBusName = "org.dravo.Dravo";
inline constexpr const char* kObjectPath = "/org/dravo/Dravo";
inline constexpr const char* kInterface = "org.dravo.Dravo1";

/// One property of the interface: how a part of the state travels. The running program writes, other processes read.
struct Property {
    const char* name;
    const char* signature;
    bool isCountdown;  ///< Changes each second by itself; never signalled.
    int (*append)(sd_bus_message* message, const ControlState& state);
    /// Reads into the state; what makes no sense leaves it as it was.
    int (*read)(sd_bus_message* message, ControlState& state);
    bool (*differs)(const ControlState& one, const ControlState& other);
};

[[nodiscard]] std::span<const Property> properties();

/// The property with this name; null when there is none.
[[nodiscard]] const Property* propertyNamed(std::string_view name);

/// Errors as they travel, "org.dravo.Dravo.Error.InvalidInput".
[[nodiscard]] const char* errorName(ErrorCode code);
/// The code behind such a name; none for other errors.
[[nodiscard]] std::optional<ErrorCode> errorCodeNamed(std::string_view name);

}  // namespace dravo::dbus::control
