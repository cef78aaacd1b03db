#include "support/memory/memory_display_server.h"

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

}  // namespace
}  // namespace dravo
