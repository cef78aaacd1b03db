#pragma once

#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "platform/display_bench.h"

namespace dravo {

/// How to make the bench of one adapter.
struct DisplayBenchMaker {
    std::string name;
    std::function<std::unique_ptr<DisplayBench>()> make;
};

/// What every DisplayServer does whose tables outlive their writer.
class DisplayServerContract : public ::testing::TestWithParam<DisplayBenchMaker> {
protected:
    void SetUp() override {
        bench = GetParam().make();
        ASSERT_NE(bench, nullptr);
        for (int slot = 0; slot < DisplayBench::kSlots; ++slot) own.push_back(bench->held(slot));
    }

    std::optional<DisplayId> idOf(DisplayServer& server, int slot) {
        const auto displays = server.describeDisplays();
        if (!displays) return std::nullopt;
        for (const auto& display : *displays)
            if (display.name == bench->connector(slot)) return display.id;
        return std::nullopt;
    }

    std::vector<DisplayTable> forAll(DisplayServer& server, const GammaTable& table) {
        std::vector<DisplayTable> tables;
        for (const DisplayId id : server.onlineDisplays(kMaxDisplays).value()) tables.push_back({id, table});
        return tables;
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
};

TEST_P(DisplayServerContract, ListsWhatIsOnUnderNumbersThatSurviveARestartAndAReplug) {
    DisplayServer& server = bench->connect();
    const auto ids = server.onlineDisplays(kMaxDisplays).value();
    ASSERT_EQ(ids.size(), 3U);
    EXPECT_EQ(std::set(ids.begin(), ids.end()).size(), 3U);
    EXPECT_FALSE(std::set(ids.begin(), ids.end()).contains(DisplayId{}));
    EXPECT_EQ(server.onlineDisplays(2).value().size(), 2U);

    const auto id = idOf(server, 1);
    bench->switchOff(1);
    EXPECT_EQ(server.onlineDisplays(kMaxDisplays).value().size(), 2U);
    EXPECT_EQ(idOf(server, 1), std::nullopt);
    bench->switchOn(1);
    EXPECT_EQ(idOf(server, 1), id);
    EXPECT_EQ(idOf(bench->connect(), 1), id);
}

TEST_P(DisplayServerContract, LoadsAndReadsLevelsBitForBitAndResamplesOtherLengths) {
    DisplayServer& server = bench->connect();
    const DisplayId id = idOf(server, 1).value();
    const RampLevels crooked = DisplayBench::firstOwnTable(7, ownOf(1).size());
    ASSERT_TRUE(server.loadTables(std::array{DisplayTable{id, toTable(crooked)}}).front());
    EXPECT_EQ(bench->held(1), crooked);
    EXPECT_EQ(server.readTables(std::array{id}).front().value(), toTable(crooked));

    const GammaTable half{{0.0F, 0.5F}, {0.0F, 0.5F}, {0.25F, 0.5F}};
    ASSERT_TRUE(server.loadTables(std::array{DisplayTable{id, half}}).front());
    EXPECT_EQ(bench->held(1), levels(half, 1));
    EXPECT_EQ(bench->held(1).red.back(), 32768);
    EXPECT_EQ(bench->held(0), ownOf(0)) << "nobody asked for this one";
}

TEST_P(DisplayServerContract, AnswersForEachTableAndLoadsTheOthers) {
    DisplayServer& server = bench->connect();
    const DisplayId first = idOf(server, 0).value();
    const DisplayId second = idOf(server, 1).value();
    GammaTable unequal = tint();
    unequal.blue.pop_back();
    const std::array loads{DisplayTable{DisplayId{1}, tint()}, DisplayTable{first, unequal},
                           DisplayTable{first, {{1.0F}, {1.0F}, {1.0F}}}, DisplayTable{second, tint()}};
    const auto results = server.loadTables(loads);
    ASSERT_EQ(results.size(), 4U);
    EXPECT_EQ(results[0].error().code, ErrorCode::NotFound);
    EXPECT_EQ(results[1].error().code, ErrorCode::InvalidInput);
    EXPECT_EQ(results[2].error().code, ErrorCode::InvalidInput);
    EXPECT_TRUE(results[3]);
    EXPECT_EQ(bench->held(0), ownOf(0));
    EXPECT_EQ(bench->held(1), levels(tint(), 1));
    EXPECT_EQ(server.readTables(std::array{DisplayId{1}}).front().error().code, ErrorCode::NotFound);
}

TEST_P(DisplayServerContract, BringsBackWhatAnotherProgramChanged) {
    DisplayServer& server = bench->connect();
    const auto tables = forAll(server, tint());
    server.loadTables(tables);

    bench->foreignWrite(0, ownOf(0));
    server.loadTables(tables);
    EXPECT_EQ(bench->held(0), levels(tint(), 0));

    bench->foreignWrite(2, ownOf(2));
    EXPECT_TRUE(bench->eventually([&] {
        server.keepTables(tables);
        return bench->held(2) == levels(tint(), 2);
    }));
}

TEST_P(DisplayServerContract, GivesBackTheTablesFoundRightBeforeTheFirstWrite) {
    DisplayServer& server = bench->connect();
    const RampLevels calibrated = DisplayBench::firstOwnTable(5, ownOf(1).size());
    bench->foreignWrite(1, calibrated);
    server.loadTables(forAll(server, tint()));
    bench->foreignWrite(2, levels(GammaTable::identity(), 2));
    server.loadTables(forAll(server, tint(0.1F)));

    EXPECT_EQ(server.ownTable(idOf(server, 0).value()).value(), toTable(ownOf(0)));
    EXPECT_EQ(server.ownTable(idOf(server, 1).value()).value(), toTable(calibrated));
    ASSERT_TRUE(server.restoreCalibration());
    EXPECT_EQ(bench->held(0), ownOf(0));
    EXPECT_EQ(bench->held(1), calibrated);
    EXPECT_EQ(bench->held(2), ownOf(2));
}

TEST_P(DisplayServerContract, RestoresADisplayThatIsOffByNow) {
    DisplayServer& server = bench->connect();
    server.loadTables(forAll(server, tint()));
    bench->switchOff(1);
    ASSERT_TRUE(server.restoreCalibration());
    bench->switchOn(1);
    EXPECT_EQ(bench->held(1), ownOf(1));
    EXPECT_EQ(server.ownTable(idOf(server, 1).value()).value(), toTable(ownOf(1)));
}

TEST_P(DisplayServerContract, TellsOfADisplayInTimeToFilterItAtOnce) {
    DisplayServer& server = bench->connect();
    bench->switchOff(1);
    server.loadTables(forAll(server, tint()));
    int calls = 0;
    const auto watch = server.onDisplayChange([&] {
        ++calls;
        server.loadTables(forAll(server, tint()));
    });
    bench->switchOn(1);
    EXPECT_GE(calls, 1);
    EXPECT_EQ(bench->held(1), levels(tint(), 1));
    ASSERT_TRUE(server.restoreCalibration());
    EXPECT_EQ(bench->held(1), ownOf(1));
}

TEST_P(DisplayServerContract, TakesAnotherMonitorOnACrtcThatCarriesOursForUntouched) {
    DisplayServer& server = bench->connect();
    server.loadTables(forAll(server, tint()));
    const DisplayId before = idOf(server, 1).value();
    bench->switchOff(1);
    bench->setEdid(1, std::vector<std::uint8_t>(128, 0x42));
    bench->switchOn(1);
    const DisplayId after = idOf(server, 1).value();
    EXPECT_NE(after, before);
    EXPECT_EQ(server.ownTable(after).value(), toTable(ownOf(1)));
    server.loadTables(forAll(server, tint()));
    ASSERT_TRUE(server.restoreCalibration());
    EXPECT_EQ(bench->held(1), ownOf(1));
}

TEST_P(DisplayServerContract, UndoesWhatAnEarlierRunLeftOnADisplayThatComesBackLater) {
    DisplayServer& first = bench->connect();
    first.loadTables(forAll(first, tint()));
    const DisplayId id = idOf(first, 1).value();
    bench->switchOff(1);

    DisplayServer& second = bench->connect();
    second.declareOwnTables({{id, toTable(ownOf(1))}});
    bench->switchOn(1);
    EXPECT_EQ(bench->held(1), ownOf(1)) << "nothing is filtered, and it carried a tint";
    EXPECT_EQ(second.ownTable(id).value(), toTable(ownOf(1)));
}

TEST_P(DisplayServerContract, FindsAMonitorAgainOnAConnectorOfAnotherName) {
    const std::vector<std::uint8_t> edid(128, 0x17);
    DisplayServer& first = bench->connect();
    bench->setEdid(1, edid);
    const DisplayId id = idOf(first, 1).value();
    bench->switchOff(1);
    bench->setEdid(1, {});
    bench->setEdid(2, edid);

    DisplayServer& second = bench->connect();
    second.declareOwnTables({{id, toTable(ownOf(1))}});
    EXPECT_EQ(idOf(second, 2), id);
}

TEST_P(DisplayServerContract, TrustsNobodysTableAfterALostFile) {
    DisplayServer& first = bench->connect();
    first.loadTables(forAll(first, tint()));

    DisplayServer& second = bench->connect();
    second.declareOwnTables({{idOf(second, 0).value(), toTable(ownOf(0))}});
    second.distrustFoundTables();
    EXPECT_EQ(second.ownTable(idOf(second, 0).value()).value(), toTable(ownOf(0)));
    EXPECT_EQ(levels(second.ownTable(idOf(second, 1).value()).value(), 1), levels(GammaTable::identity(), 1));
}

TEST_P(DisplayServerContract, SaysOnceThatTheServerIsGone) {
    DisplayServer& server = bench->connect();
    const DisplayId id = idOf(server, 0).value();
    int losses = 0;
    const auto watch = server.onLoss([&] { ++losses; });
    bench->shutDown();
    EXPECT_TRUE(bench->eventually([&] { return losses > 0; }));
    EXPECT_EQ(losses, 1);
    EXPECT_EQ(server.onlineDisplays(kMaxDisplays).error().code, ErrorCode::Disconnected);
    EXPECT_EQ(server.describeDisplays().error().code, ErrorCode::Disconnected);
    EXPECT_EQ(server.readTables(std::array{id}).front().error().code, ErrorCode::Disconnected);
    EXPECT_EQ(server.loadTables(std::array{DisplayTable{id, tint()}}).front().error().code, ErrorCode::Disconnected);
    EXPECT_EQ(server.restoreCalibration().error().code, ErrorCode::Disconnected);
}

}  // namespace dravo
