#include "platform/dbus/bus_control_service.h"

#include <memory>
#include <string_view>
#include <utility>

#include "base/localized.h"
#include "base/report.h"
#include "platform/dbus/control_interface.h"
#include "platform/dbus/report_message.h"

namespace dravo::dbus {

namespace {

using namespace std::chrono_literals;

constexpr auto kAnnouncementInterval = 50ms;
constexpr std::uint32_t kInQueueForName = 2;
constexpr auto kPatience = 5s;
constexpr TextKey kNameIsHeld =
    textKey("another program holds org.dravo.Dravo on the session bus and gets our commands");

}  // namespace

BusControlService::BusControlService(Bus& sessionBus, Scheduler& scheduler)
    : bus_(sessionBus), scheduler_(scheduler), changes_(scheduler, kAnnouncementInterval, [this] { announce(); }) {}

void BusControlService::serve(ControlTarget& target) {
    target_ = &target;
    start_ = scheduler_.after({}, [this] { connect(); });
}

void BusControlService::connect() {
    if (!bus_.open()) {
        fail(textKey("there is no session bus: commands cannot reach this program"));
        return;
    }
    static const auto table = makeTable();
    announced_ = target_->controlState();
    sd_bus_slot* slot = nullptr;
    if (sd_bus_add_object_vtable(bus_.handle(), &slot, control::kObjectPath, control::kInterface, table.data(), this) <
        0) {
        fail(textKey("the session bus cannot be served: commands cannot reach this program"));
        return;
    }
    object_.reset(slot);
    targetChanges_ = target_->onStateChange([this] { changes_.trigger(); });
    lost_ = bus_.onLost([this] {
        targetChanges_.reset();
        examinations_.clear();
        fail(textKey("the session bus is gone: commands cannot reach this program any more"));
    });

    const auto onName = [](sd_bus_message* reply, void*, sd_bus_error*) {
        std::uint32_t outcome = 0;
        if (sd_bus_message_is_method_error(reply, nullptr) || sd_bus_message_read(reply, "u", &outcome) < 0 ||
            outcome == kInQueueForName)
            reportOnce(kNameIsHeld.key, kNameIsHeld);
        return 0;
    };
    slot = nullptr;
    // In the queue, so that commands reach this program as soon as the other one ends.
    sd_bus_request_name_async(bus_.handle(), &slot, control::kBusName, SD_BUS_NAME_QUEUE, onName, this);
    name_.reset(slot);
}

void BusControlService::fail(const TextKey& why) {
    failure_ = why;
    reportOnce(why.key, why);
}

Subscription BusControlService::probe(Found found) {
    if (failure_) {
        found({{}, Sentence{*failure_}});
        return {};
    }
    constexpr const char* kBus = "org.freedesktop.DBus";
    return bus_.call(bus_.newCall(kBus, "/org/freedesktop/DBus", kBus, "GetNameOwner", "s", control::kBusName),
                     kPatience, [this, found = std::move(found)](const Bus::Answer& answer) {
                         const char* owner = "";
                         const char* self = "";
                         if (answer) sd_bus_message_read(*answer, "s", &owner);
                         sd_bus_get_unique_name(bus_.handle(), &self);
                         const bool isOurs = std::string_view(owner) == self;
                         found(isOurs ? Finding{"dbus"} : Finding{{}, Sentence{kNameIsHeld}});
                     });
}

void BusControlService::announce() {
    const auto state = target_->controlState();
    std::vector<char*> changed;
    for (const auto& property : control::properties())
        if (!property.isCountdown && property.differs(announced_, state))
            changed.push_back(const_cast<char*>(property.name));
    announced_ = state;
    if (changed.empty()) return;
    changed.push_back(nullptr);
    sd_bus_emit_properties_changed_strv(bus_.handle(), control::kObjectPath, control::kInterface, changed.data());
}

int BusControlService::onGet(sd_bus* bus, const char*, const char*, const char* name, sd_bus_message* reply, void* self,
                             sd_bus_error*) {
    auto& service = *static_cast<BusControlService*>(self);
    return control::propertyNamed(name)->append(reply, service.stateFor(sd_bus_get_current_message(bus)));
}

// Who asks for all properties is answered property by property: out of one state.
const ControlState& BusControlService::stateFor(sd_bus_message* call) {
    if (!call) return announced_;  // for the signal
    if (call != answered_.get()) {
        answered_.reset(sd_bus_message_ref(call));
        answer_ = target_->controlState();
    }
    return answer_;
}

int BusControlService::onCall(sd_bus_message* call, void* self, sd_bus_error* error) {
    const auto& method = *control::methodNamed(sd_bus_message_get_member(call));
    const auto request = method.read(call);
    const auto answer = request ? static_cast<BusControlService*>(self)->target_->carryOut(*request) : request.error();
    if (!answer)
        return sd_bus_error_set(error, control::errorName(answer.error().code).c_str(),
                                localized(answer.error().message).c_str());
    sd_bus_message* made = nullptr;
    if (const int result = sd_bus_message_new_method_return(call, &made); result < 0) return result;
    const Message reply(made);
    control::appendAnswer(method, made, *answer);
    return sd_bus_send(nullptr, made, nullptr);
}

// The one question that is not answered at once.
int BusControlService::onExamine(sd_bus_message* call, void* self, sd_bus_error*) {
    auto& service = *static_cast<BusControlService*>(self);
    auto& running = service.examinations_[call];
    running = service.target_->examine([&service, question = std::make_shared<Message>(sd_bus_message_ref(call))](
                                           const std::vector<PortReport>& reports) {
        sd_bus_message* made = nullptr;
        const auto examination = service.examinations_.extract(question->get());
        if (sd_bus_message_new_method_return(question->get(), &made) < 0) return;
        const Message reply(made);
        control::append(made, reports);
        sd_bus_send(nullptr, made, nullptr);
    });
    return 1;
}

std::vector<sd_bus_vtable> BusControlService::makeTable() {
    std::vector<sd_bus_vtable> table;
    table.push_back(startOfBusTable());
    for (const auto& property : control::properties()) {
        if (property.isCountdown)
            table.push_back(SD_BUS_PROPERTY(property.name, property.signature, onGet, 0, 0));
        else
            table.push_back(
                SD_BUS_PROPERTY(property.name, property.signature, onGet, 0, SD_BUS_VTABLE_PROPERTY_EMITS_CHANGE));
    }
    for (const auto& method : control::methods()) {
        table.push_back(
            SD_BUS_METHOD(method.name, method.arguments, method.answer, onCall, SD_BUS_VTABLE_UNPRIVILEGED));
        table.back().x.method.names = method.names;
    }
    table.push_back(SD_BUS_METHOD(control::kExamine, "", control::kReports, onExamine, SD_BUS_VTABLE_UNPRIVILEGED));
    table.back().x.method.names = SD_BUS_PARAM(ports);
    table.push_back(SD_BUS_VTABLE_END);
    return table;
}

}  // namespace dravo::dbus
