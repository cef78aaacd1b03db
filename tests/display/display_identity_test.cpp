#include "display/display_identity.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <set>
#include <string>

namespace dravo {
namespace {

std::vector<std::uint8_t> edid(std::uint8_t serial) {
    std::vector<std::uint8_t> bytes(256, 0x11);
    bytes[12] = serial;
    return bytes;
}

DisplayId only(DisplayIdentities& identities, const OutputIdentity& output) {
    return identities.assign(std::array{output}).front();
}

TEST(DisplayIdentitiesTest, DependsOnEdidAndConnectorAlone) {
    DisplayIdentities here;
    DisplayIdentities elsewhere;
    const OutputIdentity dp{"DP-1", edid(1)};
    const OutputIdentity hdmi{"HDMI-1", {}};
    const auto ids = here.assign(std::array{dp, hdmi});
    const auto turned = elsewhere.assign(std::array{hdmi, dp});
    EXPECT_EQ(ids[0], turned[1]);
    EXPECT_EQ(ids[1], turned[0]);
    EXPECT_NE(static_cast<std::uint32_t>(ids[0]) >> 16U, 0U);
    EXPECT_EQ(static_cast<std::uint32_t>(ids[1]) >> 16U, 0U);
    EXPECT_NE(static_cast<std::uint32_t>(ids[1]), 0U);
    OutputIdentity extended = dp;
    extended.edid[200] = 0x99;
    EXPECT_EQ(only(here, extended), ids[0]) << "only the base block counts";
}

TEST(DisplayIdentitiesTest, ResolvesClashesInTheOrderOfNamesAndKeepsWhatIsOn) {
    std::vector<OutputIdentity> many;
    for (int i = 0; i < 2000; ++i) many.push_back({"DP-" + std::to_string(i), {}});
    DisplayIdentities identities;
    const auto ids = identities.assign(many);
    EXPECT_EQ(std::set(ids.begin(), ids.end()).size(), many.size());

    auto turned = many;
    std::ranges::reverse(turned);
    auto expected = ids;
    std::ranges::reverse(expected);
    DisplayIdentities fresh;
    EXPECT_EQ(fresh.assign(turned), expected);
    for (std::size_t i = 0; i < many.size(); i += 97) EXPECT_EQ(only(identities, many[i]), ids[i]);
}

TEST(DisplayIdentitiesTest, FindsAMonitorAgainOnAnotherConnectorUnlessThatIsAmbiguous) {
    DisplayIdentities first;
    const DisplayId one = only(first, {"DP-1", edid(1)});
    EXPECT_EQ(only(first, {"DP-1-1", edid(1)}), one);
    EXPECT_EQ(only(first, {"DP-1", edid(1)}), one);
    EXPECT_NE(only(first, {"DP-1", edid(2)}), one);

    DisplayIdentities restarted;
    EXPECT_NE(only(restarted, {"DP-2", edid(1)}), one);
    restarted.know(std::array{one});
    EXPECT_EQ(only(restarted, {"DP-2", edid(1)}), one) << "a number given before its owner was known is forgotten";

    DisplayIdentities twins;
    const auto both = twins.assign(std::array{OutputIdentity{"DP-1", edid(1)}, OutputIdentity{"DP-2", edid(1)}});
    EXPECT_NE(both[0], both[1]);
    const DisplayId third = only(twins, {"DP-3", edid(1)});
    EXPECT_NE(third, both[0]);
    EXPECT_NE(third, both[1]);
}

TEST(DisplayIdentitiesTest, LetsAMonitorThatIsOnKeepItsNumberWhenItsTwinComes) {
    DisplayIdentities identities;
    const DisplayId id = only(identities, {"DP-1", edid(1)});
    EXPECT_EQ(only(identities, {"DP-2", edid(1)}), id) << "moved";
    const auto both = identities.assign(std::array{OutputIdentity{"DP-1", edid(1)}, OutputIdentity{"DP-2", edid(1)}});
    EXPECT_EQ(both[1], id);
    EXPECT_NE(both[0], id);
}

TEST(DisplayIdentitiesTest, LetsTheFirstNameStandForMirroredOutputs) {
    EXPECT_EQ(representativeOutput(std::array<std::string, 3>{"HDMI-1", "DP-2", "eDP-1"}), 1U);
}

}  // namespace
}  // namespace dravo
