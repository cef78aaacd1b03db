#include "session/wayland_socket.h"

#include <sys/stat.h>

#include <string_view>

namespace dravo {

std::optional<std::string> waylandSocket(const Environment& environment) {
    const char* const name = environment("WAYLAND_DISPLAY");
    if (!name || *name == '\0') return std::nullopt;
    std::string path = name;
    if (*name != '/') {
        const char* const folder = environment("XDG_RUNTIME_DIR");
        if (!folder) return std::nullopt;
        path = std::string(folder) + "/" + name;
    }
    struct stat found {};
    const bool isThere = ::stat(path.c_str(), &found) == 0 && S_ISSOCK(found.st_mode);
    return isThere ? std::optional(path) : std::nullopt;
}

bool isWaylandSession(const Environment& environment) {
    const char* const kind = environment("XDG_SESSION_TYPE");
    return (kind && std::string_view(kind) == "wayland") || environment("WAYLAND_SOCKET") || waylandSocket(environment);
}

}  // namespace dravo
