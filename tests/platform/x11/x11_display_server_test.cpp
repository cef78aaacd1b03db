#include "platform/x11/x11_display_server.h"

#include <gtest/gtest.h>

#include <array>

#include "platform/display_server_contract.h"
#include "platform/posix/sd_event_loop.h"
#include "support/desktop_test.h"
#include "support/wait_until.h"

namespace dravo {
namespace {

using testing::Ramp;

RampLevels asLevels(const Ramp& ramp) { return {ramp.red, ramp.green, ramp.blue}; }
Ramp asRamp(const RampLevels& levels) { return {levels.red, levels.green, levels.blue}; }

/// A client of a private X server with a loop of its own.
class X11Client {
public:
    explicit X11Client(const std::string& address) : emergency_(address) {
        if (!emergency_.open()) throw std::runtime_error("no second connection");
        auto created = x11::X11DisplayServer::create(address, &emergency_);
        if (!created) throw std::runtime_error(created.error().message);
        server_ = std::move(*created);
        server_->listen(loop_, loop_);
    }

    x11::X11DisplayServer& server() { return *server_; }
    x11::EmergencyRestore& emergency() { return emergency_; }

    /// Serves what has come so far.
    void runTurns() {
        while (sd_event_run(loop_.event(), 0) > 0) {
        }
    }

private:
    posix::SdEventLoop loop_;
    x11::EmergencyRestore emergency_;
    std::unique_ptr<x11::X11DisplayServer> server_;
};

class X11Bench final : public DisplayBench {
public:
    X11Bench() : xServer_(kSlots) {
        for (int slot = 0; slot < kSlots; ++slot) foreignWrite(slot, firstOwnTable(slot, 256));
    }
    DisplayServer& connect() override {
        client_.reset();
        client_ = std::make_unique<X11Client>(xServer_.address());
        return client_->server();
    }
    void switchOn(int slot) override {
        xServer_.displays().enable(connector(slot), 1024 * slot);
        deliver();
    }
    void switchOff(int slot) override {
        xServer_.displays().disable(connector(slot));
        deliver();
    }
    void setEdid(int slot, const std::vector<std::uint8_t>& edid) override {
        xServer_.displays().setEdid(connector(slot), edid);
        deliver();
    }
    void foreignWrite(int slot, const RampLevels& levels) override {
        xServer_.displays().setRamp(connector(slot), asRamp(levels));
    }
    RampLevels held(int slot) override { return asLevels(xServer_.displays().ramp(connector(slot))); }
    std::string connector(int slot) override { return "DUMMY" + std::to_string(slot); }
    void shutDown() override { xServer_.kill(); }
    bool eventually(const std::function<bool()>& condition) override {
        return testing::waitUntil([&] {
            client_->runTurns();
            return condition();
        });
    }

private:
    // The server sends its events before it answers the request that caused them, and the bench has had that answer;
    // a question of the client's own orders its queue behind them.
    void deliver() {
        if (!client_) return;
        client_->server().readTables(client_->server().onlineDisplays(1).value());
        client_->runTurns();
    }

    testing::PrivateXServer xServer_;
    std::unique_ptr<X11Client> client_;
};

std::unique_ptr<DisplayBench> makeX11Bench() {
    if (!testing::PrivateXServer::isInstalled() && !std::getenv("DRAVO_REQUIRE_DESKTOP")) return nullptr;
    return std::make_unique<X11Bench>();
}

INSTANTIATE_TEST_SUITE_P(X11, DisplayServerContract, ::testing::Values(DisplayBenchMaker{"X11", makeX11Bench}),
                         [](const auto& maker) { return maker.param.name; });

class X11DisplayServerTest : public testing::DesktopTest {
protected:
    static GammaTable dimmed(float by) {
        GammaTable table = GammaTable::identity();
        for (auto* channel : {&table.red, &table.green, &table.blue})
            for (float& level : *channel) level *= by;
        return table;
    }
    static std::vector<DisplayTable> forAll(DisplayServer& server, const GammaTable& table) {
        std::vector<DisplayTable> tables;
        for (const DisplayId id : server.onlineDisplays(kMaxDisplays).value()) tables.push_back({id, table});
        return tables;
    }
};

/// A profile with nothing but a one-channel `vcgt` table of two entries, from `black` to `white`.
std::vector<std::uint8_t> profileWithCalibration(unsigned black, unsigned white) {
    std::vector<std::uint8_t> profile(128, 0);
    const auto append = [&](std::initializer_list<unsigned> bytes) {
        for (const unsigned byte : bytes) profile.push_back(static_cast<std::uint8_t>(byte));
    };
    append({0, 0, 0, 1});                                     // one tag
    append({'v', 'c', 'g', 't', 0, 0, 0, 144, 0, 0, 0, 22});  // its place and size
    append({'v', 'c', 'g', 't', 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 2, 0, 2});
    append({black >> 8U, black & 0xffU, white >> 8U, white & 0xffU});
    return profile;
}

TEST_F(X11DisplayServerTest, RestoresTheCalibrationOfTheProfileThatIsSetThen) {
    X11Client client(server().address());
    client.server().loadTables(forAll(client.server(), dimmed(0.5F)));
    displays().setRootProperty("_ICC_PROFILE", profileWithCalibration(0, 0x8000));
    displays().setRootProperty("_ICC_PROFILE_2", profileWithCalibration(0x1000, 0xffff));
    ASSERT_TRUE(client.server().restoreCalibration());
    EXPECT_EQ(displays().ramp("DUMMY0").red.back(), 0x8000);
    EXPECT_EQ(displays().ramp("DUMMY2").green.front(), 0x1000);
}

TEST_F(X11DisplayServerTest, GivesEverythingBackInAnEmergencyWhateverTheEngineStillSends) {
    displays().setRamp("DUMMY1", testing::calibrationRamp(3));
    const auto before = displays().ramps();
    X11Client client(server().address());
    client.server().loadTables(forAll(client.server(), dimmed(0.5F)));
    ASSERT_NE(displays().ramps(), before);

    client.emergency().restore();
    EXPECT_EQ(displays().ramps(), before);
    const auto late = client.server().loadTables(forAll(client.server(), dimmed(0.2F)));
    for (const auto& outcome : late) EXPECT_EQ(outcome.error().code, ErrorCode::Disconnected);
    EXPECT_EQ(displays().ramps(), before);
}

TEST_F(X11DisplayServerTest, LeavesDisplaysAloneInAnEmergencyThatItDoesNotFilter) {
    X11Client client(server().address());
    client.server().loadTables(forAll(client.server(), dimmed(0.5F)));
    ASSERT_TRUE(client.server().restoreCalibration());
    displays().setRamp("DUMMY0", testing::calibrationRamp(4));  // another program's night light
    client.emergency().restore();
    EXPECT_EQ(displays().ramp("DUMMY0"), testing::calibrationRamp(4));
}

TEST_F(X11DisplayServerTest, HasNoGrayOnDriversWithoutAMatrix) {
    X11Client client(server().address());
    EXPECT_EQ(client.server().grayscale().isEnabled().error().code, ErrorCode::Unsupported);
    EXPECT_EQ(client.server().grayscale().setEnabled(true).error().code, ErrorCode::Unsupported);
}

}  // namespace
}  // namespace dravo
