#include "display/table_ledger.h"

#include <gtest/gtest.h>

namespace dravo {
namespace {

constexpr DisplayId kLaptop{10};
constexpr DisplayId kBeamer{20};
constexpr CrtcId kFirst{1};
constexpr CrtcId kSecond{2};

RampLevels level(std::uint16_t top) { return {{0, top}, {0, top}, {0, top}}; }
const RampLevels kOwn = level(65535);
const RampLevels kOther = level(60000);
const RampLevels kTint = level(20000);

void load(TableLedger& ledger, CrtcId crtc, const RampLevels& levels) { ledger.wrote(crtc, levels); }

std::map<CrtcId, RampLevels> byCrtc(const std::vector<CrtcLevels>& list) {
    std::map<CrtcId, RampLevels> levels;
    for (const auto& entry : list) levels.emplace(entry.crtc, entry.levels);
    return levels;
}

TEST(TableLedgerTest, KeepsADisplaysOwnTableWhenItMovesToACrtcThatCarriesOurs) {
    TableLedger ledger;
    ledger.appeared(kLaptop, kFirst, kOwn);
    ledger.appeared(kBeamer, kSecond, kOther);
    load(ledger, kFirst, kTint);
    ledger.left(kFirst);
    ledger.left(kSecond);
    ledger.appeared(kBeamer, kFirst, kTint);
    EXPECT_FALSE(ledger.needsFirstLook(kBeamer)) << "a look would find ours";
    EXPECT_EQ(ledger.own(kBeamer), toTable(kOther));
    load(ledger, kFirst, kTint);
    EXPECT_EQ(byCrtc(ledger.calibrations()), (std::map<CrtcId, RampLevels>{{kFirst, kOther}}));
}

TEST(TableLedgerTest, BelievesWhatAnotherProgramPutOverOurTable) {
    TableLedger ledger;
    ledger.appeared(kLaptop, kFirst, kOwn);
    load(ledger, kFirst, kTint);
    ledger.left(kFirst);
    ledger.appeared(kBeamer, kFirst, kOther);
    EXPECT_EQ(ledger.own(kBeamer), toTable(kOther));
}

TEST(TableLedgerTest, GivesAnIdleCrtcItsCalibrationOnceMoreWhenADisplayComes) {
    TableLedger ledger;
    ledger.appeared(kLaptop, kFirst, kOwn);
    load(ledger, kFirst, kTint);
    ledger.left(kFirst);
    for (const auto& [crtc, levels] : ledger.calibrations()) {
        ledger.wrote(crtc, levels);
        ledger.restored(crtc, levels);
    }
    EXPECT_TRUE(ledger.calibrations().empty());
    ledger.appeared(kLaptop, kFirst, kOwn);
    ASSERT_EQ(byCrtc(ledger.owedCalibrations()), (std::map<CrtcId, RampLevels>{{kFirst, kOwn}}));
    ledger.wrote(kFirst, kOwn);
    ledger.restored(kFirst, kOwn);
    EXPECT_TRUE(ledger.owedCalibrations().empty());
}

TEST(TableLedgerTest, OwesACalibrationThatNobodyConfirmed) {
    TableLedger ledger;
    ledger.appeared(kLaptop, kFirst, kOwn);
    load(ledger, kFirst, kTint);
    EXPECT_TRUE(ledger.holds(kFirst, kTint));
    EXPECT_EQ(ledger.calibrations().size(), 1U);
    ledger.left(kFirst);
    EXPECT_EQ(ledger.calibrations().size(), 1U);
    ledger.appeared(kLaptop, kFirst, kTint);
    EXPECT_FALSE(ledger.holds(kFirst, kTint)) << "the hardware may have started afresh";
    EXPECT_EQ(byCrtc(ledger.owedCalibrations()), (std::map<CrtcId, RampLevels>{{kFirst, kOwn}}));
}

TEST(TableLedgerTest, SuspectsRemainsOfAnEarlierRunOnlyUntilTheFirstWrite) {
    TableLedger ledger;
    ledger.declareOwnTables({{kBeamer, toTable(kOwn)}});
    ledger.appeared(kBeamer, kFirst, kTint);
    EXPECT_EQ(byCrtc(ledger.owedCalibrations()), (std::map<CrtcId, RampLevels>{{kFirst, kOwn}}));
    ledger.wrote(kFirst, kOwn);
    ledger.restored(kFirst, kOwn);
    ledger.left(kFirst);
    ledger.appeared(kBeamer, kFirst, kOther);
    EXPECT_TRUE(ledger.owedCalibrations().empty()) << "somebody else's choice since";
}

TEST(TableLedgerTest, OwesACalibrationUntilItIsConfirmed) {
    TableLedger ledger;
    ledger.appeared(kLaptop, kFirst, kOwn);
    load(ledger, kFirst, kOwn);
    ledger.declareOwnTables({{kBeamer, toTable(kOwn)}});
    ledger.appeared(kBeamer, kSecond, kTint);
    EXPECT_EQ(byCrtc(ledger.calibrations()), (std::map<CrtcId, RampLevels>{{kSecond, kOwn}}))
        << "a display that the filter never reached";
    ledger.wrote(kSecond, kOwn);
    EXPECT_EQ(ledger.owedCalibrations().size(), 1U) << "until the server has confirmed it";
    ledger.restored(kSecond, kOwn);
    EXPECT_TRUE(ledger.owedCalibrations().empty());
}

TEST(TableLedgerTest, TellsAGuardWhatToGiveBackOnEveryCrtcThatMayCarryOurs) {
    TableLedger ledger;
    ledger.setProfile(kLaptop, toTable(kOther));
    ledger.appeared(kLaptop, kFirst, kOwn);
    ledger.appeared(kBeamer, kSecond, kOwn);
    EXPECT_TRUE(ledger.calibrations().empty()) << "nothing of ours is anywhere";
    load(ledger, kFirst, kTint);
    load(ledger, kSecond, kTint);
    EXPECT_EQ(byCrtc(ledger.calibrations()), (std::map<CrtcId, RampLevels>{{kFirst, kOther}, {kSecond, kOwn}}));
    ledger.wrote(kFirst, kOther);
    ledger.restored(kFirst, kOther);
    ledger.left(kSecond);
    EXPECT_EQ(byCrtc(ledger.calibrations()), (std::map<CrtcId, RampLevels>{{kSecond, kOwn}}));
    ledger.removed(kSecond);
    EXPECT_TRUE(ledger.calibrations().empty());
}

}  // namespace
}  // namespace dravo
