#include "pictures/picture.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <cmath>

namespace dravo {

namespace {

constexpr std::size_t kLevels = 256;

std::array<std::uint8_t, kLevels> bytesOf(const std::vector<float>& channel) {
    assert(channel.size() == kLevels);
    std::array<std::uint8_t, kLevels> result{};
    std::ranges::transform(channel, result.begin(), [](float level) {
        return static_cast<std::uint8_t>(std::lround(255.0 * std::clamp(static_cast<double>(level), 0.0, 1.0)));
    });
    return result;
}

}  // namespace

void applyTable(Picture& picture, const GammaTable& table) {
    const auto red = bytesOf(table.red);
    const auto green = bytesOf(table.green);
    const auto blue = bytesOf(table.blue);
    for (std::size_t i = 0; i + 3 < picture.pixels.size(); i += 4) {
        picture.pixels[i] = red[picture.pixels[i]];
        picture.pixels[i + 1] = green[picture.pixels[i + 1]];
        picture.pixels[i + 2] = blue[picture.pixels[i + 2]];
    }
}

}  // namespace dravo
