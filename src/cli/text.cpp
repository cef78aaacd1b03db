#include "cli/text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <iterator>
#include <numeric>
#include <utility>

#include "base/localized.h"
#include "base/utf8.h"

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

/// Stands for a byte of no character.
constexpr char32_t kUnreadable = U'\ufffd';

struct CharacterRange {
    char32_t first;
    char32_t last;
};

bool isIn(std::span<const CharacterRange> ranges, char32_t character) {
    return std::ranges::any_of(
        ranges, [&](const CharacterRange& range) { return character >= range.first && character <= range.last; });
}

std::size_t columnsOf(char32_t character) {
    // Chinese, Japanese and Korean characters and their punctuation.
    static constexpr CharacterRange kWide[] = {{0x1100, 0x115f}, {0x2e80, 0xa4cf},  {0xac00, 0xd7a3},
                                               {0xf900, 0xfaff}, {0xfe30, 0xfe6f},  {0xff00, 0xff60},
                                               {0xffe0, 0xffe6}, {0x20000, 0x3fffd}};
    // Marks above and below letters, and what only directs the text.
    static constexpr CharacterRange kNone[] = {{0x300, 0x36f},   {0x64b, 0x65f},   {0x670, 0x670},
                                               {0x200b, 0x200f}, {0x202a, 0x202e}, {0x2066, 0x2069}};
    return isIn(kWide, character) ? 2 : isIn(kNone, character) ? 0 : 1;
}

/// Punctuation that a line does not begin with.
bool neverBegins(char32_t character) {
    static constexpr char32_t kClosing[] = {U'、', U'。', U'，', U'．', U'：', U'；', U'！', U'？', U'）', U'」',
                                            U'』', U'”',  U'’',  U'ー', U',',  U'.',  U':',  U';',  U')',  U'\''};
    return std::ranges::find(kClosing, character) != std::end(kClosing);
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

std::string printable(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        const auto rest = text;
        const auto character = takeCharacter(text);
        const bool isControl = !character || *character < 0x20 || (*character >= 0x7f && *character < 0xa0);
        result += isControl ? "?" : rest.substr(0, rest.size() - text.size());
    }
    return result;
}

std::string quoted(std::string_view text) {
    constexpr std::size_t kLongest = 200;
    const std::string shown = printable(text.substr(0, kLongest));
    return filled(localized("cli.quoted", "'%@'"), {text.size() > kLongest ? shown + "..." : shown});
}

Sentence withGuess(Sentence complaint, std::string_view meant) {
    return {textKey("%1$@; did you mean '%2$@'?"), {std::move(complaint), meant}};
}

Sentence withHint(Sentence complaint, std::string_view helpCommand) {
    return {textKey("%1$@ (see '%2$@')"), {std::move(complaint), helpCommand}};
}

std::string percentText(double percent) { return filled(localized("cli.percent", "%@%"), {fixed(percent, 0)}); }

std::size_t columnsOf(std::string_view text) {
    std::size_t columns = 0;
    while (!text.empty()) columns += columnsOf(takeCharacter(text).value_or(kUnreadable));
    return columns;
}

std::string wrapped(std::string_view text, std::size_t width) {
    std::string result;
    std::size_t column = 0;
    std::string word;
    bool isSpaced = false;
    const auto endWord = [&] {
        if (word.empty()) return;
        const std::size_t columns = columnsOf(word);
        const bool fits = column + (isSpaced ? 1 : 0) + columns <= width;
        if (column > 0 && !fits) {
            result += '\n';
            column = 0;
        } else if (column > 0 && isSpaced) {
            result += ' ';
            ++column;
        }
        result += std::exchange(word, {});
        column += columns;
        isSpaced = false;
    };
    bool mayBreak = false;
    while (!text.empty()) {
        const auto start = text;
        const char32_t character = takeCharacter(text).value_or(kUnreadable);
        if (character == ' ') {
            endWord();
            isSpaced = true;
            continue;
        }
        const bool isWide = columnsOf(character) > 1;
        if ((mayBreak || isWide) && !neverBegins(character)) endWord();
        mayBreak = isWide;
        word += start.substr(0, start.size() - text.size());
    }
    endWord();
    return result;
}

std::string padded(std::string_view text, std::size_t width) {
    const std::size_t columns = columnsOf(text);
    return std::string(text) + std::string(width > columns ? width - columns : 0, ' ');
}

std::string paddedInFront(std::string_view text, std::size_t width) {
    const std::size_t columns = columnsOf(text);
    return std::string(width > columns ? width - columns : 0, ' ') + std::string(text);
}

std::string inColumns(const std::vector<std::vector<std::string>>& lines) {
    std::vector<std::size_t> widths;
    for (const auto& line : lines) {
        widths.resize(std::max(widths.size(), line.size()));
        for (std::size_t i = 0; i < line.size(); ++i) widths[i] = std::max(widths[i], columnsOf(line[i]));
    }
    std::string result;
    for (const auto& line : lines) {
        for (std::size_t i = 0; i + 1 < line.size(); ++i) result += padded(line[i], widths[i] + 2);
        result += line.back() + "\n";
    }
    return result;
}

std::string_view nearest(std::string_view typed, std::span<const std::string_view> candidates) {
    constexpr std::size_t kLongestTyped = 64;
    if (typed.size() > kLongestTyped) return {};
    const std::string wanted = lowered(typed);
    std::string_view best;
    // One error in a short word, two in one of six letters: more would find something in any word.
    std::size_t bestDistance = std::max<std::size_t>(typed.size() / 3, 1) + 1;
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
