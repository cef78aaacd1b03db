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
        {40, 2304, "⌥⌘K", "Alt Super K"},
        {12, 0x1b00, "⌃⌥⇧⌘Q", "Control Alt Shift Super Q"},
        {105, 4096, "⌃Key 105", "Control Key 105"},
        {-1, 0, "Key -1", "Key -1"},
        {270, 0, "Key 270", "Key 270"},  // 256 more than E
        {49, 2048, "⌥Space", "Alt Space"},
        {36, 4096, "⌃⏎", "Control Return"},
        {50, 512, "⇧`", "Shift Grave"},
        {42, 256, "⌘\\", "Super Backslash"},
        {18, 4096 + 1 + 0x400 + 0x10000, "⌃1", "Control 1"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(displayString(row.keyCode, row.modifiers), row.shown);
        EXPECT_EQ(spokenShortcut(row.keyCode, row.modifiers), row.spoken);
    }
}

TEST(KeyboardShortcutTest, NamesTheKeysOfAnAnsiKeyboardAsTheyAreEngraved) {
    const std::pair<const char*, std::vector<std::int64_t>> rows[] = {
        {"`1234567890-=", {50, 18, 19, 20, 21, 23, 22, 26, 28, 25, 29, 27, 24}},
        {"QWERTYUIOP[]\\", {12, 13, 14, 15, 17, 16, 32, 34, 31, 35, 33, 30, 42}},
        {"ASDFGHJKL;'", {0, 1, 2, 3, 5, 4, 38, 40, 37, 41, 39}},
        {"ZXCVBNM,./", {6, 7, 8, 9, 11, 45, 46, 43, 47, 44}},
        {"⏎⇥Space⌫⎋←→↓↑", {36, 48, 49, 51, 53, 123, 124, 125, 126}},
        {"F1F2F3F4F5F6F7F8F9F10F11F12", {122, 120, 99, 118, 96, 97, 98, 100, 101, 109, 103, 111}},
    };
    std::size_t named = 0;
    for (const auto& [engraved, keyCodes] : rows) {
        std::string shown;
        for (const auto keyCode : keyCodes) shown += displayString(keyCode, 0);
        EXPECT_EQ(shown, engraved);
        named += keyCodes.size();
    }
    EXPECT_EQ(named, 68U);
    for (std::int64_t keyCode = 0; keyCode < 256; ++keyCode)
        if (displayString(keyCode, 0) != "Key " + std::to_string(keyCode)) --named;
    EXPECT_EQ(named, 0U) << "no other key has a name";
}

// A row of an ANSI keyboard is a run of the kernel's numbers.
TEST(KeyboardShortcutTest, KeysAreWhereTheKernelCountsThem) {
    const std::pair<std::uint8_t, std::vector<std::int64_t>> rows[] = {
        {1, {53, 18, 19, 20, 21, 23, 22, 26, 28, 25, 29, 27, 24, 51}},   // KEY_ESC to KEY_BACKSPACE
        {15, {48, 12, 13, 14, 15, 17, 16, 32, 34, 31, 35, 33, 30, 36}},  // KEY_TAB to KEY_ENTER
        {30, {0, 1, 2, 3, 5, 4, 38, 40, 37, 41, 39, 50}},                // KEY_A to KEY_GRAVE
        {43, {42, 6, 7, 8, 9, 11, 45, 46, 43, 47, 44}},                  // KEY_BACKSLASH to KEY_SLASH
        {59, {122, 120, 99, 118, 96, 97, 98, 100, 101, 109}},            // KEY_F1 to KEY_F10
        {71, {89, 91, 92, 78, 86, 87, 88, 69, 83, 84, 85, 82, 65}},      // KEY_KP7 to KEY_KPDOT
        {86, {10, 103, 111}},                                            // KEY_102ND to KEY_F12
        {102, {115, 126, 116, 123, 124, 119, 125, 121, 114, 117}},       // KEY_HOME to KEY_DELETE
        {183, {105, 107, 113, 106, 64, 79, 80, 90}},                     // KEY_F13 to KEY_F20
    };
    for (const auto& [first, keyCodes] : rows) {
        auto scanCode = static_cast<std::uint8_t>(first + 8);
        for (const auto keyCode : keyCodes) EXPECT_EQ(scanCodeOf(keyCode), scanCode++) << "key code " << keyCode;
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
