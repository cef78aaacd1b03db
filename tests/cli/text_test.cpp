#include "cli/text.h"

#include <gtest/gtest.h>

namespace dravo::testing {
namespace {

using namespace cli;

TEST(TextTest, CountsTheColumnsOfATerminal) {
    const std::pair<const char*, std::size_t> rows[] = {
        {"", 0},        {"red", 3},      {"красный", 7},    {"灰度", 4}, {"フィルター a", 12},
        {"e\u0301", 1}, {"\xff\xe4", 2}, {"\U0001f319", 1},
    };
    for (const auto& [text, columns] : rows) EXPECT_EQ(columnsOf(text), columns) << text;
    EXPECT_EQ(padded("灰度", 6) + "|", "灰度  |");
    EXPECT_EQ(paddedInFront("灰度", 6), "  灰度");
    EXPECT_EQ(padded("longer", 3), "longer");
}

TEST(TextTest, BreaksLinesBetweenWordsOrWideCharacters) {
    const struct {
        const char* text;
        std::size_t width;
        const char* lines;
    } rows[] = {
        {"", 5, ""},
        {"one two  three ", 7, "one two\nthree"},
        {"one unbreakable", 4, "one\nunbreakable"},
        {"один два", 4, "один\nдва"},
        {"色温色温", 4, "色温\n色温"},
        {"色温。色温", 4, "色\n温。\n色温"},
        {"色 温", 4, "色\n温"},
        {"色dravo温", 5, "色\ndravo\n温"},
    };
    for (const auto& row : rows) EXPECT_EQ(wrapped(row.text, row.width), row.lines) << row.text;
}

TEST(TextTest, KeepsWhatAPersonTypedOnOneLine) {
    EXPECT_EQ(quoted("a\nb\x1b[0m\x7f"), "'a?b?[0m?'");
    EXPECT_EQ(printable("é\xc2\x9b灰"), "é?灰") << "the other control characters";
    for (const std::string broken : {"\xe9", "\xc0\x80", "\xed\xa0\x80", "\xf0\x9f", "\xf5\x80\x80\x80"})
        EXPECT_EQ(printable("é" + broken + "灰"), "é" + std::string(broken.size(), '?') + "灰");
    EXPECT_EQ(cli::quoted(std::string(300, 'x')), "'" + std::string(200, 'x') + "...'");
    EXPECT_EQ(quoted("%@"), "'%@'");
}

}  // namespace
}  // namespace dravo::testing
