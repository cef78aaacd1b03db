#include "base/utf8.h"

#include <gtest/gtest.h>

namespace dravo {
namespace {

TEST(Utf8Test, TakesTheCharactersThatAreOne) {
    const std::pair<std::string_view, char32_t> rows[] = {
        {{"\0", 1}, 0},
        {"\x7f", 0x7f},
        {"\xc2\x80", 0x80},
        {"\xdf\xbf", 0x7ff},
        {"\xe0\xa0\x80", 0x800},
        {"\xed\x9f\xbf", 0xd7ff},
        {"\xee\x80\x80", 0xe000},
        {"\xef\xbf\xbf", 0xffff},
        {"\xf0\x90\x80\x80", 0x10000},
        {"\xf4\x8f\xbf\xbf", 0x10ffff},
    };
    for (const auto& [bytes, character] : rows) {
        const std::string twice = std::string(bytes) + "x";
        std::string_view text = twice;
        EXPECT_TRUE(takeCharacter(text) == character) << bytes;
        EXPECT_EQ(text, "x") << bytes;
    }
}

TEST(Utf8Test, RefusesTheBytesThatAreNoneOneByOne) {
    for (const std::string_view bytes :
         {"\x80", "\xbf", "\xc0\xaf", "\xc1\xbf", "\xe0\x9f\xbf", "\xed\xa0\x80", "\xf0\x8f\xbf\xbf",
          "\xf4\x90\x80\x80", "\xf8\x88\x80\x80", "\xff", "\xe4", "\xe4x", "\xf0\x90\x80"}) {
        std::string_view text = bytes;
        EXPECT_FALSE(takeCharacter(text));
        EXPECT_EQ(text.size(), bytes.size() - 1);
        EXPECT_FALSE(isUtf8(bytes));
    }
}

}  // namespace
}  // namespace dravo
