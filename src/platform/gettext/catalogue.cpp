#include "platform/gettext/catalogue.h"

#include <algorithm>

namespace dravo::gettext {

namespace {

constexpr std::uint32_t kMagic = 0x950412de;
constexpr std::size_t kHeaderBytes = 28;
constexpr std::size_t kRowBytes = 8;
constexpr std::size_t kMostEntries = 100'000;

std::string idOf(std::string_view key, std::string_view english) {
    constexpr char kEndOfContext = '\4';
    std::string id;
    if (key != english) {
        id = key;
        id += kEndOfContext;
    }
    id += english;
    return id;
}

/// Up to the end of the first of several forms.
std::string_view firstOf(std::string_view forms) { return forms.substr(0, forms.find('\0')); }

}  // namespace

Result<Catalogue> Catalogue::parse(std::string bytes) {
    Catalogue result;
    result.bytes_ = std::move(bytes);
    if (!result.check()) return Error{ErrorCode::InvalidInput, "not a catalogue of texts"};
    return result;
}

bool Catalogue::check() {
    if (bytes_.size() < kHeaderBytes) return false;
    if (numberAt(0) != kMagic) return false;
    entries_ = numberAt(8);
    originals_ = numberAt(12);
    translations_ = numberAt(16);
    const auto fits = [&](std::size_t start, std::size_t length) {
        return start <= bytes_.size() && length <= bytes_.size() - start;
    };
    for (const std::size_t table : {originals_, translations_}) {
        if (entries_ > kMostEntries || !fits(table, entries_ * kRowBytes)) return false;
        for (std::size_t row = table; row < table + entries_ * kRowBytes; row += kRowBytes)
            if (!fits(numberAt(row + 4), numberAt(row))) return false;
    }
    return true;
}

std::uint32_t Catalogue::numberAt(std::size_t offset) const {
    std::uint32_t number = 0;
    for (std::size_t i = 0; i < 4; ++i) {
        const auto byte = static_cast<unsigned char>(bytes_[offset + 3 - i]);
        number = number << 8 | byte;
    }
    return number;
}

std::string_view Catalogue::stringAt(std::size_t table, std::size_t index) const {
    const std::size_t row = table + index * kRowBytes;
    return std::string_view(bytes_).substr(numberAt(row + 4), numberAt(row));
}

std::optional<std::string_view> Catalogue::find(std::string_view id) const {
    std::size_t first = 0;
    std::size_t last = entries_;
    while (first < last) {
        const std::size_t middle = (first + last) / 2;
        const int order = firstOf(stringAt(originals_, middle)).compare(id);
        if (order == 0) return stringAt(translations_, middle);
        if (order < 0)
            first = middle + 1;
        else
            last = middle;
    }
    return std::nullopt;
}

std::optional<std::string_view> Catalogue::text(std::string_view key, std::string_view one, std::size_t form) const {
    auto forms = find(idOf(key, one));
    for (std::size_t skipped = 0; forms && skipped < form; ++skipped) {
        const std::size_t end = forms->find('\0');
        if (end == std::string_view::npos) return std::nullopt;
        forms->remove_prefix(end + 1);
    }
    return forms ? std::optional(firstOf(*forms)) : std::nullopt;
}

}  // namespace dravo::gettext
