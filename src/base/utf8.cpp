#include "base/utf8.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace dravo {

std::optional<char32_t> takeCharacter(std::string_view& text) {
    // The smallest character that takes this many bytes.
    static constexpr std::array<char32_t, 5> kSmallest{0, 0, 0x80, 0x800, 0x10000};
    const auto first = static_cast<unsigned char>(text[0]);
    const std::size_t length = first < 0x80 ? 1 : first < 0xc0 ? 0 : first < 0xe0 ? 2 : first < 0xf0 ? 3 : 4;
    const std::string_view rest = text.substr(1, std::max<std::size_t>(length, 1) - 1);
    text.remove_prefix(1);
    if (length == 1) return first;
    char32_t character = first & (0x7fU >> length);
    for (const char byte : rest) {
        if (!continuesCharacter(byte)) return std::nullopt;
        character = character << 6 | (static_cast<unsigned char>(byte) & 0x3fU);
    }
    const bool isSurrogate = character >= 0xd800 && character < 0xe000;
    if (length == 0 || rest.size() + 1 < length || first >= 0xf8 || character < kSmallest[length] || isSurrogate ||
        character > 0x10ffff)
        return std::nullopt;
    text.remove_prefix(rest.size());
    return character;
}

bool isUtf8(std::string_view text) {
    while (!text.empty())
        if (!takeCharacter(text)) return false;
    return true;
}

}  // namespace dravo
