#include "platform/systemd/systemd.h"

#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>

#include "base/localized.h"

namespace dravo {

namespace {

void* library() {
    static void* const handle = ::dlopen("libsystemd.so.0", RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
    return handle;
}

[[noreturn]] void giveUp() {
    std::fprintf(stderr, "dravo: %s\n", ::dlerror());
    std::abort();
}

}  // namespace

Result<void> loadSystemd() {
    if (library()) return {};
    const char* reason = ::dlerror();
    return Error{ErrorCode::NotFound, reason ? Sentence(reason) : textKey("libsystemd cannot be loaded")};
}

void* findInSystemd(const char* name) {
    void* const address = library() ? ::dlsym(library(), name) : nullptr;
    if (!address) giveUp();
    return address;
}

sd_bus_vtable startOfBusTable() {
    sd_bus_vtable start{};
    start.type = _SD_BUS_VTABLE_START;
    start.x.start.element_size = sizeof(sd_bus_vtable);
    start.x.start.features = _SD_BUS_VTABLE_PARAM_NAMES;
    // Any address says that this is a table of today's format.
    static const unsigned format = 0;
    start.x.start.vtable_format_reference = &format;
    return start;
}

}  // namespace dravo
