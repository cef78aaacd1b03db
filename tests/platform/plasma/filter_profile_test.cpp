#include "platform/plasma/filter_profile.h"

#include <gtest/gtest.h>
#include <lcms2.h>

#include <array>
#include <cmath>
#include <memory>

#include "base/owned.h"
#include "display/icc_profile.h"

namespace dravo::plasma {
namespace {

// An independent reader, the one by which the compositor reads profiles, too.
using Profile = Owned<void, cmsCloseProfile>;
using Curve = Owned<cmsToneCurve, cmsFreeToneCurve>;

Profile opened(const ProfileBytes& bytes) {
    return Profile(cmsOpenProfileFromMem(bytes.data(), static_cast<cmsUInt32Number>(bytes.size())));
}
ProfileBytes saved(const Profile& profile) {
    cmsUInt32Number size = 0;
    cmsSaveProfileToMem(profile.get(), nullptr, &size);
    ProfileBytes bytes(size);
    cmsSaveProfileToMem(profile.get(), bytes.data(), &size);
    return bytes;
}
Profile displayOf(const Chromaticities& colours) {
    const auto xyY = [](Chromaticities::Point point) { return cmsCIExyY{point.x, point.y, 1}; };
    const cmsCIExyY white = xyY(colours.white);
    const cmsCIExyYTRIPLE primaries{xyY(colours.red), xyY(colours.green), xyY(colours.blue)};
    const Curve curve(cmsBuildGamma(nullptr, 2.2));
    std::array<cmsToneCurve*, 3> curves{curve.get(), curve.get(), curve.get()};
    return Profile(cmsCreateRGBProfile(&white, &primaries, curves.data()));
}

RampLevels tint() {
    GammaTable table = GammaTable::identity();
    for (float& level : table.green) level *= 0.7F;
    for (float& level : table.blue) level = 0.5F * level * level;
    return toLevels(table, 256);
}

void expectTable(const Profile& profile, const RampLevels& table) {
    auto* const curves = static_cast<cmsToneCurve**>(cmsReadTag(profile.get(), cmsSigVcgtTag));
    ASSERT_NE(curves, nullptr);
    const std::array channels{&table.red, &table.green, &table.blue};
    for (std::size_t c = 0; c < 3; ++c) {
        ASSERT_EQ(cmsGetToneCurveEstimatedTableEntries(curves[c]), 256U);
        const auto* const levels = cmsGetToneCurveEstimatedTable(curves[c]);
        EXPECT_TRUE(std::equal(channels[c]->begin(), channels[c]->end(), levels)) << "channel " << c;
    }
}

/// What becomes of the light of colours, 0..1, that are made for one display and shown by the other.
double largestDifference(const Profile& from, const Profile& to) {
    const Owned<void, cmsDeleteTransform> transform(cmsCreateTransform(from.get(), TYPE_RGB_DBL, to.get(), TYPE_RGB_DBL,
                                                                       INTENT_RELATIVE_COLORIMETRIC,
                                                                       cmsFLAGS_NOOPTIMIZE | cmsFLAGS_NOCACHE));
    if (!transform) return 1;
    double largest = 0;
    for (int i = 0; i < 1000; ++i) {
        const std::array<double, 3> sent{i % 10 / 9.0, i / 10 % 10 / 9.0, i / 100 / 9.0};
        std::array<double, 3> shown{};
        cmsDoTransform(transform.get(), sent.data(), shown.data(), 1);
        for (std::size_t c = 0; c < 3; ++c) {
            const double light = std::pow(shown[c], 2.2) - std::pow(sent[c], 2.2);
            largest = std::max(largest, std::abs(light));
        }
    }
    return largest;
}

/// What is left where profiles round to 1 / 65536.
constexpr double kInvisible = 1e-4;

TEST(FilterProfileTest, CarriesATableAndChangesNoColour) {
    const Chromaticities wide{{0.68, 0.32}, {0.265, 0.69}, {0.15, 0.06}, {0.314, 0.351}};
    for (const auto& colours : {kSrgb, wide}) {
        const auto bytes = withTable(matrixProfile(colours), tint());
        EXPECT_TRUE(isDisplayProfile(bytes));
        const Profile profile = opened(bytes);
        ASSERT_TRUE(profile);
        EXPECT_EQ(cmsGetDeviceClass(profile.get()), cmsSigDisplayClass);
        EXPECT_EQ(cmsGetPCS(profile.get()), cmsSigXYZData);
        expectTable(profile, tint());
        EXPECT_LT(largestDifference(displayOf(colours), profile), kInvisible);
        EXPECT_GT(largestDifference(displayOf(colours), displayOf(colours == kSrgb ? wide : kSrgb)), 100 * kInvisible);
    }
}

TEST(FilterProfileTest, KeepsEverythingOfAPersonsProfileButItsTable) {
    const Profile person = displayOf({{0.6, 0.35}, {0.3, 0.55}, {0.16, 0.1}, {0.3, 0.31}});
    const Curve darker(cmsBuildGamma(nullptr, 1.4));
    std::array<cmsToneCurve*, 3> table{darker.get(), darker.get(), darker.get()};
    ASSERT_TRUE(cmsWriteTag(person.get(), cmsSigVcgtTag, table.data()));
    const auto before = saved(person);
    const auto bytes = withTable(before, tint());
    const Profile after = opened(bytes);
    ASSERT_TRUE(after);
    expectTable(after, tint());
    EXPECT_LT(largestDifference(person, after), kInvisible);
    EXPECT_EQ(cmsGetTagCount(after.get()), cmsGetTagCount(opened(before).get()));
    for (const auto& tag : tagsOfProfile(before)) {
        if (tag.signature == cmsSigVcgtTag) continue;
        ProfileBytes data(tag.data.size());
        cmsReadRawTag(after.get(), static_cast<cmsTagSignature>(tag.signature), data.data(),
                      static_cast<cmsUInt32Number>(data.size()));
        EXPECT_TRUE(std::ranges::equal(data, tag.data)) << std::hex << tag.signature;
    }
    // As often as anybody likes.
    EXPECT_EQ(withTable(bytes, tint()).size(), bytes.size());
}

TEST(FilterProfileTest, TakesNothingForADisplaysProfileThatIsNone) {
    const auto good = matrixProfile(kSrgb);
    EXPECT_TRUE(isDisplayProfile(good));
    auto printer = good;
    printer[12] = 'p';
    auto cut = good;
    cut.resize(131);
    auto overlapping = good;
    const auto high = static_cast<std::uint8_t>(good.size() >> 8);
    const std::array<std::uint8_t, 8> everything{0, 0, 0, 0, 0, 0, high, static_cast<std::uint8_t>(good.size())};
    std::ranges::copy(everything, overlapping.begin() + kIccHeaderSize + 8);
    for (const auto& bytes : {printer, cut, overlapping, ProfileBytes{}}) EXPECT_FALSE(isDisplayProfile(bytes));
}

TEST(FilterProfileTest, ReadsAMonitorsColoursAndBelievesOnlyWhatCanBe) {
    // Those of sRGB, as monitors tell them.
    const std::array<std::uint8_t, 10> told{0xEE, 0x91, 0xA3, 0x54, 0x4C, 0x99, 0x26, 0x0F, 0x50, 0x54};
    ProfileBytes edid(128);
    std::ranges::copy(told, edid.begin() + 25);
    const auto colours = chromaticitiesOf(edid);
    ASSERT_TRUE(colours);
    const auto expectNear = [](Chromaticities::Point read, Chromaticities::Point meant) {
        EXPECT_NEAR(read.x, meant.x, 0.001);
        EXPECT_NEAR(read.y, meant.y, 0.001);
    };
    expectNear(colours->red, kSrgb.red);
    expectNear(colours->green, kSrgb.green);
    expectNear(colours->blue, kSrgb.blue);
    expectNear(colours->white, kSrgb.white);

    EXPECT_FALSE(chromaticitiesOf({}));
    EXPECT_FALSE(chromaticitiesOf(ProfileBytes(128)));
    EXPECT_FALSE(chromaticitiesOf(ProfileBytes(128, 0x66))) << "primaries on one point";
}

}  // namespace
}  // namespace dravo::plasma
