#include "platform/files/preferences_text.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace dravo::files {
namespace {

using namespace std::chrono_literals;

TEST(PreferencesTextTest, ReadsTheTypesWeStoreAndLeavesTheRest) {
    const auto values = parsePreferences(
        "flag = true\ninteger = 0x1200\nnumber = 1e3\ntext = 'é'\n"
        "instant = 2026-03-29T01:30:00.5+02:00\nbefore = 1969-12-31T23:59:59.999999999Z\ntexts = [\"de\", 'fr']\n"
        "nan = nan\ninf = -inf\nlocal = 2026-03-29T01:30:00\nday = 2026-03-29\ntime = 01:30:00\n"
        "ancient = 0001-01-01T00:00:00Z\nnumbers = [1, 2]\nmixed = [\"a\", 1]\ninline = {filterEnabled = false}\n"
        "dotted.filterEnabled = false\n[table]\nfilterEnabled = false\n");
    ASSERT_TRUE(values);
    EXPECT_EQ(*values, (DefaultsValues{{"flag", true},
                                       {"integer", std::int64_t{4608}},
                                       {"number", 1000.0},
                                       {"text", "é"},
                                       {"instant", WallTime{1774740600s + 500ms}},
                                       {"before", WallTime{-1ns}},
                                       {"texts", std::vector<std::string>{"de", "fr"}}}));
}

TEST(PreferencesTextTest, NamesLineAndColumnOfAMistake) {
    const auto fault = parsePreferences("filterEnabled = true\nlastIntensity = 0,8\n");
    ASSERT_FALSE(fault);
    EXPECT_EQ(fault.error().code, ErrorCode::InvalidInput);
    EXPECT_EQ(inEnglish(fault.error().message).find("line 2, column 18"), 0u) << inEnglish(fault.error().message);
}

TEST(PreferencesTextTest, RefusesWhatIsTooLongToReadSafely) {
    std::string dotted = "a";
    for (int i = 0; i < 32000; ++i) dotted += ".a";
    EXPECT_FALSE(parsePreferences(dotted + " = 1\n"));
    EXPECT_TRUE(withChanges(dotted.substr(0, kMaxPreferencesBytes - 64) + "a = 1", {{"b", true}}));
    EXPECT_FALSE(withChanges("", {{"text", std::string(kMaxPreferencesBytes, 'x')}}));
}

TEST(PreferencesTextTest, TakesNoLetterForABlank) {
    for (char32_t point = 0xA1; point < 0x1680; point += 7) {
        const std::string letter = std::filesystem::path(std::u32string(1, point));
        EXPECT_FALSE(parsePreferences("a = " + letter + "1")) << letter;
        EXPECT_FALSE(parsePreferences("a = 1 " + letter)) << letter;
        const auto joined = parsePreferences("a = \"\"\"x\\\n " + letter + "\"\"\"");
        ASSERT_TRUE(joined) << letter;
        EXPECT_EQ(joined->at("a"), DefaultsValue("x" + letter));
    }
}

struct Row {
    const char* name;
    std::string before;
    DefaultsChanges changes;
    std::string after;
};

class PreferencesTextSpliceTest : public ::testing::TestWithParam<Row> {};

TEST_P(PreferencesTextSpliceTest, KeepsWhatThePersonWrote) {
    const auto text = withChanges(GetParam().before, GetParam().changes);
    ASSERT_TRUE(text) << inEnglish(text.error().message);
    EXPECT_EQ(*text, GetParam().after);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, PreferencesTextSpliceTest,
    ::testing::Values(
        Row{"ReplacesOnlyTheValue",
            "# mine\n  lastIntensity  =  0.80 # strong\nother=1\n",
            {{"lastIntensity", 0.5}},
            "# mine\n  lastIntensity  =  0.5 # strong\nother=1\n"},
        Row{"LeavesAnEqualValueAsItWasSpelled",
            "a = 0x10\nb = 1.50\n",
            {{"a", std::int64_t{16}}, {"b", 1.5}, {"c", true}},
            "a = 0x10\nb = 1.50\nc = true\n"},
        Row{"DeletesTheLineOfARemovedKey",
            "a = 1\n# about b\nb = [ # first\n  \"x\", ]\nc = 3",
            {{"b", std::nullopt}, {"absent", std::nullopt}},
            "a = 1\n# about b\nc = 3\n"},
        Row{"PutsNewKeysBeforeTheFirstTable",
            "# top\na = 1 # one\n\n# about t\n[t]\na = 2\n",
            {{"b", 2.0}, {"a key", "x"}},
            "# top\na = 1 # one\n\"a key\" = \"x\"\nb = 2.0\n\n# about t\n[t]\na = 2\n"},
        Row{"PutsNewKeysOnTopWhereThereAreOnlyTables",
            "\xEF\xBB\xBF# about t\n[t]\na = 2\n[[u]]\na=1\n",
            {{"a", true}},
            "\xEF\xBB\xBF"
            "a = true\n# about t\n[t]\na = 2\n[[u]]\na=1\n"},
        Row{"ReplacesTheLastKeyAndAddsBehindIt",
            "only = 1",
            {{"only", std::nullopt}, {"next", false}},
            "next = false\n"},
        Row{"LeavesAnEmptyFileEmptyWithNothingToAdd", "", {{"only", std::nullopt}}, ""},
        Row{"CountsCharactersNotBytes", "\"e\u0301ä\" = '😀' # é\n", {{"e\u0301ä", "b"}}, "\"e\u0301ä\" = \"b\" # é\n"},
        Row{"KeepsTheLineEndsOfOtherSystems",
            "a = 1\r\nb = 2\r\n",
            {{"a", true}, {"c", 1.5}},
            "a = true\r\nb = 2\r\nc = 1.5\r\n"},
        Row{"ReplacesTextsOfSeveralLines",
            "a = \"\"\"one\n = two\"\"\" # x\nb = '''\n[t]\n'''\n",
            {{"a", "y"}, {"b", std::vector<std::string>{"z"}}},
            "a = \"y\" # x\nb = [\"z\"]\n"},
        Row{"WritesAnewWhenATableIsInTheWay",
            "# lost\nown = 1.0\nlastIntensity.x = 1\nmine = nan\n[t]\na = 2\n",
            {{"lastIntensity", 0.5}},
            "# Settings of Dravo. It notices changes made here while it runs.\n"
            "lastIntensity = 0.5\nown = 1.0\n\nmine = nan\n\n[t]\na = 2\n"}),
    [](const auto& row) { return std::string(row.param.name); });

}  // namespace
}  // namespace dravo::files
