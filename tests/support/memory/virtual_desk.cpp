#include "support/memory/virtual_desk.h"

#include <algorithm>
#include <utility>

namespace dravo::memory {

CrtcId VirtualDesk::addCrtc(std::size_t size) {
    const CrtcId crtc{static_cast<std::uint32_t>(crtcs_.size()) + 1};
    const RampLevels neutral = toLevels(GammaTable::identity(), size);
    crtcs_.emplace(crtc, Crtc{neutral, neutral});
    return crtc;
}

void VirtualDesk::plug(const std::string& connector, CrtcId crtc, std::vector<std::uint8_t> edid,
                       std::optional<GammaTable> vcgt) {
    outputs_.insert_or_assign(connector, Output{std::move(edid), std::move(vcgt), crtc});
    shows_.deliver(crtc, shown(crtc));
    changes_.deliver();
}

void VirtualDesk::unplug(const std::string& connector) {
    outputs_.erase(connector);
    changes_.deliver();
}

void VirtualDesk::setEdid(const std::string& connector, std::vector<std::uint8_t> edid) {
    outputs_.at(connector).edid = std::move(edid);
    changes_.deliver();
}

void VirtualDesk::foreignWrite(CrtcId crtc, const RampLevels& levels) { set(crtc, levels); }

void VirtualDesk::loseHardwareContents() {
    for (auto& [id, crtc] : crtcs_) {
        crtc.hardware = toLevels(GammaTable::identity(), crtc.levels.size());
        if (isOn(id)) shows_.deliver(id, crtc.hardware);
    }
}

void VirtualDesk::shutDown() {
    isUp_ = false;
    shutDowns_.deliver();
}

bool VirtualDesk::write(CrtcId crtc, const RampLevels& levels) {
    if (refusesWriting || refusesWritingTo == crtc) return false;
    log.push_back({crtc, levels});
    set(crtc, levels);
    return true;
}

void VirtualDesk::set(CrtcId crtc, const RampLevels& levels) {
    crtcs_.at(crtc) = {levels, levels};
    if (isOn(crtc)) shows_.deliver(crtc, levels);
}

bool VirtualDesk::isOn(CrtcId crtc) const {
    return std::ranges::any_of(outputs_, [crtc](const auto& output) { return output.second.crtc == crtc; });
}

}  // namespace dravo::memory
