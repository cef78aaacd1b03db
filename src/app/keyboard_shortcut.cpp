#include "app/keyboard_shortcut.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "base/localized.h"

namespace dravo {

namespace {

using namespace shortcut_modifier;

/// X servers and toolkits count from 8 where the kernel counts from 0.
constexpr std::uint8_t kFirstScanCode = 8;

constexpr std::int64_t kQ = 12;
constexpr std::int64_t kW = 13;

struct Key {
    std::uint8_t code;
    std::uint8_t kernelCode;     ///< KEY_... of linux/input-event-codes.h.
    std::string_view name = {};  ///< What is shown; empty: "Key" and the code.
    TextKey spoken = {};         ///< What says it where the name cannot be read out.
};

// In the order of the code. Lock keys and modifiers are missing on purpose.
constexpr Key kKeys[] = {
    {0, 30, "A"},
    {1, 31, "S"},
    {2, 32, "D"},
    {3, 33, "F"},
    {4, 35, "H"},
    {5, 34, "G"},
    {6, 44, "Z"},
    {7, 45, "X"},
    {8, 46, "C"},
    {9, 47, "V"},
    {10, 86},  // left of Z on ISO keyboards
    {11, 48, "B"},
    {12, 16, "Q"},
    {13, 17, "W"},
    {14, 18, "E"},
    {15, 19, "R"},
    {16, 21, "Y"},
    {17, 20, "T"},
    {18, 2, "1"},
    {19, 3, "2"},
    {20, 4, "3"},
    {21, 5, "4"},
    {22, 7, "6"},
    {23, 6, "5"},
    {24, 13, "=", textKey("key.equals", "Equals")},
    {25, 10, "9"},
    {26, 8, "7"},
    {27, 12, "-", textKey("key.minus", "Minus")},
    {28, 9, "8"},
    {29, 11, "0"},
    {30, 27, "]", textKey("key.right_bracket", "Right Bracket")},
    {31, 24, "O"},
    {32, 22, "U"},
    {33, 26, "[", textKey("key.left_bracket", "Left Bracket")},
    {34, 23, "I"},
    {35, 25, "P"},
    {36, 28, "⏎", textKey("key.return", "Return")},
    {37, 38, "L"},
    {38, 36, "J"},
    {39, 40, "'", textKey("key.apostrophe", "Apostrophe")},
    {40, 37, "K"},
    {41, 39, ";", textKey("key.semicolon", "Semicolon")},
    {42, 43, "\\", textKey("key.backslash", "Backslash")},
    {43, 51, ",", textKey("key.comma", "Comma")},
    {44, 53, "/", textKey("key.slash", "Slash")},
    {45, 49, "N"},
    {46, 50, "M"},
    {47, 52, ".", textKey("key.period", "Period")},
    {48, 15, "⇥", textKey("key.tab", "Tab")},
    {49, 57, "Space", textKey("Space")},
    {50, 41, "`", textKey("key.grave", "Grave")},
    {51, 14, "⌫", textKey("key.backspace", "Backspace")},
    {53, 1, "⎋", textKey("key.escape", "Escape")},
    {64, 187},  // F17
    {65, 83},   // keypad, as far as 92
    {67, 55},
    {69, 78},
    {75, 98},
    {76, 96},
    {78, 74},
    {79, 188},  // F18
    {80, 189},  // F19
    {81, 117},
    {82, 82},
    {83, 79},
    {84, 80},
    {85, 81},
    {86, 75},
    {87, 76},
    {88, 77},
    {89, 71},
    {90, 190},  // F20
    {91, 72},
    {92, 73},
    {93, 124},  // Yen
    {94, 89},   // Ro
    {95, 121},  // keypad comma
    {96, 63, "F5"},
    {97, 64, "F6"},
    {98, 65, "F7"},
    {99, 61, "F3"},
    {100, 66, "F8"},
    {101, 67, "F9"},
    {103, 87, "F11"},
    {105, 183},  // F13
    {106, 186},  // F16
    {107, 184},  // F14
    {109, 68, "F10"},
    {110, 127},  // Menu
    {111, 88, "F12"},
    {113, 185},  // F15
    {114, 110},  // Insert
    {115, 102},  // Home
    {116, 104},  // Page Up
    {117, 111},  // Delete
    {118, 62, "F4"},
    {119, 107},  // End
    {120, 60, "F2"},
    {121, 109},  // Page Down
    {122, 59, "F1"},
    {123, 105, "←", textKey("key.left", "Left")},
    {124, 106, "→", textKey("key.right", "Right")},
    {125, 108, "↓", textKey("key.down", "Down")},
    {126, 103, "↑", textKey("key.up", "Up")},
};

struct Modifier {
    std::int64_t bit;
    std::string_view symbol;
    TextKey spoken;
};

// In the order in which a shortcut shows them.
constexpr Modifier kModifiers[] = {{kControl, "⌃", textKey("Control")},
                                   {kAlt, "⌥", textKey("Alt")},
                                   {kShift, "⇧", textKey("Shift")},
                                   {kSuper, "⌘", textKey("Super")}};

const Key* find(std::int64_t keyCode) {
    const auto* const key = std::ranges::lower_bound(kKeys, keyCode, {}, &Key::code);
    return key != std::end(kKeys) && key->code == keyCode ? key : nullptr;
}

std::string unnamedKey(std::int64_t keyCode) { return filled(localized("Key %lld"), {std::to_string(keyCode)}); }

}  // namespace

std::optional<std::uint8_t> scanCodeOf(std::int64_t keyCode) {
    const Key* const key = find(keyCode);
    if (!key) return std::nullopt;
    return static_cast<std::uint8_t>(key->kernelCode + kFirstScanCode);
}

std::optional<std::int64_t> keyCodeOf(std::uint32_t scanCode) {
    const auto isIt = [&](const Key& key) { return key.kernelCode + std::uint32_t{kFirstScanCode} == scanCode; };
    const auto* const key = std::ranges::find_if(kKeys, isIt);
    if (key == std::end(kKeys)) return std::nullopt;
    return key->code;
}

bool hasName(std::int64_t keyCode) {
    const Key* const key = find(keyCode);
    return key && !key->name.empty();
}

std::string displayString(std::int64_t keyCode, std::int64_t modifiers) {
    std::string text;
    for (const auto& modifier : kModifiers)
        if ((modifiers & modifier.bit) != 0) text += modifier.symbol;
    return text + (hasName(keyCode) ? std::string(find(keyCode)->name) : unnamedKey(keyCode));
}

std::string spokenShortcut(std::int64_t keyCode, std::int64_t modifiers) {
    std::string text;
    for (const auto& modifier : kModifiers)
        if ((modifiers & modifier.bit) != 0) text += localized(modifier.spoken) + ' ';
    if (!hasName(keyCode)) return text + unnamedKey(keyCode);
    const Key& key = *find(keyCode);
    return text + (key.spoken.english.empty() ? std::string(key.name) : localized(key.spoken));
}

bool isReserved(std::int64_t keyCode, std::int64_t modifiers) {
    if (modifiers == kSuper) return keyCode == kQ || keyCode == kW;
    return modifiers == (kSuper | kShift) && keyCode == kQ;
}

bool isRecordable(std::int64_t keyCode, std::int64_t modifiers) {
    return (modifiers & (kControl | kAlt | kSuper)) != 0 && !isReserved(keyCode, modifiers);
}

}  // namespace dravo
