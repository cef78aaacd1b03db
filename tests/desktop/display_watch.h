#pragma once

#include <atomic>
#include <chrono>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include "support/x_gamma.h"

namespace dravo::testing {

/// Looks at displays all the time, as fast as the server answers, from a thread and a connection of its own.
class DisplayWatch {
public:
    /// A table, and when it was first seen.
    struct Sight {
        std::chrono::steady_clock::time_point since;
        Ramp ramp;
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

}  // namespace dravo::testing
