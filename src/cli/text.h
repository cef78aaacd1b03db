#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/sentence.h"

namespace dravo::cli {

/// Reads all of `text` as a finite decimal number, whatever the locale. A leading "+" is allowed.
[[nodiscard]] std::optional<double> parseNumber(std::string_view text);

/// `value` with exactly `decimals` digits after the point, whatever the locale.
[[nodiscard]] std::string fixed(double value, int decimals);

/// 7 as "07". REQUIRES: not negative.
[[nodiscard]] std::string twoDigits(int number);

/// Minutes of the day as "20:05".
[[nodiscard]] std::string clockText(int minutes);

/// "20:05", or "7:30", as minutes of the day.
[[nodiscard]] std::optional<int> parseClock(std::string_view text);

/// `text` for a terminal: control characters and what is not UTF-8 become "?".
[[nodiscard]] std::string printable(std::string_view text);

/// The same in the language's quotes, cut after 200 bytes: whatever a person typed, the message stays one line.
[[nodiscard]] std::string quoted(std::string_view text);

/// A complaint with what was probably meant, and with the command that says more: "...; did you mean 'toggle'?" and
/// "... (see 'dravo --help')".
[[nodiscard]] Sentence withGuess(Sentence complaint, std::string_view meant);
[[nodiscard]] Sentence withHint(Sentence complaint, std::string_view helpCommand);

/// 42.4 as "42%", or as the language writes it.
[[nodiscard]] std::string percentText(double percent);

/// The columns that `text` takes in a terminal. REQUIRES: UTF-8.
[[nodiscard]] std::size_t columnsOf(std::string_view text);

/// `text` in lines of at most `width` columns, broken between words, or where the language has none between characters.
/// A longer word has a line of its own. No line break at the end.
[[nodiscard]] std::string wrapped(std::string_view text, std::size_t width);

/// `text` filled up with spaces to `width` columns; the second one in front of it.
[[nodiscard]] std::string padded(std::string_view text, std::size_t width);
[[nodiscard]] std::string paddedInFront(std::string_view text, std::size_t width);

/// Lines of cells as columns, two spaces apart; the last cell of each line as it is.
[[nodiscard]] std::string inColumns(const std::vector<std::vector<std::string>>& lines);

/// The candidate that `typed` was probably meant to be: few typing errors away. Empty when nothing is near.
[[nodiscard]] std::string_view nearest(std::string_view typed, std::span<const std::string_view> candidates);

}  // namespace dravo::cli
