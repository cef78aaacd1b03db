#pragma once

#include <array>
#include <charconv>
#include <cmath>
#include <concepts>
#include <string>

namespace dravo {

/// The shortest decimal text that reads back as the same number, whatever the locale: "0.1", "6500", "1e+30".
/// Negative zero is "-0.0", since readers take "-0" for a whole number. REQUIRES: `value` is finite.
template <std::floating_point Number>
[[nodiscard]] std::string shortestText(Number value) {
    if (value == 0 && std::signbit(value)) return "-0.0";
    std::array<char, 32> buffer;
    const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value).ptr;
    return {buffer.data(), end};
}

}  // namespace dravo
