#include "platform/memory/memory_display_server.h"

#include <gtest/gtest.h>

#include <array>
#include <memory>

#include "platform/display_server_contract.h"

namespace dravo {
namespace {

class MemoryBench final : public DisplayBench {
public:
    MemoryBench() {
        for (int slot = 0; slot < kSlots; ++slot) {
            desk_.addCrtc(slot == 2 ? 1024 : 256);
            foreignWrite(slot, firstOwnTable(slot, held(slot).size()));
            switchOn(slot);
        }
    }
    DisplayServer& connect() override {
        client_.reset();
        return *(client_ = std::make_unique<memory::MemoryDisplayServer>(desk_));
    }
    void switchOn(int slot) override { desk_.plug(connector(slot), crtc(slot), edids_[index(slot)]); }
    void switchOff(int slot) override { desk_.unplug(connector(slot)); }
    void setEdid(int slot, const std::vector<std::uint8_t>& edid) override {
        edids_[index(slot)] = edid;
        if (desk_.outputs().contains(connector(slot))) desk_.setEdid(connector(slot), edid);
    }
    void foreignWrite(int slot, const RampLevels& levels) override { desk_.foreignWrite(crtc(slot), levels); }
    RampLevels held(int slot) override { return desk_.held(crtc(slot)); }
    std::string connector(int slot) override { return "VIRTUAL-" + std::to_string(slot); }
    void shutDown() override { desk_.shutDown(); }
    bool eventually(const std::function<bool()>& condition) override { return condition(); }

private:
    static CrtcId crtc(int slot) { return CrtcId{static_cast<std::uint32_t>(slot) + 1}; }
    static std::size_t index(int slot) { return static_cast<std::size_t>(slot); }

    memory::VirtualDesk desk_;
    std::array<std::vector<std::uint8_t>, kSlots> edids_;
    std::unique_ptr<memory::MemoryDisplayServer> client_;
};

INSTANTIATE_TEST_SUITE_P(Memory, DisplayServerContract,
                         ::testing::Values(DisplayBenchMaker{"Memory", [] { return std::make_unique<MemoryBench>(); }}),
                         [](const auto& maker) { return maker.param.name; });

GammaTable tint() {
    GammaTable table = GammaTable::identity();
    for (float& level : table.blue) level *= 0.25F;
    return table;
}

TEST(MemoryDisplayServerTest, ListsADisplayWithoutATableButNeverTouchesIt) {
    memory::VirtualDesk desk;
    desk.plug("DP-1", desk.addCrtc(0));
    const CrtcId good = desk.addCrtc(1024);
    desk.plug("DP-2", good);
    memory::MemoryDisplayServer server(desk);
    const auto displays = server.describeDisplays().value();
    ASSERT_EQ(displays.size(), 2U);
    EXPECT_FALSE(displays[0].problem.empty());
    EXPECT_TRUE(displays[1].problem.empty());
    EXPECT_EQ(server.onlineDisplays(kMaxDisplays).value(), std::vector{displays[1].id});
    const auto results =
        server.loadTables(std::array{DisplayTable{displays[0].id, tint()}, DisplayTable{displays[1].id, tint()}});
    EXPECT_EQ(results[0].error().code, ErrorCode::Unsupported);
    EXPECT_TRUE(results[1]);
    EXPECT_EQ(desk.held(good), toLevels(tint(), 1024));
}

TEST(MemoryDisplayServerTest, CountsMirroredOutputsAsOneDisplay) {
    memory::VirtualDesk desk;
    const CrtcId crtc = desk.addCrtc(256);
    desk.plug("HDMI-1", crtc);
    desk.plug("DP-1", crtc);
    memory::MemoryDisplayServer server(desk);
    const auto displays = server.describeDisplays().value();
    ASSERT_EQ(displays.size(), 1U);
    EXPECT_EQ(displays[0].name, "DP-1");
    desk.unplug("HDMI-1");
    EXPECT_EQ(server.onlineDisplays(kMaxDisplays).value(), std::vector{displays[0].id});
}

TEST(MemoryDisplayServerTest, RestoresTheProfilesCalibrationButSavesTheTableFound) {
    memory::VirtualDesk desk;
    const CrtcId crtc = desk.addCrtc(256);
    GammaTable vcgt = GammaTable::identity();
    for (float& level : vcgt.red) level *= 0.9F;
    desk.plug("DP-1", crtc, {}, vcgt);
    memory::MemoryDisplayServer server(desk);
    const DisplayId id = server.onlineDisplays(1).value().front();
    server.loadTables(std::array{DisplayTable{id, tint()}});
    EXPECT_EQ(toLevels(server.ownTable(id).value(), 256), toLevels(GammaTable::identity(), 256));
    ASSERT_TRUE(server.restoreCalibration());
    EXPECT_EQ(desk.held(crtc), toLevels(vcgt, 256));
}

TEST(MemoryDisplayServerTest, WritesOnlyWhatDiffersUnlessTheHardwareMayHaveForgotten) {
    memory::VirtualDesk desk;
    const CrtcId crtc = desk.addCrtc(256);
    desk.plug("DP-1", crtc);
    memory::MemoryDisplayServer server(desk);
    const std::array load{DisplayTable{server.onlineDisplays(1).value().front(), tint()}};
    server.loadTables(load);
    server.loadTables(load);
    server.keepTables(load);
    EXPECT_EQ(desk.log.size(), 1U);
    desk.loseHardwareContents();
    server.loadTables(load);
    EXPECT_NE(desk.shown(crtc), toLevels(tint(), 256)) << "the server's copy gives no sign";
    server.forgetContents();
    server.loadTables(load);
    EXPECT_EQ(desk.shown(crtc), toLevels(tint(), 256));
}

TEST(MemoryDisplayServerTest, KeepsOwingWhatTheServerRefusedToTakeBack) {
    memory::VirtualDesk desk;
    const CrtcId first = desk.addCrtc(256);
    const CrtcId second = desk.addCrtc(256);
    desk.plug("DP-1", first);
    desk.plug("DP-2", second);
    memory::MemoryDisplayServer server(desk);
    for (const DisplayId id : server.onlineDisplays(2).value()) server.loadTables(std::array{DisplayTable{id, tint()}});
    desk.refusesWritingTo = second;
    EXPECT_EQ(server.restoreCalibration().error().code, ErrorCode::PermissionDenied);
    EXPECT_EQ(desk.held(first), toLevels(GammaTable::identity(), 256));
    desk.refusesWritingTo.reset();
    ASSERT_TRUE(server.restoreCalibration());
    EXPECT_EQ(desk.held(second), toLevels(GammaTable::identity(), 256));
}

}  // namespace
}  // namespace dravo
