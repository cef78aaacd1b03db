#include "platform/gettext/plural_rule.h"

#include <gtest/gtest.h>

#include <array>

namespace dravo::gettext {
namespace {

constexpr std::array<std::uint64_t, 16> kNumbers{0, 1, 2, 3, 4, 5, 10, 11, 12, 21, 22, 25, 100, 101, 103, 111};
using Forms = std::array<std::size_t, 16>;

TEST(PluralRuleTest, CountsAsTheLanguagesDo) {
    const struct {
        const char* language;
        const char* field;
        Forms forms;
    } rows[] = {
        {"Japanese", " nplurals=1; plural=0;", {}},
        {"German", "nplurals=2; plural=(n != 1);", {1, 0, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1}},
        {"French", "nplurals=2; plural=(n > 1)", {0, 0, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1}},
        {"Russian",
         "nplurals=3; plural=(n%10==1 && n%100!=11 ? 0 : n%10>=2 && n%10<=4 && (n%100<10 || n%100>=20) ? 1 : 2);",
         {2, 0, 1, 1, 1, 2, 2, 2, 2, 0, 1, 2, 2, 0, 1, 2}},
        {"Arabic",
         "nplurals=6; plural=n==0 ? 0 : n==1 ? 1 : n==2 ? 2 : n%100>=3 && n%100<=10 ? 3 : n%100>=11 ? 4 : 5;",
         {0, 1, 2, 3, 3, 3, 3, 4, 4, 4, 4, 4, 5, 5, 3, 4}},
    };
    for (const auto& row : rows) {
        const auto rule = PluralRule::parse(row.field);
        ASSERT_TRUE(rule) << row.language;
        for (std::size_t i = 0; i < kNumbers.size(); ++i)
            EXPECT_EQ(rule->formFor(kNumbers[i]), row.forms[i]) << row.language << " " << kNumbers[i];
    }
    EXPECT_EQ(PluralRule().formFor(1), 0U);
    EXPECT_EQ(PluralRule().formFor(2), 1U);
}

TEST(PluralRuleTest, BindsItsOperatorsAsCDoes) {
    const std::pair<const char*, std::size_t> rows[] = {
        {"1 + 2 * 3 - 4", 3},
        {"8 / 2 / 2", 2},
        {"7 - 3 - 2", 2},
        {"!n + 1", 1},
        {"!!n", 1},
        {"n != 5", 0},
        {"1 < 2 == 1", 1},
        {"1 || 0 && 0", 1},
        {"n ? 0 ? 3 : 4 : 5", 4},
        {"n / 0", 0},
        {"n == 5 ? 9 : 1", 0},
    };
    for (const auto& [expression, form] : rows) {
        const auto rule = PluralRule::parse(std::string("nplurals=8; plural=") + expression);
        ASSERT_TRUE(rule) << expression;
        EXPECT_EQ(rule->formFor(5), form) << expression;
    }
}

TEST(PluralRuleTest, RefusesWhatIsNoRule) {
    const std::string deep(100'000, '(');
    for (const std::string& field :
         {std::string(), std::string("plural=n"), std::string("nplurals=2;"), std::string("nplurals=0; plural=0"),
          std::string("nplurals=99; plural=0"), std::string("nplurals=2; plural=n n"),
          std::string("nplurals=2; plural=(n"), std::string("nplurals=2; plural=n ? 1"),
          std::string("nplurals=2; plural=n >"), std::string("nplurals=2; plural=m"), "nplurals=2; plural=" + deep,
          "nplurals=2; plural=" + std::string(100'000, '!') + "n"})
        EXPECT_FALSE(PluralRule::parse(field)) << field.substr(0, 40);
}

}  // namespace
}  // namespace dravo::gettext
