#include "app/release.h"

#include <charconv>
#include <nlohmann/json.hpp>
#include <optional>

#include "app/web_address.h"
#include "base/localized.h"
#include "base/parse_json.h"
#include "base/utf8.h"

namespace dravo {

namespace {

using nlohmann::json;

constexpr std::size_t kMaxVersionBytes = 64;
constexpr std::size_t kMaxNotesBytes = 4096;
constexpr std::size_t kMaxDigits = 9;

Error refused(const std::string& what) { return {ErrorCode::InvalidInput, what}; }

bool isDigit(char letter) { return letter >= '0' && letter <= '9'; }
bool isLetter(char letter) { return (letter >= 'a' && letter <= 'z') || (letter >= 'A' && letter <= 'Z'); }

std::optional<std::uint32_t> number(std::string_view digits) {
    std::uint32_t value = 0;
    if (digits.empty() || digits.size() > kMaxDigits) return {};
    const auto [last, fault] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (fault != std::errc() || last != digits.data() + digits.size()) return {};
    return value;
}

bool readNumbers(std::string_view text, ReleaseVersion& version) {
    for (auto& wanted : version.numbers) {
        const std::size_t dot = text.find('.');
        const auto value = number(text.substr(0, dot));
        if (!value) return false;
        wanted = *value;
        if (dot == text.npos) return true;
        text.remove_prefix(dot + 1);
    }
    return false;
}

bool readSuffix(std::string_view text, ReleaseVersion& version) {
    version.isFinal = false;
    bool mayEnd = false;  // Behind a piece, not behind a separator.
    while (!text.empty()) {
        if (!isDigit(text[0]) && !isLetter(text[0])) {
            if (!mayEnd) return false;
            mayEnd = false;
            text.remove_prefix(1);
            continue;
        }
        const bool isNumber = isDigit(text[0]);
        std::size_t length = 0;
        while (length < text.size() && (isNumber ? isDigit(text[length]) : isLetter(text[length]))) ++length;
        const auto piece = text.substr(0, length);
        const auto value = isNumber ? number(piece) : std::nullopt;
        if (isNumber && !value) return false;
        if (value)
            version.suffix.emplace_back(*value);
        else
            version.suffix.emplace_back(std::string(piece));
        text.remove_prefix(length);
        mayEnd = true;
    }
    return mayEnd;
}

bool isPlainText(std::string_view text) {
    while (!text.empty()) {
        const char32_t code = takeCharacter(text).value_or(0);
        const bool isControl = (code < 0x20 && code != '\n' && code != '\t') || (code >= 0x7f && code < 0xa0);
        const bool turnsDirection = (code >= 0x202a && code <= 0x202e) || (code >= 0x2066 && code <= 0x2069);
        if (isControl || turnsDirection) return false;
    }
    return true;
}

Result<std::string> textOf(const json& object, const char* key) {
    const auto found = object.find(key);
    const std::string quoted = "\"" + std::string(key) + "\"";
    if (found == object.end()) return refused(quoted + " is missing");
    if (!found->is_string()) return refused(quoted + " is not a text");
    auto text = found->get<std::string>();
    if (!isPlainText(text)) return refused(quoted + " holds control characters");
    return text;
}

}  // namespace

Result<ReleaseVersion> ReleaseVersion::parse(std::string_view text) {
    const auto isKnown = [](char letter) {
        return isDigit(letter) || isLetter(letter) || letter == '.' || letter == '-' || letter == '+';
    };
    ReleaseVersion version;
    bool isRead = text.size() <= kMaxVersionBytes;
    for (const char letter : text) isRead = isRead && isKnown(letter);
    const auto counted = text.substr(0, text.find('+'));
    const std::size_t dash = counted.find('-');
    isRead = isRead && readNumbers(counted.substr(0, dash), version) &&
             (dash == counted.npos || readSuffix(counted.substr(dash + 1), version));
    if (!isRead) return refused("not a version");
    return version;
}

Result<Release> decodeRelease(std::string_view text) {
    const auto parsed = parseJson<json>(text);
    if (!parsed) return parsed.error();
    if (!parsed->is_object()) return refused("not an object");
    const auto version = textOf(*parsed, "version");
    if (!version) return version.error();
    if (!ReleaseVersion::parse(*version)) return refused("\"version\" is not a version");
    const auto link = textOf(*parsed, "link");
    if (!link) return link.error();
    const auto address = parseWebAddress(*link);
    if (!address) return refused("\"link\" " + inEnglish(address.error().message));
    if (!address->isSecure) return refused("\"link\" does not begin with https://");
    const auto notes = parsed->contains("notes") ? textOf(*parsed, "notes") : Result<std::string>("");
    if (!notes) return notes.error();
    if (notes->size() > kMaxNotesBytes) return refused("\"notes\" are longer than 4096 bytes");
    return Release{*version, *notes, *link};
}

}  // namespace dravo
