#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "app/control_request.h"
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

/// One method of the interface: how a request travels, and its answer back. Other processes write requests and read
/// answers, the running program the other way round.
struct Method {
    const char* name;
    const char* arguments;  ///< Signatures, and the names of both one after the other as the bus library takes them.
    const char* answer;
    const char* names;
    /// REQUIRES: a request of this method. Negative when a text in it is not UTF-8.
    int (*append)(sd_bus_message* call, const ControlRequest& request);
    /// Errors: `InvalidInput`.
    Result<ControlRequest> (*read)(sd_bus_message* call);
};

/// In the order of the kinds of request.
[[nodiscard]] std::span<const Method> methods();

/// The method with this name; null when there is none.
[[nodiscard]] const Method* methodNamed(std::string_view name);

/// An answer in the form of the method's signature.
void appendAnswer(const Method& method, sd_bus_message* reply, const ControlAnswer& answer);
[[nodiscard]] ControlAnswer readAnswer(const Method& method, sd_bus_message* reply);

/// Errors as they travel, "org.dravo.Dravo.Error.InvalidInput".
[[nodiscard]] std::string errorName(ErrorCode code);
/// The code behind such a name; none for other errors.
[[nodiscard]] std::optional<ErrorCode> errorCodeNamed(std::string_view name);

}  // namespace dravo::dbus::control
