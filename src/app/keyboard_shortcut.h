#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace dravo {

// A keyboard shortcut is stored as two numbers: the key, by its place on an ANSI keyboard and not by the letter that a
// layout gives it, and the sum of its modifiers. Numbers that nobody can press may be stored; they have a text too.

/// Bits of a stored modifier mask.
namespace shortcut_modifier {

inline constexpr std::int64_t kSuper = 0x100;
inline constexpr std::int64_t kShift = 0x200;
inline constexpr std::int64_t kAlt = 0x800;
inline constexpr std::int64_t kControl = 0x1000;
inline constexpr std::int64_t kAll = kSuper | kShift | kAlt | kControl;

}  // namespace shortcut_modifier

inline constexpr std::int64_t kEscapeKeyCode = 53;

/// What the X server and the toolkit call the key (its "native scan code", 8 more than the kernel's number); none for
/// a key code without a key.
[[nodiscard]] std::optional<std::uint8_t> scanCodeOf(std::int64_t keyCode);

/// The way back: none for keys that no shortcut can have, modifiers among them.
[[nodiscard]] std::optional<std::int64_t> keyCodeOf(std::uint32_t scanCode);

/// Whether the key has a name of its own; any other is "Key" and its number, in ASCII digits.
[[nodiscard]] bool hasName(std::int64_t keyCode);

/// The shortcut as it is shown: "⌃⇧E". Bits that are no modifier's are left out.
[[nodiscard]] std::string displayString(std::int64_t keyCode, std::int64_t modifiers);

/// The same for a screen reader and for plain text, in the same order: "Control Shift E".
[[nodiscard]] std::string spokenShortcut(std::int64_t keyCode, std::int64_t modifiers);

/// Whether programs use this combination to close a window or to end; it cannot be recorded.
[[nodiscard]] bool isReserved(std::int64_t keyCode, std::int64_t modifiers);

/// Whether it can be recorded: with Control, Alt or Super, so that no plain typing is lost, and not reserved.
[[nodiscard]] bool isRecordable(std::int64_t keyCode, std::int64_t modifiers);

}  // namespace dravo
