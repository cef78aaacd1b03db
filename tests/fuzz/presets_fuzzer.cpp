// Any text as a file of presets: what can be read can be written, and reads back the same.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "filter/preset_json.h"
#include "fuzz/require.h"

using namespace dravo;
using testing::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    if (const auto presets = decodePresets(text)) {
        const auto again = encodePresets(*presets);
        require(again.hasValue(), "presets that were read can be written");
        const auto back = decodePresets(*again);
        require(back && *back == *presets, "presets read back the same");
    } else {
        require(!presets.error().message.empty(), "a refusal has a reason");
    }
    if (const auto preset = decodePreset(text)) {
        const auto again = encodePreset(*preset);
        const auto back = again ? decodePreset(*again) : Result<FilterPreset>(again.error());
        require(back && *back == *preset, "a preset reads back the same");
    }
    return 0;
}
