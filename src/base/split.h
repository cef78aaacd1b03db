#pragma once

#include <string_view>
#include <vector>

namespace dravo {

/// The pieces of `text` between the separators, also empty ones: always at least one. They live as long as `text` does.
[[nodiscard]] inline std::vector<std::string_view> splitAt(char separator, std::string_view text) {
    std::vector<std::string_view> pieces;
    for (;;) {
        const auto end = text.find(separator);
        pieces.push_back(text.substr(0, end));
        if (end == text.npos) return pieces;
        text.remove_prefix(end + 1);
    }
}

}  // namespace dravo
