#include "support/bus_client.h"

namespace dravo::testing {

BusClient::BusClient(const std::string& address) {
    sd_bus* raw = nullptr;
    if (sd_bus_new(&raw) < 0) throw std::runtime_error("no memory for a bus");
    bus_.reset(raw);
    if (sd_bus_set_address(raw, address.c_str()) < 0 || sd_bus_set_bus_client(raw, 1) < 0 || sd_bus_start(raw) < 0)
        throw std::runtime_error("no bus at " + address);
}

bool BusClient::hasOwner(const char* name) {
    return call({"org.freedesktop.DBus", "/"}, "org.freedesktop.DBus", "NameHasOwner", "s", name).value<int>("b") != 0;
}

void BusClient::listen(const std::string& rule) {
    const auto keep = [](sd_bus_message* message, void* client, sd_bus_error*) {
        static_cast<BusClient*>(client)->heard_.emplace_back(sd_bus_message_ref(message));
        return 0;
    };
    if (sd_bus_add_match(bus_.get(), nullptr, rule.c_str(), keep, this) < 0)
        throw std::runtime_error("nobody listens to " + rule);
}

std::vector<BusMessage> BusClient::heard() {
    while (sd_bus_process(bus_.get(), nullptr) > 0) {
    }
    return std::exchange(heard_, {});
}

BusMessage BusClient::send(const BusMessage& message, const char* method) {
    constexpr std::uint64_t kCallPatience = 5'000'000;
    sd_bus_error error{};
    sd_bus_message* answer = nullptr;
    if (sd_bus_call(bus_.get(), message.get(), kCallPatience, &error, &answer) >= 0) return BusMessage(answer);
    const std::string reason = error.message ? error.message : "no answer";
    sd_bus_error_free(&error);
    throw std::runtime_error(std::string(method) + ": " + reason);
}

}  // namespace dravo::testing
