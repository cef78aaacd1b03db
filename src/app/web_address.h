#pragma once

#include <string>
#include <string_view>

#include "base/result.h"

namespace dravo {

/// What matters to us of an address on the web.
struct WebAddress {
    bool isSecure = false;  ///< https
    std::string host;       ///< In small letters; an IPv6 address without its brackets.

    /// This machine by its own name for itself or by number: nobody else reads along.
    [[nodiscard]] bool isLoopback() const;
};

/// Takes an absolute http or https address apart, so strictly that every reader of the same text sees the same host:
/// at most 2048 printable ASCII characters, no blank, no backslash, no user name or password.
/// Errors: `InvalidInput`, with what is wrong, to follow on "the address ".
[[nodiscard]] Result<WebAddress> parseWebAddress(std::string_view text);

}  // namespace dravo
