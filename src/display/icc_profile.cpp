#include "display/icc_profile.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace dravo {

namespace {

constexpr std::uint32_t kVcgtSignature = iccSignature("vcgt");
constexpr std::size_t kTagEntrySize = 12;
constexpr std::size_t kMaxTags = 1024;
constexpr std::size_t kMaxEntries = 4096;
constexpr std::size_t kFormulaEntries = 256;

using Bytes = std::span<const std::uint8_t>;

// REQUIRES for both: the bytes are there.
std::uint32_t u16(Bytes bytes, std::size_t at) { return static_cast<std::uint32_t>(bytes[at]) << 8 | bytes[at + 1]; }
std::uint32_t u32(Bytes bytes, std::size_t at) { return u16(bytes, at) << 16 | u16(bytes, at + 2); }
double s15Fixed16(Bytes bytes, std::size_t at) { return static_cast<std::int32_t>(u32(bytes, at)) / 65536.0; }

std::optional<GammaTable> readTable(Bytes tag) {
    constexpr std::size_t kData = 18;
    if (tag.size() < kData) return std::nullopt;
    const std::size_t channels = u16(tag, 12);
    const std::size_t entries = u16(tag, 14);
    std::size_t entrySize = u16(tag, 16);
    // A known maker of profiles writes two bytes an entry and says one; only the size of the tag tells.
    if (channels == 3 && entries == 256 && entrySize == 1 && tag.size() == 1576) entrySize = 2;
    if ((channels != 1 && channels != 3) || (entrySize != 1 && entrySize != 2)) return std::nullopt;
    if (entries < 2 || entries > kMaxEntries || tag.size() - kData < channels * entries * entrySize)
        return std::nullopt;

    const auto channel = [&](std::size_t index) {
        std::vector<float> levels(entries);
        for (std::size_t i = 0; i < entries; ++i) {
            const std::size_t at = kData + (std::min(index, channels - 1) * entries + i) * entrySize;
            const std::uint32_t level = entrySize == 1 ? tag[at] * 257u : u16(tag, at);
            levels[i] = static_cast<float>(level) / 65535.0f;
        }
        return levels;
    };
    return GammaTable{channel(0), channel(1), channel(2)};
}

std::optional<GammaTable> readFormula(Bytes tag) {
    constexpr std::size_t kData = 12;
    constexpr std::size_t kTriple = 12;
    if (tag.size() < kData + 3 * kTriple) return std::nullopt;
    std::array<std::vector<float>, 3> channels;
    for (std::size_t c = 0; c < channels.size(); ++c) {
        const double gamma = s15Fixed16(tag, kData + c * kTriple);
        const double minimum = s15Fixed16(tag, kData + c * kTriple + 4);
        const double maximum = s15Fixed16(tag, kData + c * kTriple + 8);
        if (gamma <= 0) return std::nullopt;
        for (std::size_t i = 0; i < kFormulaEntries; ++i) {
            const double x = static_cast<double>(i) / (kFormulaEntries - 1);
            const double y = (maximum - minimum) * std::pow(x, gamma) + minimum;
            channels[c].push_back(static_cast<float>(std::clamp(y, 0.0, 1.0)));
        }
    }
    return GammaTable{std::move(channels[0]), std::move(channels[1]), std::move(channels[2])};
}

}  // namespace

std::vector<IccTag> tagsOfProfile(std::span<const std::uint8_t> profile) {
    if (profile.size() < kIccHeaderSize + 4) return {};
    const std::size_t room = (profile.size() - kIccHeaderSize - 4) / kTagEntrySize;
    const std::size_t count = std::min<std::size_t>({u32(profile, kIccHeaderSize), room, kMaxTags});
    std::vector<IccTag> tags;
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t entry = kIccHeaderSize + 4 + i * kTagEntrySize;
        const std::size_t offset = u32(profile, entry + 4);
        const std::size_t size = u32(profile, entry + 8);
        if (offset <= profile.size() && size <= profile.size() - offset)
            tags.push_back({u32(profile, entry), profile.subspan(offset, size)});
    }
    return tags;
}

std::optional<GammaTable> calibrationOfProfile(std::span<const std::uint8_t> profile) {
    const auto tags = tagsOfProfile(profile);
    const auto found = std::ranges::find(tags, kVcgtSignature, &IccTag::signature);
    const Bytes tag = found == tags.end() ? Bytes{} : found->data;
    if (tag.size() < 12 || u32(tag, 0) != kVcgtSignature) return std::nullopt;
    switch (u32(tag, 8)) {
        case 0:
            return readTable(tag);
        case 1:
            return readFormula(tag);
        default:
            return std::nullopt;
    }
}

}  // namespace dravo
