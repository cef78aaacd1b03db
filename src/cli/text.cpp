#include "cli/text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <numeric>
#include <vector>

namespace dravo::cli {

namespace {

/// How many insertions, deletions, replacements and swaps of neighbours turn one text into the other.
std::size_t editDistance(std::string_view from, std::string_view to) {
    std::vector<std::vector<std::size_t>> rows(from.size() + 1, std::vector<std::size_t>(to.size() + 1));
    std::iota(rows[0].begin(), rows[0].end(), std::size_t{0});
    for (std::size_t i = 1; i <= from.size(); ++i) {
        rows[i][0] = i;
        for (std::size_t j = 1; j <= to.size(); ++j) {
            const std::size_t replaced = rows[i - 1][j - 1] + (from[i - 1] == to[j - 1] ? 0 : 1);
            rows[i][j] = std::min({replaced, rows[i - 1][j] + 1, rows[i][j - 1] + 1});
            const bool isSwap = i > 1 && j > 1 && from[i - 1] == to[j - 2] && from[i - 2] == to[j - 1];
            if (isSwap) rows[i][j] = std::min(rows[i][j], rows[i - 2][j - 2] + 1);
        }
    }
    return rows.back().back();
}

std::string lowered(std::string_view text) {
    std::string result(text);
    for (char& c : result) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    }
    return result;
}

}  // namespace

std::optional<double> parseNumber(std::string_view text) {
    if (text.starts_with('+') && text.size() > 1 && text[1] != '-') text.remove_prefix(1);
    double value = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc{} || stop != end || !std::isfinite(value)) return std::nullopt;
    return value;
}

std::string fixed(double value, int decimals) {
    std::array<char, 400> buffer;  // the largest double has 309 digits before the point
    const auto [end, error] =
        std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, std::chars_format::fixed, decimals);
    return std::string(buffer.data(), end);
}

std::string twoDigits(int number) { return (number < 10 ? "0" : "") + std::to_string(number); }

std::string clockText(int minutes) { return twoDigits(minutes / 60) + ":" + twoDigits(minutes % 60); }

std::optional<int> parseClock(std::string_view text) {
    const std::size_t colon = text.find(':');
    if (colon == 0 || colon > 2 || text.size() != colon + 3) return std::nullopt;
    int parts[2] = {};
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (i == colon) continue;
        if (text[i] < '0' || text[i] > '9') return std::nullopt;
        int& part = parts[i > colon ? 1 : 0];
        part = part * 10 + (text[i] - '0');
    }
    return parts[0] < 24 && parts[1] < 60 ? std::optional(parts[0] * 60 + parts[1]) : std::nullopt;
}

std::string quoted(std::string_view text) {
    constexpr std::size_t kLongest = 200;
    std::string result = "'";
    for (const char c : text.substr(0, kLongest)) {
        const auto byte = static_cast<unsigned char>(c);
        result += byte < 0x20 || byte == 0x7f ? '?' : c;
    }
    return result + (text.size() > kLongest ? "...'" : "'");
}

std::string padded(std::string_view text, std::size_t width) {
    std::string result(text);
    // Bytes that continue a UTF-8 character take no column of their own.
    const auto columns = static_cast<std::size_t>(
        std::ranges::count_if(text, [](char c) { return (static_cast<unsigned char>(c) & 0xc0) != 0x80; }));
    if (columns < width) result.append(width - columns, ' ');
    return result;
}

std::string_view nearest(std::string_view typed, std::span<const std::string_view> candidates) {
    constexpr std::size_t kLongestTyped = 64;
    if (typed.size() > kLongestTyped) return {};
    const std::string wanted = lowered(typed);
    std::string_view best;
    std::size_t bestDistance = typed.size() / 3 + 2;
    for (const std::string_view candidate : candidates) {
        const std::size_t distance = editDistance(wanted, lowered(candidate));
        if (distance < bestDistance) {
            best = candidate;
            bestDistance = distance;
        }
    }
    return best;
}

}  // namespace dravo::cli
