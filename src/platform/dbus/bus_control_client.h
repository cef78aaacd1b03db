#pragma once

#include <string>
#include <vector>

#include "app/control_client.h"
#include "platform/dbus/bus.h"

namespace dravo::dbus {

/// Speaks to the running program over the session bus; connects with the first call and never starts anything.
class BusControlClient final : public ControlClient {
public:
    explicit BusControlClient(std::chrono::milliseconds patience = std::chrono::seconds{2}) : patience_(patience) {}

    Result<ControlState> state() override;
    Result<void> follow(const std::function<bool(const ControlState&)>& onState) override;
    Result<void> toggle() override { return order("Toggle"); }
    Result<void> switchOn() override { return order("On"); }
    Result<void> switchOff() override { return order("Off"); }
    Result<void> pause(const PauseLength& length) override;
    Result<void> resume() override { return order("Resume"); }
    Result<void> selectPreset(const std::string& id) override;
    Result<void> setAdjustments(const AdjustmentChange& change) override;
    Result<void> setSchedule(const ScheduleChange& change) override;
    Result<void> setLocation(const LocationChange& change) override;
    Result<void> setBreaks(const BreaksChange& change) override;
    Result<void> dismissBreak() override { return order("DismissBreak"); }
    Result<std::vector<std::string>> importPresets(const std::string& text) override;
    Result<std::string> exportPresets(const std::vector<std::string>& ids) override;
    Result<void> activate() override { return order("Activate"); }
    Result<void> restore() override { return order("Restore"); }
    Result<void> quit() override { return order("Quit"); }

private:
    Result<void> connect();
    Result<Message> newCall(const char* interface, const char* member);
    Result<Message> send(const Message& call);
    Result<void> order(const char* member);
    template <typename... Arguments>
    Result<void> order(const char* member, const char* signature, Arguments... arguments);

    std::chrono::milliseconds patience_;
    BusHandle bus_;
};

}  // namespace dravo::dbus
