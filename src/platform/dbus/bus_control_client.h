#pragma once

#include <string>
#include <vector>

#include "app/control.h"
#include "platform/dbus/bus.h"

namespace dravo::dbus {

inline constexpr TextKey kSilent = textKey("Dravo is running and does not answer");

/// Speaks to the running program over the session bus; connects with the first call and never starts anything.
class BusControlClient final : public ControlClient {
public:
    explicit BusControlClient(std::chrono::milliseconds patience = std::chrono::seconds{2}) : patience_(patience) {}

    Result<ControlState> state() override;
    Result<void> follow(const std::function<bool(const ControlState&)>& onState) override;
    Result<ControlAnswer> ask(const ControlRequest& request) override;

private:
    Result<void> connect();
    Result<Message> newCall(const char* interface, const char* member);
    Result<Message> send(const Message& call);

    std::chrono::milliseconds patience_;
    BusHandle bus_;
};

}  // namespace dravo::dbus
