#pragma once

#include <optional>
#include <string_view>

namespace dravo {

/// Whether `byte` continues a character that an earlier one began.
[[nodiscard]] constexpr bool continuesCharacter(char byte) { return (static_cast<unsigned char>(byte) & 0xc0) == 0x80; }

/// The first character of `text`, which loses it. What is not UTF-8 (a byte out of place, more bytes than a character
/// needs, half of a surrogate pair) gives nothing, and `text` loses one byte.
/// REQUIRES: not empty.
[[nodiscard]] std::optional<char32_t> takeCharacter(std::string_view& text);

[[nodiscard]] bool isUtf8(std::string_view text);

}  // namespace dravo
