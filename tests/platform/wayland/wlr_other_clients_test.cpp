// Independent clients of the same protocol: what they make of our small compositor shows whether it is one, and they
// are who else may hold a display's table.
#include <cstdlib>
#include <filesystem>
#include <optional>

#include "platform/wayland/wlr_client.h"
#include "support/child_process.h"

namespace dravo::testing {
namespace {

using namespace std::chrono_literals;

struct OtherClient {
    const char* program;
    std::vector<std::string> arguments;
};
void PrintTo(const OtherClient& client, std::ostream* out) { *out << client.program; }

class WlrOtherClientsTest : public ::testing::TestWithParam<OtherClient> {
protected:
    void SetUp() override {
        if (std::filesystem::exists(program())) return;
        if (std::getenv("DRAVO_REQUIRE_DESKTOP")) FAIL() << program() << " is not installed";
        GTEST_SKIP() << program() << " is not installed";
    }
    static std::string program() { return std::string("/usr/bin/") + GetParam().program; }

    /// Starts it on the compositor, which then shows its table.
    void startOther(SmallCompositor& compositor) {
        other_.emplace(program(), ChildProcess::Options{.arguments = GetParam().arguments,
                                                        .environment = {{"WAYLAND_DISPLAY", compositor.address()},
                                                                        {"XDG_RUNTIME_DIR", home_.path()},
                                                                        {"HOME", home_.path()}}});
    }
    bool hasTable(SmallCompositor& compositor, const std::string& output) {
        return compositor.holder(output) == other_->pid() && compositor.table(output) &&
               compositor.table(output)->blue.back() < compositor.table(output)->red.back();
    }
    void endOther() {
        other_->signal(SIGTERM);
        other_->waitForExit();
    }

    std::optional<ChildProcess> other_;

private:
    TemporaryFolder home_;
};

INSTANTIATE_TEST_SUITE_P(Clients, WlrOtherClientsTest,
                         ::testing::Values(OtherClient{"gammastep", {"-m", "wayland", "-P", "-O", "3500"}},
                                           OtherClient{"wlsunset", {"-t", "3500", "-T", "3501", "-l", "1", "-L", "1"}}),
                         [](const auto& client) { return client.param.program; });

TEST_P(WlrOtherClientsTest, WorkOnTheSmallCompositorAndAreNotDisturbedByUs) {
    for (const auto kind : {SmallCompositor::sway(), SmallCompositor::hyprland(), SmallCompositor::niri()}) {
        SmallCompositor compositor(kind);
        compositor.plug("DP-1");
        compositor.plug("DP-2", 1024);
        startOther(compositor);
        ASSERT_TRUE(waitUntil([&] { return hasTable(compositor, "DP-1") && hasTable(compositor, "DP-2"); }))
            << other_->standardError();

        WlrClient client(compositor);
        client.listen();
        static_cast<void>(client->list());
        client->show(tinted(), Fade::animated);
        EXPECT_TRUE(client.eventually([&] { return client.row("DP-1").state == DisplayState::refused; }));
        EXPECT_TRUE(hasTable(compositor, "DP-1"));
        EXPECT_TRUE(other_->isRunning());

        endOther();
        EXPECT_TRUE(waitUntil([&] { return !compositor.table("DP-1"); }));
        client->show(tinted(0.5F), Fade::none);
        EXPECT_TRUE(client.eventually([&] { return compositor.table("DP-1") == toLevels(tinted(0.5F), 256); }));

        startOther(compositor);
        client.runFor(200ms);
        EXPECT_EQ(compositor.table("DP-1"), toLevels(tinted(0.5F), 256)) << "it comes second";
        EXPECT_TRUE(client.isReady("DP-1"));
    }
}

TEST_P(WlrOtherClientsTest, TakeADisplayFromUsWhereTheCompositorLetsThem) {
    SmallCompositor compositor(SmallCompositor::oldSway());
    compositor.plug("DP-1");
    WlrClient client(compositor);
    client.listen();
    client->show(tinted(), Fade::none);
    ASSERT_TRUE(client.eventually([&] { return client.isReady("DP-1") && compositor.table("DP-1"); }));
    startOther(compositor);
    ASSERT_TRUE(client.eventually([&] { return client.row("DP-1").state == DisplayState::held; }));
    client.runFor(1200ms);
    EXPECT_NE(compositor.table("DP-1"), toLevels(tinted(), 256)) << "nobody fights";
    endOther();
    client->forgetContents();
    client->loadAgain();
    EXPECT_TRUE(client.eventually([&] { return compositor.table("DP-1") == toLevels(tinted(), 256); }));
}

}  // namespace
}  // namespace dravo::testing
