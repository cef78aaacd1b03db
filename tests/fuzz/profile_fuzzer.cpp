// Any bytes as an ICC profile: a calibration that comes out of it could be loaded into a display.
#include <cstddef>
#include <cstdint>

#include "display/icc_profile.h"
#include "fuzz/require.h"

using namespace dravo;
using testing::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto table = calibrationOfProfile({data, size});
    if (!table) return 0;
    require(table->red.size() >= 2, "two entries at least");
    require(table->red.size() == table->green.size() && table->red.size() == table->blue.size(), "equal channels");
    for (const auto* channel : {&table->red, &table->green, &table->blue})
        for (const float level : *channel) require(level >= 0 && level <= 1, "levels from 0 to 1");
    return 0;
}
