#include "session/session.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <fstream>
#include <map>

#include "base/unique_fd.h"
#include "session/x11_session.h"
#include "support/temporary_folder.h"

namespace dravo {
namespace {

using Variables = std::map<std::string, std::string>;

bool choosesX11(const Variables& variables) {
    const auto session = Session::choose(Session::Guarding::byCaller, [&](const char* name) {
        const auto found = variables.find(name);
        return found == variables.end() ? nullptr : found->second.c_str();
    });
    return dynamic_cast<X11Session*>(session.get()) != nullptr;
}

TEST(SessionTest, TakesX11OnlyOutsideAWaylandSession) {
    const testing::TemporaryFolder folder;
    const std::string runtime = folder.path();
    const UniqueFd compositor(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{.sun_family = AF_UNIX, .sun_path = {}};
    const std::string socket = runtime + "/wayland-1";
    ASSERT_LT(socket.size(), sizeof(address.sun_path));
    socket.copy(address.sun_path, socket.size());
    ASSERT_EQ(::bind(compositor.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
    std::ofstream(runtime + "/file") << "no socket";

    const struct {
        const char* name;
        Variables variables;
        bool isX11;
    } rows[] = {
        {"nothing at all", {}, true},
        {"an X server", {{"DISPLAY", ":0"}}, true},
        {"a login on X", {{"DISPLAY", ":0"}, {"XDG_SESSION_TYPE", "x11"}}, true},
        {"a login on a terminal", {{"XDG_SESSION_TYPE", "tty"}}, true},
        {"a login on Wayland, with its X server", {{"DISPLAY", ":0"}, {"XDG_SESSION_TYPE", "wayland"}}, false},
        {"a compositor started by hand",
         {{"DISPLAY", ":0"},
          {"XDG_SESSION_TYPE", "tty"},
          {"XDG_RUNTIME_DIR", runtime},
          {"WAYLAND_DISPLAY", "wayland-1"}},
         false},
        {"a compositor by its path", {{"DISPLAY", ":0"}, {"WAYLAND_DISPLAY", socket}}, false},
        {"a compositor that is gone",
         {{"DISPLAY", ":0"}, {"XDG_RUNTIME_DIR", runtime}, {"WAYLAND_DISPLAY", "wayland-0"}},
         true},
        {"a compositor without a folder", {{"DISPLAY", ":0"}, {"WAYLAND_DISPLAY", "wayland-1"}}, true},
        {"no name", {{"DISPLAY", ":0"}, {"XDG_RUNTIME_DIR", runtime}, {"WAYLAND_DISPLAY", ""}}, true},
        {"a file", {{"DISPLAY", ":0"}, {"XDG_RUNTIME_DIR", runtime}, {"WAYLAND_DISPLAY", "file"}}, true},
    };
    for (const auto& row : rows) EXPECT_EQ(choosesX11(row.variables), row.isX11) << row.name;
}

}  // namespace
}  // namespace dravo
