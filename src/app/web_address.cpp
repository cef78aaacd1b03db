#include "app/web_address.h"

#include <algorithm>
#include <charconv>
#include <cstdint>

namespace dravo {

namespace {

constexpr std::size_t kMaxLength = 2048;
constexpr std::string_view kLetters = "abcdefghijklmnopqrstuvwxyz";
constexpr std::string_view kDigits = "0123456789";

Error wrong(const std::string& what) { return {ErrorCode::InvalidInput, what}; }

std::string inSmallLetters(std::string_view text) {
    std::string small(text);
    std::ranges::transform(small, small.begin(), [](char letter) {
        return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
    });
    return small;
}

bool consistsOf(std::string_view text, const std::string& allowed) {
    return !text.empty() && text.find_first_not_of(allowed) == text.npos;
}

/// Empty, or a colon with a port.
bool isPort(std::string_view text) {
    if (text.empty()) return true;
    std::uint16_t port = 0;
    const auto end = text.data() + text.size();
    const auto [last, fault] = std::from_chars(text.data() + 1, end, port);
    return text[0] == ':' && fault == std::errc() && last == end && port > 0;
}

/// Four numbers from 0 to 255 without leading zeros, the first of them 127.
bool isLoopbackNumber(std::string_view host) {
    int parts = 0;
    const char* place = host.data();
    const char* const end = host.data() + host.size();
    while (place < end && parts < 4) {
        std::uint8_t number = 0;
        const auto [last, fault] = std::from_chars(place, end, number);
        const bool hasLeadingZero = *place == '0' && last - place > 1;
        if (fault != std::errc() || hasLeadingZero || (parts == 0 && number != 127)) return false;
        ++parts;
        if (last == end) return parts == 4;
        if (*last != '.') return false;
        place = last + 1;
    }
    return false;
}

}  // namespace

bool WebAddress::isLoopback() const { return host == "localhost" || host == "::1" || isLoopbackNumber(host); }

Result<WebAddress> parseWebAddress(std::string_view text) {
    if (text.size() > kMaxLength) return wrong("is too long");
    if (!std::ranges::all_of(text, [](char letter) { return letter > ' ' && letter < '\x7f' && letter != '\\'; }))
        return wrong("holds a character that no address has");
    const std::size_t colon = text.find("://");
    const std::string scheme = inSmallLetters(text.substr(0, colon));
    if (colon == text.npos || (scheme != "https" && scheme != "http")) return wrong("does not begin with https://");

    std::string_view authority = text.substr(colon + 3);
    authority = authority.substr(0, authority.find_first_of("/?#"));
    if (authority.find('@') != authority.npos) return wrong("holds a user name");
    WebAddress address{scheme == "https", {}};
    std::string_view port;
    std::string allowed = std::string(kLetters) + std::string(kDigits) + ".-_";
    if (authority.starts_with('[')) {
        const std::size_t bracket = authority.find(']');
        address.host = inSmallLetters(authority.substr(1, bracket == authority.npos ? bracket : bracket - 1));
        port = bracket == authority.npos ? ":" : authority.substr(bracket + 1);
        allowed = std::string(kDigits) + "abcdef:.";
    } else {
        const std::size_t end = authority.find(':');
        address.host = inSmallLetters(authority.substr(0, end));
        port = end == authority.npos ? "" : authority.substr(end);
    }
    if (!consistsOf(address.host, allowed)) return wrong("names no server");
    if (!isPort(port)) return wrong("has a wrong port");
    return address;
}

}  // namespace dravo
