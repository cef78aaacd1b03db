#pragma once

#include <string>
#include <vector>

#include "app/port_report.h"
#include "base/localized.h"
#include "display/held_display.h"
#include "platform/dbus/bus.h"

namespace dravo::dbus::control {

// How reports and displays travel: sentences by their keys, so that each side says them in its own language.
// Negative is the bus library's error; what reads an element of an array gives 0 behind the last one.

/// As (ssas): key, English, values in the sender's language. Plain text is a value without a key.
int append(sd_bus_message* message, const Sentence& sentence);
/// What is read is kept until the process ends: a command reads a few sentences.
int read(sd_bus_message* message, Sentence& sentence);

/// A display's number, name and table size, why it cannot be filtered, and its table's three channels.
inline constexpr const char* kHeldDisplay = "(usu(ssas)adadad)";
int append(sd_bus_message* message, const HeldDisplay& display);
int read(sd_bus_message* message, HeldDisplay& display);

inline constexpr const char* kExamine = "Examine";
/// Of each report the port's key and English, the subject, the adapter, problem and remedy, and a command.
inline constexpr const char* kReports = "a(ssss(ssas)(ssas)s)";
int append(sd_bus_message* message, const std::vector<PortReport>& reports);
int read(sd_bus_message* message, std::vector<PortReport>& reports);

}  // namespace dravo::dbus::control

namespace dravo::dbus {

/// Asks the running program for its examination. Errors: as `Bus::call`; `Unsupported` from one that knows no such
/// question, `Internal` for an answer that makes no sense.
[[nodiscard]] Subscription askForReports(Bus& bus, std::chrono::milliseconds timeout,
                                         std::function<void(const Result<std::vector<PortReport>>&)> onAnswer);

}  // namespace dravo::dbus
