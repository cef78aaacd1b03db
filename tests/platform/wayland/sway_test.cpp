// A real compositor of the family whose outputs have no tables: without hardware it refuses each.
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <optional>

#include "platform/wayland/wlr_client.h"
#include "support/child_process.h"

namespace dravo::testing {
namespace {

namespace fs = std::filesystem;

class SwayTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (!fs::exists("/usr/bin/sway")) {
            if (std::getenv("DRAVO_REQUIRE_DESKTOP")) FAIL() << "sway is not installed";
            GTEST_SKIP() << "sway is not installed";
        }
        // It does not run for root; its socket is for whoever finds it.
        fs::permissions(runtime_.path(), fs::perms::all);
        std::vector<std::string> command{"sh", "-c", "umask 0; exec sway -c /dev/null"};
        if (::geteuid() == 0)
            command.insert(command.begin(), {"setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"});
        sway_.emplace("/usr/bin/env", ChildProcess::Options{.arguments = command,
                                                            .environment = {{"PATH", "/usr/bin:/bin"},
                                                                            {"HOME", runtime_.path()},
                                                                            {"XDG_RUNTIME_DIR", runtime_.path()},
                                                                            {"WLR_BACKENDS", "headless"},
                                                                            {"WLR_RENDERER", "pixman"},
                                                                            {"WLR_LIBINPUT_NO_DEVICES", "1"}}});
        ASSERT_TRUE(waitUntil([&] { return !address().empty(); })) << sway_->standardError();
    }
    std::string address() const {
        for (const auto& entry : fs::directory_iterator(runtime_.path()))
            if (entry.is_socket() && entry.path().filename().string().starts_with("wayland-")) return entry.path();
        return {};
    }

    TemporaryFolder runtime_;
    std::optional<ChildProcess> sway_;
};

TEST_F(SwayTest, RefusesATableAndIsAskedOnce) {
    WlrClient client(address());
    client.listen();
    ASSERT_TRUE(client.eventually([&] { return client->list()->size() == 1; }));
    const auto before = client->list()->front();
    EXPECT_EQ(before.name, "HEADLESS-1");
    EXPECT_EQ(before.state, DisplayState::ready);
    int changes = 0;
    const auto watch = client->onListChange([&] { ++changes; });
    client->show(tinted(), Fade::animated);
    EXPECT_TRUE(client.eventually([&] { return client->list()->front().state == DisplayState::refused; }));
    EXPECT_TRUE(client.eventually([&] { return !client->isFading(); }));
    client.runFor(std::chrono::milliseconds{300});
    EXPECT_EQ(changes, 1);
    ASSERT_TRUE(client->giveBack(Displays::GivingBack::forGood));
}

}  // namespace
}  // namespace dravo::testing
