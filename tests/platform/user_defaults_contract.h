#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <tuple>
#include <vector>

#include "filter/user_defaults.h"

namespace dravo {

/// What every UserDefaults does. `Bench` builds an empty one and offers:
///   UserDefaults& defaults();
///   void replaceFromOutside(const DefaultsValues&);  // somebody else's edit, delivered when it returns
///   void reopen();                                   // the program ends and starts again
template <typename Bench>
class UserDefaultsContract : public ::testing::Test {
protected:
    UserDefaults& defaults() { return bench_.defaults(); }
    Bench bench_;
};

TYPED_TEST_SUITE_P(UserDefaultsContract);

TYPED_TEST_P(UserDefaultsContract, KeepsEveryTypeExactlyAndAcrossARestart) {
    using namespace std::chrono_literals;
    using namespace std::string_literals;
    const DefaultsValues values{{"no", false},
                                {"zero", std::int64_t{0}},
                                {"lowest", std::numeric_limits<std::int64_t>::min()},
                                {"highest", std::numeric_limits<std::int64_t>::max()},
                                {"nought", 0.0},
                                {"whole", 1.0},
                                {"tenth", 0.1},
                                {"smallest", 5e-324},
                                {"largest", -1.7976931348623157e308},
                                {"empty", ""},
                                {"text", "a \"b\" \\ \n\t\r\x01\x7f ü \U0001F319 #=[]\0."s},
                                {"date", WallTime{1789000000s + 123456789ns}},
                                {"early", WallTime{-1ns}},
                                {"texts", std::vector<std::string>{"de", "x\"y"}},
                                {"none", std::vector<std::string>{}},
                                {"a key with = and \"", true}};
    for (const auto& [key, value] : values) this->defaults().set(key, value);
    for (const bool restarted : {false, true}) {
        if (restarted) this->bench_.reopen();
        for (const auto& [key, value] : values) EXPECT_EQ(this->defaults().object(key), value) << key << restarted;
        EXPECT_FALSE(this->defaults().object("absent"));
    }
}

TYPED_TEST_P(UserDefaultsContract, ReplacesAValueByAnotherTypeAndRemovesIt) {
    this->defaults().set("key", 0.5);
    this->defaults().set("key", std::string("half"));
    EXPECT_EQ(this->defaults().object("key"), DefaultsValue("half"));
    this->bench_.reopen();
    EXPECT_EQ(this->defaults().object("key"), DefaultsValue("half"));
    this->defaults().remove("key");
    this->defaults().remove("never there");
    EXPECT_FALSE(this->defaults().object("key"));
    this->bench_.reopen();
    EXPECT_FALSE(this->defaults().object("key"));
}

TYPED_TEST_P(UserDefaultsContract, RefusesWhatIsNoNumberAndNoText) {
    this->defaults().set("key", 0.5);
    for (const double wrong : {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity(),
                               -std::numeric_limits<double>::infinity()})
        this->defaults().set("key", wrong);
    for (const char* wrong : {"\xff", "\xc0\xaf", "\xed\xa0\x80", "\xf4\x90\x80\x80", "a\xe2\x82"}) {
        this->defaults().set("key", std::string(wrong));
        this->defaults().set("key", std::vector<std::string>{wrong});
    }
    EXPECT_EQ(this->defaults().object("key"), DefaultsValue(0.5));
}

TYPED_TEST_P(UserDefaultsContract, ConvertsBetweenTypesAsReadersAsk) {
    using Row = std::tuple<DefaultsValue, bool, std::int64_t, double, std::optional<std::string>>;
    constexpr auto kLowest = std::numeric_limits<std::int64_t>::min();
    constexpr auto kHighest = std::numeric_limits<std::int64_t>::max();
    const std::vector<Row> rows{
        {true, true, 1, 1.0, "1"},
        {false, false, 0, 0.0, "0"},
        {std::int64_t{1}, true, 1, 1.0, "1"},
        {std::int64_t{-7}, true, -7, -7.0, "-7"},
        {0.5, true, 0, 0.5, "0.5"},
        {-2.9, true, -2, -2.9, "-2.9"},
        {1e300, true, kHighest, 1e300, "1e+300"},
        {-1e300, true, kLowest, -1e300, "-1e+300"},
        {9223372036854775808.0, true, kHighest, 0x1p63, "9223372036854775808"},
        {"42", true, 42, 42.0, "42"},
        {" 12abc", true, 12, 12.0, " 12abc"},
        {"+3.75", true, 3, 3.75, "+3.75"},
        {"-0.25x", false, 0, -0.25, "-0.25x"},
        {"99999999999999999999", true, kHighest, 99999999999999999999.0, "99999999999999999999"},
        {"-99999999999999999999", true, kLowest, -99999999999999999999.0, "-99999999999999999999"},
        {"YES", true, 0, 0.0, "YES"},
        {"true", true, 0, 0.0, "true"},
        {"NO", false, 0, 0.0, "NO"},
        {"007", true, 7, 7.0, "007"},
        {"nan", false, 0, 0.0, "nan"},
        {"inf", false, 0, 0.0, "inf"},
        {"+-5", false, 0, 0.0, "+-5"},
        {"", false, 0, 0.0, ""},
        {WallTime{}, false, 0, 0.0, std::nullopt},
        {std::vector<std::string>{"1"}, false, 0, 0.0, std::nullopt},
    };
    for (const auto& [value, flag, integer, number, text] : rows) {
        this->defaults().set("key", value);
        SCOPED_TRACE(::testing::PrintToString(text));
        EXPECT_EQ(this->defaults().boolForKey("key"), flag);
        EXPECT_EQ(this->defaults().integerForKey("key"), integer);
        EXPECT_EQ(this->defaults().doubleForKey("key"), number);
        EXPECT_EQ(this->defaults().stringForKey("key"), text);
    }
    EXPECT_FALSE(this->defaults().boolForKey("absent"));
    EXPECT_EQ(this->defaults().integerForKey("absent"), 0);
    EXPECT_EQ(this->defaults().doubleForKey("absent"), 0);
    EXPECT_EQ(this->defaults().stringForKey("absent"), std::nullopt);
}

TYPED_TEST_P(UserDefaultsContract, TellsOfOutsideChangesByKeyAndNeverOfOwnOnes) {
    std::vector<DefaultsKeys> heard;
    DefaultsValues seen;
    const auto subscription = this->defaults().onChange([&](const DefaultsKeys& keys) {
        heard.push_back(keys);
        for (const auto& key : keys)
            if (const auto value = this->defaults().object(key)) seen.insert_or_assign(key, *value);
    });
    this->defaults().set("kept", true);
    this->defaults().set("changed", 0.5);
    this->defaults().set("removed", std::int64_t{5});
    this->bench_.replaceFromOutside({{"kept", true}, {"changed", std::int64_t{1}}, {"added", "new"}});
    this->bench_.replaceFromOutside({{"kept", true}, {"changed", std::int64_t{1}}, {"added", "new"}});

    EXPECT_EQ(heard, (std::vector<DefaultsKeys>{{"added", "changed", "removed"}}));
    EXPECT_EQ(seen, (DefaultsValues{{"changed", std::int64_t{1}}, {"added", "new"}}));
    EXPECT_EQ(this->defaults().object("kept"), DefaultsValue(true));
}

REGISTER_TYPED_TEST_SUITE_P(UserDefaultsContract, KeepsEveryTypeExactlyAndAcrossARestart,
                            ReplacesAValueByAnotherTypeAndRemovesIt, RefusesWhatIsNoNumberAndNoText,
                            ConvertsBetweenTypesAsReadersAsk, TellsOfOutsideChangesByKeyAndNeverOfOwnOnes);

}  // namespace dravo
