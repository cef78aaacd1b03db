#pragma once

#include <map>
#include <optional>
#include <vector>

#include "app/control.h"
#include "base/rate_limit.h"
#include "platform/dbus/bus.h"
#include "platform/systemd/systemd.h"

namespace dravo::dbus {

/// Control over the session bus: the name org.dravo.Dravo, the object /org/dravo/Dravo, the interface org.dravo.Dravo1.
/// docs/dbus.md describes it for those who call it.
///
/// Changes of properties are signalled together, at most once in 50 ms and always the last; countdowns never are.
/// Lifetime: what it is given outlives it.
class BusControlService final : public ControlService {
public:
    BusControlService(Bus& sessionBus, Scheduler& scheduler);

    void serve(ControlTarget& target) override;
    Subscription probe(Found found) override;

private:
    static int onCall(sd_bus_message* call, void* self, sd_bus_error* error);
    static int onExamine(sd_bus_message* call, void* self, sd_bus_error* error);
    static int onGet(sd_bus* bus, const char* path, const char* interface, const char* name, sd_bus_message* reply,
                     void* self, sd_bus_error* error);
    static std::vector<sd_bus_vtable> makeTable();

    void connect();
    void announce();
    void fail(const TextKey& why);
    [[nodiscard]] const ControlState& stateFor(sd_bus_message* call);

    Bus& bus_;
    Scheduler& scheduler_;
    ControlTarget* target_ = nullptr;
    std::optional<TextKey> failure_;
    ControlState announced_;
    ControlState answer_;  ///< To `answered_`, the call that asked last.
    Message answered_;
    Timer start_;
    Throttle changes_;
    Slot object_;
    Slot name_;
    Subscription targetChanges_;
    Subscription lost_;
    std::map<sd_bus_message*, Subscription> examinations_;  ///< By the calls to answer.
};

}  // namespace dravo::dbus
