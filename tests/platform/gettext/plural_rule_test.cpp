#include "platform/gettext/plural_rule.h"

#include <gtest/gtest.h>

namespace dravo::gettext {
namespace {

// The rules of our languages: see TranslationsTest.
TEST(PluralRuleTest, CountsInEnglishUntilToldOtherwise) {
    for (const std::uint64_t number : {0U, 1U, 2U, 21U}) EXPECT_EQ(PluralRule().formFor(number), number == 1 ? 0U : 1U);
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
