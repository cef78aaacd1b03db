#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

#include "base/observable.h"
#include "base/scheduler.h"
#include "breaks/break_notifier.h"
#include "filter/preferences_store.h"

namespace dravo {

/// The reminder to rest the eyes: counts an interval down, announces a break of 20 s, and begins the next interval in
/// the same second. Independent of the filter.
///
/// Each launch begins a fresh interval; only the two settings are kept. An edit of the settings from outside counts
/// like one in the panel, but is not written back.
/// Thread: main thread. Lifetime: what the constructor takes outlives it.
class BreakTimer {
public:
    /// What the panel offers.
    static constexpr std::array<std::chrono::minutes, 6> kIntervals{std::chrono::minutes{10}, std::chrono::minutes{15},
                                                                    std::chrono::minutes{20}, std::chrono::minutes{30},
                                                                    std::chrono::minutes{45}, std::chrono::minutes{60}};
    static constexpr std::chrono::minutes kDefaultInterval{20};
    static constexpr std::chrono::minutes kLongestInterval{24 * 60};
    static constexpr std::chrono::seconds kBreakLength{20};

    BreakTimer(PreferencesStore& preferences, BreakNotifier& notifier, Scheduler& scheduler);
    BreakTimer(const BreakTimer&) = delete;
    BreakTimer& operator=(const BreakTimer&) = delete;

    [[nodiscard]] const Observable& changes() const { return changes_; }
    [[nodiscard]] const Property<bool>& isEnabled() const { return isEnabled_; }
    [[nodiscard]] const Property<std::chrono::minutes>& interval() const { return interval_; }
    /// What is left of the interval; 0 while disabled.
    [[nodiscard]] const Property<std::chrono::seconds>& remaining() const { return remaining_; }
    /// A break is in progress.
    [[nodiscard]] const Property<bool>& showingBreakAlert() const { return showingBreakAlert_; }
    /// What is left of the break; 0 without one.
    [[nodiscard]] const Property<std::chrono::seconds>& breakLeft() const { return breakLeft_; }

    /// Stores the setting and starts or stops counting. Setting what is set already does all of it again.
    void setEnabled(bool enabled);

    /// What a person's switch does: off is at once, on asks for permission to notify first and then counts whatever
    /// the answer. Of several intents, `setEnabled` included, the last one holds.
    void requestEnabled(bool enabled);

    /// For who cannot wait for an answer: on at once, and asks for permission meanwhile. On while on changes nothing.
    void enableAtOnce();

    /// Stores the interval, held to 1 minute .. 24 hours, and restarts the count while enabled.
    void setInterval(std::chrono::minutes interval);

    /// (Re)starts the interval's count; ends a break.
    void start();
    /// Ends everything that counts.
    void stop();
    /// Ends the break, not the interval.
    void dismissBreak();

    /// `remaining` as minutes and two-digit seconds: "19:59", "0:05", "60:00".
    [[nodiscard]] std::string formattedRemaining() const;

private:
    void adoptStored();
    void tick();
    void triggerBreak();
    void breakTick();

    PreferencesStore& preferences_;
    BreakNotifier& notifier_;
    Scheduler& scheduler_;
    Observable changes_;
    Property<bool> isEnabled_;
    Property<std::chrono::minutes> interval_;
    Property<std::chrono::seconds> remaining_{changes_};
    Property<bool> showingBreakAlert_{changes_};
    Property<std::chrono::seconds> breakLeft_{changes_};
    std::shared_ptr<std::uint64_t> intent_ = std::make_shared<std::uint64_t>(0);
    Timer timer_;
    Timer breakTimer_;
    Subscription outside_;
};

}  // namespace dravo
