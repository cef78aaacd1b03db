// The panel in a Wayland session without a bar: a window of its own, which a real compositor lays out.
#include <gtest/gtest.h>

#include <cstdlib>
#include <nlohmann/json.hpp>

#include "support/private_bus.h"
#include "support/private_sway.h"
#include "support/process_under_test.h"

namespace dravo::testing {
namespace {

using Json = nlohmann::json;

class WaylandPanelTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (PrivateSway::isInstalled() && PrivateBus::isInstalled()) {
            sway.emplace();
            bus.emplace();
            ASSERT_FALSE(sway->address().empty()) << sway->standardError();
            return;
        }
        if (std::getenv("DRAVO_REQUIRE_DESKTOP")) FAIL() << "sway or dbus-daemon is not installed";
        GTEST_SKIP() << "sway or dbus-daemon is not installed";
    }

    std::map<std::string, std::string> session() const {
        return {{"WAYLAND_DISPLAY", sway->address()},
                {"XDG_SESSION_TYPE", "wayland"},
                {"DBUS_SESSION_BUS_ADDRESS", bus->address()}};
    }
    std::unique_ptr<ProcessUnderTest> start(std::vector<std::string> arguments = {}) {
        return std::make_unique<ProcessUnderTest>(home, std::move(arguments), session());
    }
    ProgramOutcome command(std::vector<std::string> words) { return runProgram(home, std::move(words), session()); }

    /// The panel as the compositor knows it; null where there is none.
    Json panel() const { return find(Json::parse(sway->ask({"-t", "get_tree"}))); }
    bool soonIsOpen() {
        return waitUntil([&] {
            const Json window = panel();
            return !window.is_null() && window["focused"] == true;
        });
    }
    bool soonIsClosed() {
        return waitUntil([&] { return panel().is_null(); });
    }

    TestHome home;
    std::optional<PrivateSway> sway;
    std::optional<PrivateBus> bus;

private:
    static Json find(const Json& node) {
        if (node.value("app_id", Json()) == "dravo") return node;
        for (const char* const kind : {"nodes", "floating_nodes"})
            for (const auto& child : node[kind])
                if (const Json found = find(child); !found.is_null()) return found;
        return {};
    }
};

TEST_F(WaylandPanelTest, FloatsAtItsOwnSizeAndGoesWithTheKeyboard) {
    home.writePreferences("hasSeenOnboarding = true\n");
    const auto run = start({"--autostart"});
    ASSERT_TRUE(waitUntil([&] { return command({"panel"}).status == ExitStatus::exited(0); })) << run->standardError();
    ASSERT_TRUE(soonIsOpen()) << run->standardError() << sway->ask({"-t", "get_tree"});
    const Json window = panel();
    EXPECT_EQ(window["type"], "floating_con");
    EXPECT_GE(window["rect"]["width"], 320);
    EXPECT_LT(window["rect"]["width"], 480);

    static_cast<void>(sway->ask({"workspace", "elsewhere"}));
    EXPECT_TRUE(soonIsClosed()) << run->standardError();

    // A second start asks for it, too.
    EXPECT_EQ(command({}).out, "Dravo is running already.\n");
    EXPECT_TRUE(soonIsOpen());
    EXPECT_EQ(command({"toggle"}).status, ExitStatus::exited(0));
    EXPECT_EQ(command({"quit"}).status, ExitStatus::exited(0));
    EXPECT_EQ(run->waitForExit(), ExitStatus::exited(0)) << run->standardError();
}

TEST_F(WaylandPanelTest, OpensByItselfWhereNoTrayShowsTheIcon) {
    home.writePreferences("hasSeenOnboarding = true\n");
    const auto run = start();
    EXPECT_TRUE(soonIsOpen()) << run->standardError();
    EXPECT_EQ(run->standardError().find("xcb"), std::string::npos) << run->standardError();
    EXPECT_EQ(command({"quit"}).status, ExitStatus::exited(0));
}

}  // namespace
}  // namespace dravo::testing
