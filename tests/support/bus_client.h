#pragma once

#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

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
    struct Unref {
        void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
    };
    std::unique_ptr<sd_bus_message, Unref> message_;
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
    explicit BusClient(const std::string& address);

    /// Calls a method with `arguments` of these `types`, as sd_bus_message_append takes them.
    template <typename... Arguments>
    BusMessage call(const BusObject& object, const char* interface, const char* method, const char* types = "",
                    Arguments... arguments) {
        sd_bus_message* raw = nullptr;
        if (sd_bus_message_new_method_call(bus_.get(), &raw, object.owner.c_str(), object.path.c_str(), interface,
                                           method) < 0)
            throw std::runtime_error("no such call: " + object.path);
        const BusMessage message(raw);
        if constexpr (sizeof...(arguments) > 0) sd_bus_message_append(raw, types, arguments...);
        return send(message, method);
    }
    /// A property, as the variant that it comes in.
    BusMessage property(const BusObject& object, const char* interface, const char* name) {
        return call(object, "org.freedesktop.DBus.Properties", "Get", "ss", interface, name);
    }
    [[nodiscard]] bool hasOwner(const char* name);

    /// Keeps the signals that this match rule lets through, from now on.
    void listen(const std::string& rule);
    /// Those that have come since the last call.
    [[nodiscard]] std::vector<BusMessage> heard();

private:
    BusMessage send(const BusMessage& message, const char* method);

    struct Close {
        void operator()(sd_bus* bus) const { sd_bus_flush_close_unref(bus); }
    };
    std::vector<BusMessage> heard_;
    std::unique_ptr<sd_bus, Close> bus_;
};

}  // namespace dravo::testing
