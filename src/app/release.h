#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "base/result.h"

namespace dravo {

/// A version such as 1.2.0 or 1.3-rc.2, for comparing.
///
/// The numbers count as numbers, missing ones as 0; what has a suffix behind "-" comes before what has none. Suffixes
/// are compared piece by piece, cut at ".", "-" and where letters meet digits: digits as numbers and before letters,
/// letters by their codes, and the shorter one first. What follows "+" does not count.
struct ReleaseVersion {
    std::array<std::uint32_t, 4> numbers{};
    bool isFinal = true;  ///< Without a suffix. Stands before the suffix: members compare in this order.
    std::vector<std::variant<std::uint32_t, std::string>> suffix;

    /// Reads one to four numbers of up to nine digits with dots between them, then perhaps "-" and a suffix, perhaps
    /// "+" and anything of the same characters; at most 64 letters, digits, ".", "-" and "+". Errors: `InvalidInput`.
    [[nodiscard]] static Result<ReleaseVersion> parse(std::string_view text);

    auto operator<=>(const ReleaseVersion&) const = default;
};

/// What the feed announces.
struct Release {
    std::string version;  ///< As the feed writes it; a `ReleaseVersion` can be read from it.
    std::string notes;    ///< Plain text, never markup: lines in UTF-8 without control characters; may be empty.
    std::string link;     ///< An https address.
};

/// Reads the feed's text: a JSON object with the texts "version", "link" and, if it likes, "notes" (up to 4096 bytes);
/// other keys are left alone. Nothing in it is trusted: control characters, characters that turn the direction of
/// writing about, and a link that is not https are refused, whole.
/// Errors: `InvalidInput`, with what is wrong, in English for whoever wrote the feed.
[[nodiscard]] Result<Release> decodeRelease(std::string_view text);

}  // namespace dravo
