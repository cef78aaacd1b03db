#include "platform/posix/zone_position.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "support/environment_variable.h"
#include "support/temporary_folder.h"

namespace dravo::posix {
namespace {

using dravo::testing::TemporaryFolder;

TEST(ZoneCoordinatesTest, ReadsMinutesAndSecondsAndRefusesTheRest) {
    const auto berlin = parseZoneCoordinates("+5230+01322");
    ASSERT_TRUE(berlin);
    EXPECT_DOUBLE_EQ(berlin->latitude, 52.5);
    EXPECT_DOUBLE_EQ(berlin->longitude, 13 + 22 / 60.0);
    const auto rio = parseZoneCoordinates("-224606-0431042");
    ASSERT_TRUE(rio);
    EXPECT_DOUBLE_EQ(rio->latitude, -(22 + 46 / 60.0 + 6 / 3600.0));
    EXPECT_DOUBLE_EQ(rio->longitude, -(43 + 10 / 60.0 + 42 / 3600.0));
    for (const char* bad : {"", "+", "+5230", "5230+01322", "+523+01322", "+5230+1322", "+5260+01322", "+9130+01322",
                            "+52-0+01322", "+5230+18001", "+5230+01322x"})
        EXPECT_FALSE(parseZoneCoordinates(bad)) << bad;
}

class ZoneTableTest : public ::testing::Test {
protected:
    ZoneTableTest() {
        std::filesystem::create_directories(folder / "Asia");
        std::filesystem::create_directories(folder / "Europe");
        std::ofstream(folder / "Asia/Kolkata") << "TZif";
        std::ofstream(folder / "Europe/Oslo") << "TZif";
        std::filesystem::create_symlink("Kolkata", folder / "Asia/Calcutta");
        std::ofstream(folder / "zone1970.tab") << "# codes\tcoordinates\tTZ\nIN\t+2232+08822\tAsia/Kolkata\n"
                                                  "XX\tbroken\tEurope/Oslo\n\nXX\n";
        std::ofstream(folder / "zone.tab") << "IN\t+0000+00000\tAsia/Kolkata\nNO\t+5955+01045\tEurope/Oslo\n";
    }
    double latitudeOf(const std::string& zone) {
        const auto found = ZoneTablePosition(folder.path()).of(zone);
        return found ? found->position.latitude : -99;
    }

    TemporaryFolder folder;
    dravo::testing::EnvironmentVariable tz_{"TZ"};
};

TEST_F(ZoneTableTest, LooksInBothTablesAndThroughAliases) {
    EXPECT_DOUBLE_EQ(latitudeOf("Asia/Kolkata"), 22 + 32 / 60.0);
    EXPECT_DOUBLE_EQ(latitudeOf("Asia/Calcutta"), 22 + 32 / 60.0);
    EXPECT_DOUBLE_EQ(latitudeOf("Europe/Oslo"), 59 + 55 / 60.0);
    for (const char* unknown : {"Etc/UTC", "", ".", "/etc/passwd", "../..", "TZ"}) {
        const auto found = ZoneTablePosition(folder.path()).of(unknown);
        ASSERT_FALSE(found) << unknown;
        EXPECT_EQ(found.error().code, ErrorCode::NotFound);
    }
    EXPECT_FALSE(ZoneTablePosition(folder / "missing").of("Asia/Kolkata"));
}

TEST_F(ZoneTableTest, NamesTheZoneThatTheLinkLeadsTo) {
    TemporaryFolder outside;
    std::filesystem::create_symlink(folder / "Asia/Calcutta", outside / "localtime");
    tz_.set(":" + (outside / "localtime").string());
    ZoneTablePosition table(folder.path());
    EXPECT_EQ(table.zoneName(), "Asia/Calcutta");
    EXPECT_TRUE(table.current());

    tz_.set("CET-1CEST");
    EXPECT_EQ(table.zoneName(), "");
    EXPECT_FALSE(table.current());
}

TEST(ZoneTablePositionTest, KnowsTheSystemsOwnDatabase) {
    for (const char* zone : {"Europe/Berlin", "America/Sao_Paulo", "Pacific/Apia", "Asia/Kolkata", "Europe/Oslo"})
        EXPECT_TRUE(ZoneTablePosition().of(zone)) << zone;
}

}  // namespace
}  // namespace dravo::posix
