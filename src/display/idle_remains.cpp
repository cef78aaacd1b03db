#include "display/idle_remains.h"

#include <algorithm>
#include <utility>

namespace dravo {

std::vector<CrtcLevels> remainsOnIdleCrtcs(const DeviceTopology& topology, const DisplayIdentities& identities,
                                           const std::map<DisplayId, GammaTable>& saved) {
    std::vector<const DeviceOutput*> idleOutputs;
    std::vector<OutputIdentity> monitors;
    for (const auto& output : topology.outputs) {
        if (output.crtc) continue;
        idleOutputs.push_back(&output);
        monitors.push_back({output.connector, output.edid});
    }
    const auto ids = DisplayIdentities(identities).assign(monitors);
    std::vector<CrtcLevels> remains;
    for (const auto& [crtc, held] : topology.crtcs) {
        const auto isOn = [on = crtc](const DeviceOutput& output) { return output.crtc == on; };
        if (std::ranges::any_of(topology.outputs, isOn)) continue;
        std::vector<const GammaTable*> candidates;
        for (std::size_t i = 0; i < idleOutputs.size(); ++i) {
            const auto own = saved.find(ids[i]);
            const auto& possible = idleOutputs[i]->possibleCrtcs;
            if (std::ranges::find(possible, crtc) != possible.end() && own != saved.end())
                candidates.push_back(&own->second);
        }
        if (candidates.size() != 1) continue;
        auto levels = toLevels(*candidates.front(), held.size());
        if (levels.size() > 0 && levels != held) remains.push_back({crtc, std::move(levels)});
    }
    return remains;
}

}  // namespace dravo
