#include "display/display_identity.h"

#include <algorithm>
#include <optional>

namespace dravo {
namespace {

constexpr std::size_t kEdidBaseBlock = 128;

/// FNV-1a, folded to 16 bits and never 0.
template <typename Bytes>
std::uint16_t hash16(const Bytes& bytes) {
    std::uint32_t hash = 2166136261U;
    for (const auto byte : bytes) hash = (hash ^ static_cast<std::uint8_t>(byte)) * 16777619U;
    const auto folded = static_cast<std::uint16_t>((hash >> 16U) ^ (hash & 0xFFFFU));
    return folded == 0 ? std::uint16_t{1} : folded;
}

std::uint16_t edidHalf(const std::vector<std::uint8_t>& edid) {
    if (edid.empty()) return 0;
    return hash16(std::span(edid).first(std::min(edid.size(), kEdidBaseBlock)));
}

DisplayId makeId(std::uint16_t upper, std::uint16_t lower) { return DisplayId{(std::uint32_t{upper} << 16U) | lower}; }

std::uint16_t upperHalf(DisplayId id) { return static_cast<std::uint16_t>(static_cast<std::uint32_t>(id) >> 16U); }
std::uint16_t lowerHalf(DisplayId id) { return static_cast<std::uint16_t>(static_cast<std::uint32_t>(id) & 0xFFFFU); }

DisplayId next(DisplayId id) {
    const auto lower = static_cast<std::uint16_t>(lowerHalf(id) + 1U);
    return makeId(upperHalf(id), lower == 0 ? std::uint16_t{1} : lower);
}

}  // namespace

void DisplayIdentities::know(std::span<const DisplayId> ids) {
    declared_.insert(ids.begin(), ids.end());
    known_ = declared_;
    remembered_.clear();
    lastOnline_.clear();
}

std::vector<DisplayId> DisplayIdentities::assign(std::span<const OutputIdentity> online) {
    struct Candidate {
        std::size_t index;
        Monitor monitor;
        DisplayId exact;
        std::optional<DisplayId> id;
    };
    std::vector<Candidate> candidates;
    for (std::size_t i = 0; i < online.size(); ++i) {
        const Monitor monitor{online[i].connector, edidHalf(online[i].edid)};
        candidates.push_back({i, monitor, makeId(monitor.second, hash16(monitor.first)), std::nullopt});
    }
    std::ranges::stable_sort(candidates, {}, &Candidate::monitor);

    std::set<DisplayId> taken;
    const auto take = [&taken](Candidate& candidate, DisplayId id) {
        if (!candidate.id && taken.insert(id).second) candidate.id = id;
    };
    const auto takeFrom = [&](const std::map<Monitor, DisplayId>& source) {
        for (auto& candidate : candidates)
            if (const auto found = source.find(candidate.monitor); found != source.end())
                take(candidate, found->second);
    };
    takeFrom(lastOnline_);
    takeFrom(remembered_);
    for (auto& candidate : candidates)
        if (known_.contains(candidate.exact)) take(candidate, candidate.exact);
    for (auto& candidate : candidates) {
        if (candidate.id || candidate.monitor.second == 0 || known_.contains(candidate.exact)) continue;
        std::vector<DisplayId> moved;
        for (const DisplayId id : known_)
            if (upperHalf(id) == candidate.monitor.second && !taken.contains(id)) moved.push_back(id);
        if (moved.size() == 1) take(candidate, moved.front());
    }
    for (auto& candidate : candidates)
        for (DisplayId id = candidate.exact; !candidate.id; id = next(id)) take(candidate, id);

    std::vector<DisplayId> ids(online.size());
    lastOnline_.clear();
    for (const auto& candidate : candidates) {
        ids[candidate.index] = *candidate.id;
        known_.insert(*candidate.id);
        remembered_.insert_or_assign(candidate.monitor, *candidate.id);
        lastOnline_.insert_or_assign(candidate.monitor, *candidate.id);
    }
    return ids;
}

std::size_t representativeOutput(std::span<const std::string> connectors) {
    return static_cast<std::size_t>(std::ranges::min_element(connectors) - connectors.begin());
}

}  // namespace dravo
