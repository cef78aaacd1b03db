#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/observable.h"
#include "display/ramp_levels.h"
#include "display/table_ledger.h"

namespace dravo::memory {

/// The displays, cables and display server of a machine that exists in memory only. It outlives its clients, as a real
/// one does: destroy a MemoryTableDevice without restoring, make another, and that was a crash.
///
/// Thread: one thread.
class VirtualDesk {
public:
    struct Output {
        std::vector<std::uint8_t> edid;
        std::optional<GammaTable> vcgt;  ///< Of the monitor's ICC profile.
        std::optional<CrtcId> crtc;      ///< None while it is off.
    };
    struct Crtc {
        RampLevels levels;    ///< What the server says it holds; kept while no output is on it.
        RampLevels hardware;  ///< What the screen shows; differs after the hardware has lost it.
    };
    struct Write {
        CrtcId crtc{};
        RampLevels levels;
    };

    /// A CRTC with a neutral table of `size` entries; 0 for one without a table.
    CrtcId addCrtc(std::size_t size) {
        const CrtcId crtc{static_cast<std::uint32_t>(crtcs_.size()) + 1};
        const RampLevels neutral = toLevels(GammaTable::identity(), size);
        crtcs_.emplace(crtc, Crtc{neutral, neutral});
        return crtc;
    }

    /// Plugs a monitor in and switches it on; several connectors on one CRTC mirror each other.
    void plug(const std::string& connector, CrtcId crtc, std::vector<std::uint8_t> edid = {},
              std::optional<GammaTable> vcgt = {}) {
        outputs_.insert_or_assign(connector, Output{std::move(edid), std::move(vcgt), crtc});
        shows_.deliver(crtc, shown(crtc));
        changes_.deliver();
    }
    void unplug(const std::string& connector) {
        outputs_.erase(connector);
        changes_.deliver();
    }
    void setEdid(const std::string& connector, std::vector<std::uint8_t> edid) {
        outputs_.at(connector).edid = std::move(edid);
        changes_.deliver();
    }

    /// Another program loads a table; nobody is told.
    void foreignWrite(CrtcId crtc, const RampLevels& levels) { set(crtc, levels); }

    /// The hardware starts afresh with a neutral table, and the server does not notice.
    void loseHardwareContents() {
        for (auto& [id, crtc] : crtcs_) {
            crtc.hardware = toLevels(GammaTable::identity(), crtc.levels.size());
            if (isOn(id)) shows_.deliver(id, crtc.hardware);
        }
    }

    /// The server ends.
    void shutDown() {
        isUp_ = false;
        shutDowns_.deliver();
    }

    [[nodiscard]] const RampLevels& held(CrtcId crtc) const { return crtcs_.at(crtc).levels; }
    [[nodiscard]] const RampLevels& shown(CrtcId crtc) const { return crtcs_.at(crtc).hardware; }

    /// `callback` runs when what a CRTC with a monitor shows may have changed: for recorders.
    [[nodiscard]] Subscription onShow(std::function<void(CrtcId, const RampLevels&)> callback) {
        return shows_.add(std::move(callback));
    }

    // The server's side, for clients.
    [[nodiscard]] const std::map<std::string, Output>& outputs() const { return outputs_; }
    [[nodiscard]] const std::map<CrtcId, Crtc>& crtcs() const { return crtcs_; }
    bool write(CrtcId crtc, const RampLevels& levels) {
        if (refusesWriting || refusesWritingTo == crtc) return false;
        log.push_back({crtc, levels});
        set(crtc, levels);
        return true;
    }
    [[nodiscard]] bool isUp() const { return isUp_; }
    [[nodiscard]] Subscription onChange(std::function<void()> callback) { return changes_.add(std::move(callback)); }
    [[nodiscard]] Subscription onShutDown(std::function<void()> callback) {
        return shutDowns_.add(std::move(callback));
    }

    /// Every write of a client, in order; foreign ones are not in it.
    std::vector<Write> log;

    bool failsReading = false;               ///< No table can be read.
    bool refusesWriting = false;             ///< Writes are answered with an error and change nothing.
    std::optional<CrtcId> refusesWritingTo;  ///< The same for one CRTC.

private:
    void set(CrtcId crtc, const RampLevels& levels) {
        crtcs_.at(crtc) = {levels, levels};
        if (isOn(crtc)) shows_.deliver(crtc, levels);
    }
    [[nodiscard]] bool isOn(CrtcId crtc) const {
        return std::ranges::any_of(outputs_, [crtc](const auto& output) { return output.second.crtc == crtc; });
    }

    std::map<std::string, Output> outputs_;
    std::map<CrtcId, Crtc> crtcs_;
    bool isUp_ = true;
    SubscriberList<CrtcId, const RampLevels&> shows_;
    SubscriberList<> changes_;
    SubscriberList<> shutDowns_;
};

}  // namespace dravo::memory
