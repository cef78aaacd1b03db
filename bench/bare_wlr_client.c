/* The least that a program can do to load a table where a compositor hands them out: connect, ask for three displays'
 * tables, load them, wait for the compositor. In C, so that it carries no library but libwayland. */
#define _GNU_SOURCE
#include <stdint.h>
#include <string.h>
#include <sys/mman.h>
#include <unistd.h>
#include <wayland-client.h>
#include <wlr-gamma-control-client.h>

enum { kDisplays = 3, kEntries = 256 };

static struct zwlr_gamma_control_manager_v1* manager;
static struct wl_output* outputs[kDisplays];
static int outputCount;

static void noteGlobal(void* data, struct wl_registry* registry, uint32_t name, const char* interface,
                       uint32_t version) {
    (void)data;
    (void)version;
    if (strcmp(interface, zwlr_gamma_control_manager_v1_interface.name) == 0)
        manager = wl_registry_bind(registry, name, &zwlr_gamma_control_manager_v1_interface, 1);
    if (strcmp(interface, wl_output_interface.name) == 0 && outputCount < kDisplays)
        outputs[outputCount++] = wl_registry_bind(registry, name, &wl_output_interface, 1);
}
static void noteRemoval(void* data, struct wl_registry* registry, uint32_t name) {
    (void)data;
    (void)registry;
    (void)name;
}
static const struct wl_registry_listener registryListener = {noteGlobal, noteRemoval};

static void load(void* data, struct zwlr_gamma_control_v1* control, uint32_t size) {
    (void)data;
    uint16_t levels[3 * kEntries];
    if (size != kEntries) return;
    for (int i = 0; i < 3 * kEntries; ++i) levels[i] = (uint16_t)(i % kEntries * 200);
    const int file = memfd_create("table", MFD_CLOEXEC);
    if (pwrite(file, levels, sizeof levels, 0) == sizeof levels) zwlr_gamma_control_v1_set_gamma(control, file);
    close(file);
}
static void noteFailure(void* data, struct zwlr_gamma_control_v1* control) {
    (void)data;
    (void)control;
}
static const struct zwlr_gamma_control_v1_listener controlListener = {load, noteFailure};

int main(void) {
    struct wl_display* display = wl_display_connect(NULL);
    if (!display) return 1;
    wl_registry_add_listener(wl_display_get_registry(display), &registryListener, NULL);
    if (wl_display_roundtrip(display) < 0 || !manager || outputCount < kDisplays) return 1;
    for (int i = 0; i < kDisplays; ++i)
        zwlr_gamma_control_v1_add_listener(zwlr_gamma_control_manager_v1_get_gamma_control(manager, outputs[i]),
                                           &controlListener, NULL);
    const int failed = wl_display_roundtrip(display) < 0 || wl_display_roundtrip(display) < 0;
    wl_display_disconnect(display);
    return failed;
}
