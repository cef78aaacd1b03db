#pragma once

#include <atomic>

#include "desktop/filter_run_test.h"

namespace dravo::testing {

/// Looks at displays all the time, as fast as the server answers, from a thread and a connection of its own.
class DisplayWatch {
public:
    /// A table, and when it was first seen.
    struct Sight {
        std::chrono::steady_clock::time_point since;
        RampLevels ramp;
    };
    using Sights = std::map<std::string, std::vector<Sight>>;

    DisplayWatch(const std::string& address, std::vector<std::string> outputs)
        : displays_(address), outputs_(std::move(outputs)) {
        look();
        thread_ = std::thread([this] {
            while (!isOver_.load(std::memory_order_relaxed)) look();
        });
    }
    ~DisplayWatch() {
        if (thread_.joinable()) stop();
    }
    DisplayWatch(const DisplayWatch&) = delete;
    DisplayWatch& operator=(const DisplayWatch&) = delete;

    /// REQUIRES: the watch is over. The longest time from one look to the next: by that much a busy machine makes
    /// everything seem later.
    [[nodiscard]] std::chrono::steady_clock::duration longestGap() const { return longestGap_; }

    /// Ends the watch, with a last look: all tables that each output had, in order.
    const Sights& stop() {
        isOver_ = true;
        thread_.join();
        look();
        return sights_;
    }

private:
    void look() {
        const auto now = std::chrono::steady_clock::now();
        if (!sights_.empty()) longestGap_ = std::max<std::chrono::steady_clock::duration>(longestGap_, now - lastLook_);
        lastLook_ = now;
        for (auto& [name, ramp] : displays_.ramps(outputs_)) {
            auto& seen = sights_[name];
            if (seen.empty() || seen.back().ramp != ramp) seen.push_back({now, std::move(ramp)});
        }
    }

    XGamma displays_;
    std::vector<std::string> outputs_;
    Sights sights_;
    std::chrono::steady_clock::time_point lastLook_;
    std::chrono::steady_clock::duration longestGap_{};
    std::atomic<bool> isOver_{false};
    std::thread thread_;
};

/// Whether each level lies between those of the two tables: what a fade from one to the other may show.
inline bool isBetween(const RampLevels& ramp, const RampLevels& one, const RampLevels& other) {
    for (const auto channel : {&RampLevels::red, &RampLevels::green, &RampLevels::blue}) {
        for (std::size_t i = 0; i < ramp.size(); ++i) {
            const auto [least, most] = std::minmax((one.*channel)[i], (other.*channel)[i]);
            if ((ramp.*channel)[i] < least || (ramp.*channel)[i] > most) return false;
        }
    }
    return ramp.size() == one.size();
}

/// All that was seen is filtered, weakly or strongly or between, but for so many tables at the beginning and the end.
inline void expectFiltered(const DisplayWatch::Sights& sights, std::size_t before = 0, std::size_t after = 0) {
    const RampLevels weak = filtered(kWeak);
    const RampLevels strong = filtered(kStrong);
    for (const auto& [name, seen] : sights)
        for (std::size_t i = before; i + after < seen.size(); ++i)
            EXPECT_TRUE(isBetween(seen[i].ramp, weak, strong)) << name << " shows " << seen[i].ramp << " as its " << i;
}

}  // namespace dravo::testing
