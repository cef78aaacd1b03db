#pragma once

#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "base/files.h"
#include "display/remembered_displays.h"
#include "platform/display_bench.h"
#include "support/temporary_folder.h"

namespace dravo {

/// How to make the bench of one adapter.
struct DisplayBenchMaker {
    std::string name;
    std::function<std::unique_ptr<DisplayBench>()> make;
};

/// A desk, and clients of it one after the other.
class DisplayContract : public ::testing::TestWithParam<DisplayBenchMaker> {
protected:
    using Beginning = LastingDisplays::Beginning;

    void SetUp() override {
        bench = GetParam().make();
        ASSERT_NE(bench, nullptr);
        for (int slot = 0; slot < DisplayBench::kSlots; ++slot) own.push_back(bench->held(slot));
    }

    /// A run begins. The one before, if any, was killed.
    RememberedDisplays& begin(Beginning how = Beginning::afresh) {
        displays.reset();
        TableDevice& device = bench->connect();
        store = std::make_unique<OriginalGammaStore>(DataFolder{home / ".dravo", {}});
        displays = std::make_unique<RememberedDisplays>(device, *store, bench->scheduler());
        displays->begin(how);
        return *displays;
    }

    std::optional<DisplayId> idOf(int slot) {
        const auto list = displays->list();
        if (!list) return std::nullopt;
        for (const auto& display : *list)
            if (display.name == bench->connector(slot)) return display.id;
        return std::nullopt;
    }

    static GammaTable tint(float blue = 0.25F) {
        GammaTable table = GammaTable::identity();
        for (float& level : table.green) level *= 0.5F;
        for (float& level : table.blue) level *= blue;
        return table;
    }
    [[nodiscard]] RampLevels levels(const GammaTable& table, int slot = 0) const {
        return toLevels(table, own[static_cast<std::size_t>(slot)].size());
    }
    [[nodiscard]] const RampLevels& ownOf(int slot) const { return own[static_cast<std::size_t>(slot)]; }

    std::unique_ptr<DisplayBench> bench;
    std::vector<RampLevels> own;
    testing::TemporaryFolder home;
    std::unique_ptr<OriginalGammaStore> store;
    std::unique_ptr<RememberedDisplays> displays;
};

/// What every TableDevice does.
class TableDeviceContract : public DisplayContract {};

TEST_P(TableDeviceContract, ReadsAndWritesLevelsBitForBitAndAnswersForEachTable) {
    TableDevice& device = bench->connect();
    const auto crtcOf = [&](int slot) {
        for (const auto& output : device.topology().outputs)
            if (output.connector == bench->connector(slot)) return output.crtc;
        return std::optional<CrtcId>();
    };
    const CrtcId first = crtcOf(0).value();
    const RampLevels crooked = DisplayBench::firstOwnTable(7, ownOf(0).size());
    std::optional<TableDevice::Outcomes> outcomes;
    const std::array writes{CrtcLevels{CrtcId{0xfffffffU}, crooked}, CrtcLevels{first, crooked}};
    device.write(writes, [&](TableDevice::Outcomes answered) { outcomes = std::move(answered); });
    ASSERT_TRUE(bench->eventually([&] { return outcomes.has_value(); }));
    EXPECT_FALSE(outcomes->at(0));
    EXPECT_TRUE(outcomes->at(1));
    EXPECT_EQ(bench->held(0), crooked);
    EXPECT_EQ(bench->held(1), ownOf(1)) << "nobody asked for this one";

    std::optional<Result<TableDevice::Levels>> held;
    device.read(std::array{first, CrtcId{0xfffffffU}},
                [&](Result<TableDevice::Levels> read) { held = std::move(read); });
    ASSERT_TRUE(bench->eventually([&] { return held.has_value(); }));
    EXPECT_EQ((**held)[0], crooked);
    EXPECT_EQ((**held)[1].size(), 0U);

    bench->switchOff(1);
    EXPECT_EQ(crtcOf(1), std::nullopt);
    EXPECT_EQ(device.topology().crtcs.size() >= 3, true) << "a table stays when its display goes";
}

TEST_P(TableDeviceContract, SaysOnceThatTheServerIsGone) {
    begin().show(tint(), Fade::none);
    const DisplayId id = idOf(0).value();
    int losses = 0;
    const auto watch = displays->onLoss([&] { ++losses; });
    bench->shutDown();
    EXPECT_TRUE(bench->eventually([&] { return losses > 0; }));
    EXPECT_EQ(losses, 1);
    EXPECT_EQ(displays->list().error().code, ErrorCode::Disconnected);
    EXPECT_EQ(displays->held(std::array{id}).front().error().code, ErrorCode::Disconnected);
    displays->show(tint(0.1F), Fade::none);
    EXPECT_EQ(displays->giveBack(Displays::GivingBack::forGood).error().code, ErrorCode::Disconnected);
}

/// What a session's displays do whose tables outlive their writer.
class DisplaysContract : public DisplayContract {};

TEST_P(DisplaysContract, ListsWhatIsOnUnderNumbersThatSurviveARestartAndAReplug) {
    begin();
    std::set<DisplayId> ids;
    for (int slot = 0; slot < DisplayBench::kSlots; ++slot) ids.insert(idOf(slot).value());
    EXPECT_EQ(ids.size(), 3U);
    EXPECT_FALSE(ids.contains(DisplayId{}));

    int changes = 0;
    const auto watch = displays->onListChange([&] { ++changes; });
    const auto id = idOf(1);
    bench->switchOff(1);
    EXPECT_EQ(displays->list()->size(), 2U);
    EXPECT_GE(changes, 1);
    bench->switchOn(1);
    EXPECT_EQ(idOf(1), id);
    begin();
    EXPECT_EQ(idOf(1), id);
}

TEST_P(DisplaysContract, ShowsAWishOfAnyLengthEverywhereAndTellsWhatIsHeld) {
    begin();
    const GammaTable half{{0.0F, 0.5F}, {0.0F, 0.5F}, {0.25F, 0.5F}};
    displays->show(half, Fade::none);
    for (int slot = 0; slot < DisplayBench::kSlots; ++slot) EXPECT_EQ(bench->held(slot), levels(half, slot));
    EXPECT_EQ(bench->held(1).red.back(), 32768);
    EXPECT_EQ(displays->held(std::array{idOf(2).value()}).front().value(), toTable(levels(half, 2)));
    EXPECT_EQ(displays->held(std::array{DisplayId{1}}).front().error().code, ErrorCode::NotFound);

    GammaTable unequal = tint();
    unequal.blue.pop_back();
    for (const auto& wrong : {unequal, GammaTable{{1.0F}, {1.0F}, {1.0F}}}) displays->show(wrong, Fade::none);
    EXPECT_EQ(bench->held(1), levels(half, 1));
}

TEST_P(DisplaysContract, BringsBackWhatAnotherProgramChanged) {
    begin().show(tint(), Fade::none);
    bench->foreignWrite(0, ownOf(0));
    displays->loadAgain();
    EXPECT_EQ(bench->held(0), levels(tint(), 0));
    bench->foreignWrite(2, ownOf(2));
    EXPECT_TRUE(bench->eventually([&] {
        displays->look();
        return bench->held(2) == levels(tint(), 2);
    }));
}

TEST_P(DisplaysContract, GivesBackTheTablesFoundRightBeforeTheFirstWrite) {
    begin();
    bench->eventually([] { return true; });  // A while passes.
    const RampLevels calibrated = DisplayBench::firstOwnTable(5, ownOf(1).size());
    bench->foreignWrite(1, calibrated);
    displays->show(tint(), Fade::none);
    bench->foreignWrite(2, levels(GammaTable::identity(), 2));
    displays->show(tint(0.1F), Fade::none);
    ASSERT_TRUE(displays->giveBack(Displays::GivingBack::forNow));
    EXPECT_EQ(bench->held(0), ownOf(0));
    EXPECT_EQ(bench->held(1), calibrated);
    EXPECT_EQ(bench->held(2), ownOf(2));
}

TEST_P(DisplaysContract, RestoresADisplayThatIsOffByNow) {
    begin().show(tint(), Fade::none);
    bench->switchOff(1);
    ASSERT_TRUE(displays->giveBack(Displays::GivingBack::forNow));
    bench->switchOn(1);
    EXPECT_EQ(bench->held(1), ownOf(1));
}

TEST_P(DisplaysContract, TellsOfADisplayInTimeToFilterItAtOnce) {
    begin();
    bench->switchOff(1);
    displays->show(tint(), Fade::none);
    int calls = 0;
    const auto watch = displays->onLoadNeeded([&] {
        ++calls;
        displays->loadAgain();
    });
    bench->switchOn(1);
    EXPECT_GE(calls, 1);
    EXPECT_EQ(bench->held(1), levels(tint(), 1));
    ASSERT_TRUE(displays->giveBack(Displays::GivingBack::forNow));
    EXPECT_EQ(bench->held(1), ownOf(1));
}

TEST_P(DisplaysContract, TakesAnotherMonitorOnACrtcThatCarriesOursForUntouched) {
    begin().show(tint(), Fade::none);
    const DisplayId before = idOf(1).value();
    bench->switchOff(1);
    bench->setEdid(1, std::vector<std::uint8_t>(128, 0x42));
    bench->switchOn(1);
    EXPECT_NE(idOf(1).value(), before);
    displays->show(tint(0.1F), Fade::none);
    ASSERT_TRUE(displays->giveBack(Displays::GivingBack::forNow));
    EXPECT_EQ(bench->held(1), ownOf(1));
}

TEST_P(DisplaysContract, UndoesWhatAnEarlierRunLeftOnADisplayThatComesBackLater) {
    begin().show(tint(), Fade::none);
    bench->switchOff(1);
    begin().show(std::nullopt, Fade::none);
    bench->switchOn(1);
    EXPECT_EQ(bench->held(1), ownOf(1)) << "nothing is filtered, and it carried a tint";
}

TEST_P(DisplaysContract, FindsAMonitorAgainOnAConnectorOfAnotherName) {
    const std::vector<std::uint8_t> edid(128, 0x17);
    begin();
    bench->setEdid(1, edid);
    displays->show(tint(), Fade::none);
    const DisplayId id = idOf(1).value();
    bench->switchOff(1);
    bench->setEdid(1, {});
    bench->setEdid(2, edid);
    begin();
    EXPECT_EQ(idOf(2), id);
}

TEST_P(DisplaysContract, TrustsNobodysTableAfterALostFile) {
    begin().show(tint(), Fade::none);
    displays.reset();
    ASSERT_TRUE(writeFileAtomically(home / ".dravo/original_gamma.json", "{"));
    begin().show(std::nullopt, Fade::none);
    for (int slot = 0; slot < DisplayBench::kSlots; ++slot)
        EXPECT_EQ(bench->held(slot), levels(GammaTable::identity(), slot));
}

}  // namespace dravo
