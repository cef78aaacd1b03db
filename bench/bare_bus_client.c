/* The least that a program can do to load tables over a session bus: connect, ask for the compositor's resources, load
 * three tables, wait for the answers. In C, with the bus's library linked. */
#include <stdint.h>
#include <stdlib.h>
#include <systemd/sd-bus.h>

enum { kDisplays = 3, kEntries = 256 };

static const char* const kName = "org.gnome.Mutter.DisplayConfig";
static const char* const kPath = "/org/gnome/Mutter/DisplayConfig";

static int awaited = kDisplays;

static int on_answer(sd_bus_message* answer, void* data, sd_bus_error* error) {
    (void)data;
    (void)error;
    if (sd_bus_message_is_method_error(answer, NULL)) exit(1);
    --awaited;
    return 0;
}

int main(void) {
    sd_bus* bus = NULL;
    sd_bus_message* resources = NULL;
    uint32_t serial = 0;
    if (sd_bus_open_user(&bus) < 0 ||
        sd_bus_call_method(bus, kName, kPath, kName, "GetResources", NULL, &resources, "") < 0 ||
        sd_bus_message_read(resources, "u", &serial) < 0)
        return 1;
    sd_bus_message_unref(resources);

    uint16_t levels[kEntries];
    for (int i = 0; i < kEntries; ++i) levels[i] = (uint16_t)(i * 200);
    for (uint32_t crtc = 0; crtc < kDisplays; ++crtc) {
        sd_bus_message* call = NULL;
        if (sd_bus_message_new_method_call(bus, &call, kName, kPath, kName, "SetCrtcGamma") < 0) return 1;
        sd_bus_message_append(call, "uu", serial, crtc);
        for (int channel = 0; channel < 3; ++channel) sd_bus_message_append_array(call, 'q', levels, sizeof levels);
        if (sd_bus_call_async(bus, NULL, call, on_answer, NULL, 0) < 0) return 1;
        sd_bus_message_unref(call);
    }
    while (awaited > 0)
        if (sd_bus_process(bus, NULL) <= 0 && sd_bus_wait(bus, UINT64_MAX) < 0) return 1;
    sd_bus_unref(bus);
    return 0;
}
