#include "app/keyboard_shortcut.h"

#include <gtest/gtest.h>

#include <set>

namespace dravo {
namespace {

TEST(KeyboardShortcutTest, ShowsAndSaysModifiersInTheirOrderAndThenTheKey) {
    const struct {
        std::int64_t keyCode;
        std::int64_t modifiers;
        const char* shown;
        const char* spoken;
    } rows[] = {
        {14, 4608, "⌃⇧E", "Control Shift E"},
        {12, 0x1b00, "⌃⌥⇧⌘Q", "Control Alt Shift Super Q"},
        {105, 4096, "⌃Key 105", "Control Key 105"},
        {-1, 0, "Key -1", "Key -1"},
        {270, 0, "Key 270", "Key 270"},  // 256 more than E
        {42, 256, "⌘\\", "Super Backslash"},
        {18, 4096 + 1 + 0x400 + 0x10000, "⌃1", "Control 1"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(displayString(row.keyCode, row.modifiers), row.shown);
        EXPECT_EQ(spokenShortcut(row.keyCode, row.modifiers), row.spoken);
    }
}

// A row of an ANSI keyboard is a run of the kernel's numbers.
TEST(KeyboardShortcutTest, KeysAreWhereTheKernelCountsThemAndNamedAsTheyAreEngraved) {
    const struct {
        std::uint8_t first;
        std::vector<std::int64_t> keyCodes;
        const char* engraved;
    } rows[] = {
        {1, {53, 18, 19, 20, 21, 23, 22, 26, 28, 25, 29, 27, 24, 51}, "⎋1234567890-=⌫"},   // from KEY_ESC
        {15, {48, 12, 13, 14, 15, 17, 16, 32, 34, 31, 35, 33, 30, 36}, "⇥QWERTYUIOP[]⏎"},  // KEY_TAB
        {30, {0, 1, 2, 3, 5, 4, 38, 40, 37, 41, 39, 50}, "ASDFGHJKL;'`"},                  // KEY_A
        {43, {42, 6, 7, 8, 9, 11, 45, 46, 43, 47, 44}, "\\ZXCVBNM,./"},                    // KEY_BACKSLASH
        {57, {49}, "Space"},                                                               // KEY_SPACE
        {59, {122, 120, 99, 118, 96, 97, 98, 100, 101, 109}, "F1F2F3F4F5F6F7F8F9F10"},     // KEY_F1
        {71, {89, 91, 92, 78, 86, 87, 88, 69, 83, 84, 85, 82, 65}, ""},                    // KEY_KP7
        {86, {10, 103, 111}, "F11F12"},                                                    // KEY_102ND
        {102, {115, 126, 116, 123, 124, 119, 125, 121, 114, 117}, "↑←→↓"},                 // KEY_HOME
        {183, {105, 107, 113, 106, 64, 79, 80, 90}, ""},                                   // KEY_F13
    };
    for (const auto& row : rows) {
        auto scanCode = static_cast<std::uint8_t>(row.first + 8);
        std::string shown;
        for (const auto keyCode : row.keyCodes) {
            EXPECT_EQ(scanCodeOf(keyCode), scanCode++) << "key code " << keyCode;
            if (hasName(keyCode)) shown += displayString(keyCode, 0);
        }
        EXPECT_EQ(shown, row.engraved);
    }
}

TEST(KeyboardShortcutTest, EveryKeyHasOnePlaceAndTheWayBackLeadsToIt) {
    std::set<std::uint8_t> places;
    for (std::int64_t keyCode = -1; keyCode <= 300; ++keyCode) {
        const auto scanCode = scanCodeOf(keyCode);
        if (!scanCode) continue;
        EXPECT_TRUE(places.insert(*scanCode).second) << "key code " << keyCode;
        EXPECT_EQ(keyCodeOf(*scanCode), keyCode);
    }
    EXPECT_GE(places.size(), 68U);
    // Left Control, both Shifts, left Alt, Caps, Num and Scroll Lock, left Super, and numbers beyond a byte.
    for (const std::uint32_t scanCode : {37U, 50U, 62U, 64U, 66U, 77U, 78U, 133U, 0U, 256U + 26U})
        EXPECT_EQ(keyCodeOf(scanCode), std::nullopt) << scanCode;
}

}  // namespace
}  // namespace dravo
