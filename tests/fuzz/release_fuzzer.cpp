// Any text as an update feed: what is believed is what a view may show and a browser may open.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "app/release.h"
#include "app/web_address.h"
#include "fuzz/require.h"

using namespace dravo;
using testing::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    if (const auto release = decodeRelease(text)) {
        const auto version = ReleaseVersion::parse(release->version);
        require(version && (*version <=> *version) == 0, "a version equals itself");
        const auto address = parseWebAddress(release->link);
        require(address && address->isSecure && !address->host.empty(), "the link leads somewhere secure");
        const auto isControl = [](unsigned char byte) { return byte < 0x20 && byte != '\n' && byte != '\t'; };
        require(std::ranges::none_of(release->notes, isControl), "notes are plain text");
        require(release->notes.size() <= 4096, "notes are short");
    } else {
        require(!release.error().message.empty(), "a refusal has a reason");
    }
    if (const auto address = parseWebAddress(text)) {
        require(text.find('@') == text.npos || text.find('@') > text.find_first_of("/?#", text.find("://") + 3),
                "no user name stands before the host");
        require(!address->host.empty(), "an address has a host");
    }
    return 0;
}
