#include "display/ramp_levels.h"

namespace dravo {
namespace {

constexpr float kFullDrive = 65535.0F;

std::vector<std::uint16_t> quantise(const std::vector<float>& channel) {
    std::vector<std::uint16_t> levels;
    levels.reserve(channel.size());
    for (const float level : channel) {
        // Written so that NaN fails the first comparison.
        const float clamped = level > 0.0F ? (level < 1.0F ? level : 1.0F) : 0.0F;
        levels.push_back(static_cast<std::uint16_t>(clamped * kFullDrive + 0.5F));
    }
    return levels;
}

std::vector<float> fractions(const std::vector<std::uint16_t>& levels) {
    std::vector<float> channel;
    channel.reserve(levels.size());
    for (const std::uint16_t level : levels) channel.push_back(static_cast<float>(level) / kFullDrive);
    return channel;
}

}  // namespace

RampLevels toLevels(const GammaTable& table, std::size_t size) {
    if (size < 2 || !isLoadable(table)) return {};
    if (table.size() != size) return toLevels(resample(table, size), size);
    return {quantise(table.red), quantise(table.green), quantise(table.blue)};
}

GammaTable toTable(const RampLevels& levels) {
    return {fractions(levels.red), fractions(levels.green), fractions(levels.blue)};
}

bool isLoadable(const GammaTable& table) {
    return table.red.size() >= 2 && table.green.size() == table.red.size() && table.blue.size() == table.red.size();
}

}  // namespace dravo
