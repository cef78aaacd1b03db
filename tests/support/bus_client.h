#pragma once

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "base/owned.h"
#include "platform/systemd/systemd.h"

namespace dravo::testing {

/// A message of a bus. It is read from front to end, like any of libsystemd's.
class BusMessage {
public:
    explicit BusMessage(sd_bus_message* message) : message_(message) {}

    [[nodiscard]] sd_bus_message* get() const { return message_.get(); }
    /// The next value; throws std::runtime_error when the next is not of this kind.
    std::string text(const char* type = "s") {
        const char* value = nullptr;
        require(sd_bus_message_read(get(), type, &value));
        return value;
    }
    template <typename Value>
    Value value(const char* type) {
        Value read{};
        require(sd_bus_message_read(get(), type, &read));
        return read;
    }
    /// Goes into an array, structure or variant, calls `each` until its end, and comes out.
    template <typename Each>
    void forEach(char container, const char* contents, Each each) {
        require(sd_bus_message_enter_container(get(), container, contents));
        while (sd_bus_message_at_end(get(), 0) == 0) each();
        require(sd_bus_message_exit_container(get()));
    }
    void enter(char container, const char* contents) {
        require(sd_bus_message_enter_container(get(), container, contents));
    }
    void leave() { require(sd_bus_message_exit_container(get())); }
    void skip(const char* type) { require(sd_bus_message_skip(get(), type)); }

private:
    static void require(int result) {
        if (result < 0) throw std::runtime_error("a message is not as expected");
    }
    Owned<sd_bus_message, sd_bus_message_unref> message_;
};

/// An object on a bus.
struct BusObject {
    std::string owner;
    std::string path;
    bool operator==(const BusObject&) const = default;
};

/// A client of a bus that asks and waits for the answer, 5 s at most.
///
/// Throws std::runtime_error where nobody answers, or with an error.
class BusClient {
public:
    explicit BusClient(const std::string& address) {
        sd_bus* raw = nullptr;
        if (sd_bus_new(&raw) < 0) throw std::runtime_error("no memory for a bus");
        bus_.reset(raw);
        if (sd_bus_set_address(raw, address.c_str()) < 0 || sd_bus_set_bus_client(raw, 1) < 0 || sd_bus_start(raw) < 0)
            throw std::runtime_error("no bus at " + address);
    }
    [[nodiscard]] sd_bus* bus() const { return bus_.get(); }

    /// Calls a method with `arguments` of these `types`, as sd_bus_message_append takes them.
    template <typename... Arguments>
    BusMessage call(const BusObject& object, const char* interface, const char* method, const char* types = "",
                    Arguments... arguments) {
        sd_bus_message* raw = nullptr;
        if (sd_bus_message_new_method_call(bus(), &raw, object.owner.c_str(), object.path.c_str(), interface, method) <
            0)
            throw std::runtime_error("no such call: " + object.path);
        const BusMessage message(raw);
        if constexpr (sizeof...(arguments) > 0) sd_bus_message_append(raw, types, arguments...);
        constexpr std::uint64_t kCallPatience = 5'000'000;
        sd_bus_error error{};
        if (sd_bus_call(bus(), raw, kCallPatience, &error, &raw) >= 0) return BusMessage(raw);
        const std::string reason = error.message ? error.message : "no answer";
        sd_bus_error_free(&error);
        throw std::runtime_error(std::string(method) + ": " + reason);
    }
    /// A property, as the variant that it comes in.
    BusMessage property(const BusObject& object, const char* interface, const char* name) {
        return call(object, "org.freedesktop.DBus.Properties", "Get", "ss", interface, name);
    }
    [[nodiscard]] bool hasOwner(const char* name) {
        return call({"org.freedesktop.DBus", "/"}, "org.freedesktop.DBus", "NameHasOwner", "s", name).value<int>("b") !=
               0;
    }

    /// Keeps the signals that this match rule lets through, from now on.
    void listen(const std::string& rule) {
        const auto keep = [](sd_bus_message* message, void* client, sd_bus_error*) {
            static_cast<BusClient*>(client)->heard_.emplace_back(sd_bus_message_ref(message));
            return 0;
        };
        if (sd_bus_add_match(bus(), nullptr, rule.c_str(), keep, this) < 0)
            throw std::runtime_error("nobody listens to " + rule);
    }
    /// Those that have come since the last call.
    [[nodiscard]] std::vector<BusMessage> heard() {
        while (sd_bus_process(bus(), nullptr) > 0) {
        }
        return std::exchange(heard_, {});
    }

private:
    std::vector<BusMessage> heard_;
    Owned<sd_bus, sd_bus_flush_close_unref> bus_;
};

}  // namespace dravo::testing
