#include "base/localized.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <utility>
#include <vector>

namespace dravo {

namespace {

// Threads beside the main one have errors to tell, too.
std::atomic<const Localizer*> installed = nullptr;

const Localizer& localizer() {
    static const Localizer english;
    const Localizer* const chosen = installed;
    return chosen ? *chosen : english;
}

/// A placeholder at the start of a text: its length, and which value it takes (from 0; none: the next).
struct Placeholder {
    std::size_t length = 0;
    int index = -1;
};

Placeholder placeholderAt(std::string_view text) {
    if (text.starts_with("%@")) return {2, -1};
    if (text.starts_with("%lld")) return {4, -1};
    if (text.size() >= 4 && text[0] == '%' && text[1] >= '1' && text[1] <= '9' && text.substr(2).starts_with("$@"))
        return {4, text[1] - '1'};
    return {};
}

/// Whether `value` is drawn in its own order also between letters that run from right to left: a figure or a time, what
/// is Latin from its first letter to its last, and what begins and ends with other letters.
bool keepsItsOrder(std::string_view value) {
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    const auto isLetter = [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); };
    const auto isForeign = [](char c) { return static_cast<unsigned char>(c) >= 0x80; };
    if (std::ranges::all_of(value, [&](char c) { return isDigit(c) || c == '.' || c == ',' || c == ':'; })) return true;
    if (isForeign(value.front())) return isForeign(value.back());
    return isLetter(value.front()) && (isLetter(value.back()) || isDigit(value.back())) &&
           std::ranges::none_of(value, isForeign);
}

std::string isolated(std::string_view value) { return "\u2068" + std::string(value) + "\u2069"; }

template <typename Values>
std::string fill(std::string_view text, const Values& values, bool isRightToLeft) {
    std::string result;
    std::size_t next = 0;
    while (!text.empty()) {
        const std::size_t start = std::min(text.find('%'), text.size());
        result += text.substr(0, start);
        text.remove_prefix(start);
        const auto [length, index] = placeholderAt(text);
        const std::size_t value = index >= 0 ? static_cast<std::size_t>(index) : next;
        const bool isFilled = length > 0 && value < values.size();
        if (isFilled && index < 0) ++next;
        const std::size_t taken = std::min(std::max<std::size_t>(length, 1), text.size());
        const std::string_view put =
            isFilled ? *(values.begin() + static_cast<std::ptrdiff_t>(value)) : text.substr(0, taken);
        result += isFilled && isRightToLeft && !keepsItsOrder(put) ? isolated(put) : put;
        text.remove_prefix(taken);
    }
    return result;
}

}  // namespace

std::string localized(std::string_view key, std::string_view english) {
    return english.empty() ? std::string() : localizer().text(key, english);
}

std::string localizedCount(std::string_view key, std::string_view one, std::string_view other, std::uint64_t count) {
    return localizer().count(key, one, other, count);
}

std::string localized(const Sentence& sentence) {
    if (sentence.text.english.empty()) return sentence.plain;
    std::vector<std::string> values;
    for (const auto& value : sentence.values) values.push_back(localized(value));
    return fill(localized(sentence.text), values, interfaceLocale().isRightToLeft);
}

std::string inEnglish(const Sentence& sentence) {
    if (sentence.text.english.empty()) return sentence.plain;
    std::vector<std::string> values;
    for (const auto& value : sentence.values) values.push_back(inEnglish(value));
    return fill(sentence.text.english, values, false);
}

std::string filled(std::string_view text, std::initializer_list<std::string_view> values) {
    return fill(text, values, interfaceLocale().isRightToLeft);
}

Sentence withDetail(Sentence subject, Sentence detail) {
    return {textKey("text.detail", "%1$@: %2$@"), {std::move(subject), std::move(detail)}};
}

std::string saidBy(std::string_view name, const Sentence& sentence) {
    // A terminal lays a line out by its first letter, which would be the name's.
    constexpr const char* kRightToLeftMark = "\u200f";
    return (localizer().locale().isRightToLeft ? kRightToLeftMark : "") + std::string(name) + ": " +
           localized(sentence) + "\n";
}

InterfaceLocale interfaceLocale() { return localizer().locale(); }

const Localizer* installLocalizer(const Localizer* localizer) { return installed.exchange(localizer); }

}  // namespace dravo
