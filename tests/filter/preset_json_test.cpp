#include "filter/preset_json.h"

#include <gtest/gtest.h>

#include <limits>

namespace dravo {
namespace {

const std::string kSunset =
    R"({"id":"sunset","name":"Sunset","redFactor":0.7,"greenFactor":0.4,"blueFactor":0.05,"intensity":1,)"
    R"("dimming":0.15,"blackPoint":0.05,"gamma":1.1,"contrast":0,"colorTemperature":3000,"redIntensity":1,)"
    R"("greenIntensity":1,"blueIntensity":1,"isBuiltIn":true,"isGrayscale":false})";

std::string with(const std::string& from, const std::string& to) {
    std::string text = kSunset;
    return text.replace(text.find(from), from.size(), to);
}

TEST(PresetJsonTest, WritesTheSixteenKeysCompactlyInOrder) {
    EXPECT_EQ(encodePreset(FilterPreset::sunset()).value(), kSunset);
    const FilterPreset pair[] = {FilterPreset::sunset(), FilterPreset::sunset()};
    EXPECT_EQ(encodePresets(pair).value(), "[" + kSunset + "," + kSunset + "]");
    EXPECT_EQ(encodePresets({}).value(), "[]");
    EXPECT_TRUE(decodePresets(" [ ] ")->empty());
}

TEST(PresetJsonTest, ReadsBackEveryNumberAndText) {
    const FilterPreset odd{.id = "id \"\\/\n\t\x01",
                           .name = "Grün 日本 \U0001F319",
                           .redFactor = 1.0 / 3,
                           .gamma = std::numeric_limits<double>::denorm_min(),
                           .contrast = -std::numeric_limits<double>::max(),
                           .isGrayscale = true};
    EXPECT_EQ(decodePreset(*encodePreset(odd)).value(), odd);
}

TEST(PresetJsonTest, IgnoresOtherKeysAndTheirOrder) {
    EXPECT_EQ(decodePreset(with("{", R"({"note":[{"deep":null}],)")).value(), FilterPreset::sunset());
    EXPECT_EQ(decodePreset(with(R"("id":"sunset",)", "").replace(0, 1, "{\"id\":\"sunset\",")).value().id, "sunset");
    EXPECT_EQ(decodePreset(with(R"("id")", R"("id":"first","id")")).value().id, "sunset");
    EXPECT_EQ(decodePreset(with("1.1", "18446744073709551616")).value().gamma, 18446744073709551616.0);
}

TEST(PresetJsonTest, RequiresEveryKeyWithItsType) {
    for (const auto& field : kPresetFields) {
        const std::string key = "\"" + std::string(field.key) + "\"";
        const auto missing = decodePresets("[" + kSunset + "," + with(key, "\"other\"") + "]");
        ASSERT_FALSE(missing) << key;
        EXPECT_EQ(inEnglish(missing.error().message), "preset 2: " + key + " is missing");
        const std::string colon = key + ":";
        for (const char* value : {"null", "[]", "{}"}) {
            const auto wrong = decodePreset(with(colon, std::string(colon).append(value).append(",\"old\":")));
            ASSERT_FALSE(wrong) << key << value;
            EXPECT_NE(inEnglish(wrong.error().message).find(key + " must be"), std::string::npos)
                << inEnglish(wrong.error().message);
        }
    }
    EXPECT_FALSE(decodePreset(with("0.7", "\"0.7\"")));
    EXPECT_FALSE(decodePreset(with("0.7", "true")));
    EXPECT_FALSE(decodePreset(with("true", "1")));
    EXPECT_FALSE(decodePreset(with("\"sunset\"", "7")));
}

TEST(PresetJsonTest, RefusesHostileTexts) {
    const std::string texts[] = {
        "null",
        kSunset.substr(0, 200),
        with("0.7", "1e999"),
        with("0.7", "NaN"),
        with("sunset", "\xc3\x28"),
        with("sunset", "\\ud800"),
        with("Sunset", "a\nb"),
        kSunset + "]",
        with("0.7", std::string(100000, '[') + std::string(100000, ']')),
        std::string(100000, '{'),
    };
    for (const auto& text : texts) {
        const auto one = decodePreset(text);
        ASSERT_FALSE(one) << text.substr(0, 60);
        EXPECT_EQ(one.error().code, ErrorCode::InvalidInput);
        EXPECT_LT(inEnglish(one.error().message).size(), 200U);
        EXPECT_FALSE(decodePresets("[" + text + "]")) << text.substr(0, 60);
    }
    EXPECT_FALSE(decodePresets(""));
    EXPECT_FALSE(decodePresets(kSunset));
    EXPECT_EQ(inEnglish(decodePresets("[\n\n {]").error().message), "not valid JSON, look at line 3, column 3");
}

TEST(PresetJsonTest, RefusesToWriteWhatCannotBeRead) {
    for (const double value : {std::numeric_limits<double>::quiet_NaN(), -std::numeric_limits<double>::infinity()}) {
        const FilterPreset presets[] = {FilterPreset::fl41(), {.contrast = value}};
        const auto encoded = encodePresets(presets);
        ASSERT_FALSE(encoded);
        EXPECT_EQ(encoded.error().code, ErrorCode::InvalidInput);
        EXPECT_EQ(inEnglish(encoded.error().message), "preset 2: \"contrast\" is not a finite number");
    }
    EXPECT_FALSE(encodePreset({.name = "\xff"}));
}

}  // namespace
}  // namespace dravo
