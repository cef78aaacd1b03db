#include "support/memory/memory_table_device.h"
#include "support/memory/virtual_scheduler.h"

#include <gtest/gtest.h>

#include <array>
#include <memory>

#include "platform/displays_contract.h"

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
    TableDevice& connect() override {
        client_.reset();
        return *(client_ = std::make_unique<memory::MemoryTableDevice>(desk_));
    }
    Scheduler& scheduler() override { return scheduler_; }
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
    bool eventually(const std::function<bool()>& condition) override {
        scheduler_.advance(std::chrono::seconds(1));
        return condition();
    }

private:
    static CrtcId crtc(int slot) { return CrtcId{static_cast<std::uint32_t>(slot) + 1}; }
    static std::size_t index(int slot) { return static_cast<std::size_t>(slot); }

    memory::VirtualDesk desk_;
    std::array<std::vector<std::uint8_t>, kSlots> edids_;
    memory::VirtualScheduler scheduler_;
    std::unique_ptr<memory::MemoryTableDevice> client_;
};

const auto kMaker = ::testing::Values(DisplayBenchMaker{"Memory", [] { return std::make_unique<MemoryBench>(); }});
INSTANTIATE_TEST_SUITE_P(Memory, TableDeviceContract, kMaker);
INSTANTIATE_TEST_SUITE_P(Memory, DisplaysContract, kMaker);

TEST(MemoryTableDeviceTest, CountsMirroredOutputsAsOneDisplay) {
    memory::VirtualDesk desk;
    const CrtcId crtc = desk.addCrtc(256);
    desk.plug("HDMI-1", crtc);
    desk.plug("DP-1", crtc);
    memory::MemoryTableDevice device(desk);
    memory::VirtualScheduler scheduler;
    OriginalGammaStore store({});
    RememberedDisplays displays(device, store, scheduler);
    displays.begin(LastingDisplays::Beginning::looking);
    ASSERT_EQ(displays.list()->size(), 1U);
    EXPECT_EQ(displays.list()->front().name, "DP-1");
}

}  // namespace
}  // namespace dravo
