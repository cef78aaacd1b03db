#pragma once

#include <systemd/sd-bus.h>
#include <systemd/sd-event.h>

#include <atomic>

#include "base/result.h"

/// libsystemd, loaded when it is first used: with the six libraries that it brings it costs a start more than
/// everything else before the first table, and nothing there needs it.
///
/// Inside namespace dravo the objects below stand before the library's functions of the same names, so that its users
/// call it as they would any library. What is not listed does not link.
/// Thread: any; the first call loads. Lifetime: the library stays until the process ends.
namespace dravo {

/// Loads the library, for a caller that can go on without it; a call of one of its functions cannot, and ends the
/// program with a message. Errors: `NotFound`, with the dynamic loader's own words.
[[nodiscard]] Result<void> loadSystemd();

/// The first entry of a table for `sd_bus_add_object_vtable`. The library's own macro would link against it.
[[nodiscard]] sd_bus_vtable startOfBusTable();

/// Whoever runs an sd-event loop that others attach to.
class SystemdLoop {
public:
    virtual ~SystemdLoop() = default;

    /// The loop, made when it is first asked for. Never null; its owner's for as long as the owner lives.
    [[nodiscard]] virtual sd_event* event() = 0;
};

/// Where the library has this function. Ends the program with a message where it has none.
[[nodiscard]] void* findInSystemd(const char* name);

/// A function of the library, looked up at its first call.
template <typename Function>
class SystemdFunction {
public:
    constexpr explicit SystemdFunction(const char* name) : name_(name) {}

    /// What makes the object callable, with the function's own parameters.
    operator Function*() {
        void* address = address_.load(std::memory_order_relaxed);
        if (!address) address_.store(address = findInSystemd(name_), std::memory_order_relaxed);
        return reinterpret_cast<Function*>(address);
    }

private:
    const char* name_;
    std::atomic<void*> address_ = nullptr;
};

// The attributes that the functions carry mean nothing to a pointer's type.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wignored-attributes"
#define DRAVO_SYSTEMD(name) inline constinit SystemdFunction<decltype(::name)> name(#name)
DRAVO_SYSTEMD(sd_bus_add_filter);
DRAVO_SYSTEMD(sd_bus_add_match);
DRAVO_SYSTEMD(sd_bus_add_match_async);
DRAVO_SYSTEMD(sd_bus_add_object_vtable);
DRAVO_SYSTEMD(sd_bus_attach_event);
DRAVO_SYSTEMD(sd_bus_call);
DRAVO_SYSTEMD(sd_bus_call_async);
DRAVO_SYSTEMD(sd_bus_close_unref);
DRAVO_SYSTEMD(sd_bus_emit_properties_changed_strv);
DRAVO_SYSTEMD(sd_bus_emit_signal);
DRAVO_SYSTEMD(sd_bus_error_free);
DRAVO_SYSTEMD(sd_bus_error_get_errno);
DRAVO_SYSTEMD(sd_bus_error_is_set);
DRAVO_SYSTEMD(sd_bus_error_set);
DRAVO_SYSTEMD(sd_bus_flush_close_unref);
DRAVO_SYSTEMD(sd_bus_get_current_message);
DRAVO_SYSTEMD(sd_bus_get_events);
DRAVO_SYSTEMD(sd_bus_get_fd);
DRAVO_SYSTEMD(sd_bus_get_unique_name);
DRAVO_SYSTEMD(sd_bus_is_open);
DRAVO_SYSTEMD(sd_bus_is_ready);
DRAVO_SYSTEMD(sd_bus_match_signal);
DRAVO_SYSTEMD(sd_bus_message_append);
DRAVO_SYSTEMD(sd_bus_message_append_array);
DRAVO_SYSTEMD(sd_bus_message_at_end);
DRAVO_SYSTEMD(sd_bus_message_close_container);
DRAVO_SYSTEMD(sd_bus_message_enter_container);
DRAVO_SYSTEMD(sd_bus_message_exit_container);
DRAVO_SYSTEMD(sd_bus_message_get_error);
DRAVO_SYSTEMD(sd_bus_message_get_interface);
DRAVO_SYSTEMD(sd_bus_message_get_member);
DRAVO_SYSTEMD(sd_bus_message_get_path);
DRAVO_SYSTEMD(sd_bus_message_get_sender);
DRAVO_SYSTEMD(sd_bus_message_get_type);
DRAVO_SYSTEMD(sd_bus_message_is_method_error);
DRAVO_SYSTEMD(sd_bus_message_new_method_call);
DRAVO_SYSTEMD(sd_bus_message_new_method_return);
DRAVO_SYSTEMD(sd_bus_message_open_container);
DRAVO_SYSTEMD(sd_bus_message_peek_type);
DRAVO_SYSTEMD(sd_bus_message_read);
DRAVO_SYSTEMD(sd_bus_message_read_array);
DRAVO_SYSTEMD(sd_bus_message_ref);
DRAVO_SYSTEMD(sd_bus_message_set_auto_start);
DRAVO_SYSTEMD(sd_bus_message_set_expect_reply);
DRAVO_SYSTEMD(sd_bus_message_skip);
DRAVO_SYSTEMD(sd_bus_message_unref);
DRAVO_SYSTEMD(sd_bus_new);
DRAVO_SYSTEMD(sd_bus_open_system);
DRAVO_SYSTEMD(sd_bus_open_user);
DRAVO_SYSTEMD(sd_bus_process);
DRAVO_SYSTEMD(sd_bus_reply_method_errorf);
DRAVO_SYSTEMD(sd_bus_reply_method_return);
DRAVO_SYSTEMD(sd_bus_request_name);
DRAVO_SYSTEMD(sd_bus_request_name_async);
DRAVO_SYSTEMD(sd_bus_send);
DRAVO_SYSTEMD(sd_bus_set_address);
DRAVO_SYSTEMD(sd_bus_set_bus_client);
DRAVO_SYSTEMD(sd_bus_set_close_on_exit);
DRAVO_SYSTEMD(sd_bus_set_method_call_timeout);
DRAVO_SYSTEMD(sd_bus_slot_unref);
DRAVO_SYSTEMD(sd_bus_start);
DRAVO_SYSTEMD(sd_bus_wait);
DRAVO_SYSTEMD(sd_event_add_defer);
DRAVO_SYSTEMD(sd_event_add_io);
DRAVO_SYSTEMD(sd_event_add_time);
DRAVO_SYSTEMD(sd_event_exit);
DRAVO_SYSTEMD(sd_event_get_exit_code);
DRAVO_SYSTEMD(sd_event_get_fd);
DRAVO_SYSTEMD(sd_event_loop);
DRAVO_SYSTEMD(sd_event_new);
DRAVO_SYSTEMD(sd_event_run);
DRAVO_SYSTEMD(sd_event_source_disable_unref);
DRAVO_SYSTEMD(sd_event_source_set_enabled);
DRAVO_SYSTEMD(sd_event_source_set_time);
DRAVO_SYSTEMD(sd_event_unref);
#undef DRAVO_SYSTEMD
#pragma GCC diagnostic pop

}  // namespace dravo
