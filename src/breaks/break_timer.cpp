#include "breaks/break_timer.h"

#include <algorithm>
#include <cstdio>
#include <utility>

namespace dravo {

namespace {

using namespace std::chrono_literals;

constexpr auto kTick = 1s;

std::chrono::minutes heldToRange(std::int64_t minutes) {
    return std::chrono::minutes{std::clamp<std::int64_t>(minutes, 1, BreakTimer::kLongestInterval.count())};
}

std::chrono::minutes storedInterval(const PreferencesStore& preferences) {
    const std::int64_t minutes = preferences.breakIntervalMinutes();
    return minutes > 0 ? heldToRange(minutes) : BreakTimer::kDefaultInterval;
}

}  // namespace

BreakTimer::BreakTimer(PreferencesStore& preferences, BreakNotifier& notifier, Scheduler& scheduler)
    : preferences_(preferences),
      notifier_(notifier),
      scheduler_(scheduler),
      isEnabled_(changes_, preferences.breakReminderEnabled()),
      interval_(changes_, storedInterval(preferences)),
      outside_(preferences.onOutsideChange([this](const DefaultsKeys&) { adoptStored(); })) {
    if (isEnabled_) start();
}

void BreakTimer::setEnabled(bool enabled) {
    ++*intent_;
    isEnabled_ = enabled;
    preferences_.setBreakReminderEnabled(enabled);
    enabled ? start() : stop();
}

void BreakTimer::requestEnabled(bool enabled) {
    if (!enabled) return setEnabled(false);
    const auto mine = ++*intent_;
    notifier_.requestAuthorization([this, mine, latest = std::weak_ptr(intent_)](bool) {
        const auto intent = latest.lock();
        if (intent && *intent == mine) setEnabled(true);
    });
}

void BreakTimer::enableAtOnce() {
    if (isEnabled_) return;
    setEnabled(true);
    notifier_.requestAuthorization([](bool) {});
}

void BreakTimer::setInterval(std::chrono::minutes interval) {
    interval_ = heldToRange(interval.count());
    preferences_.setBreakIntervalMinutes(interval_.get().count());
    if (isEnabled_) start();
}

void BreakTimer::adoptStored() {
    const bool enabled = preferences_.breakReminderEnabled();
    const auto interval = storedInterval(preferences_);
    if (enabled == isEnabled_ && interval == interval_.get()) return;
    ++*intent_;
    isEnabled_ = enabled;
    interval_ = interval;
    enabled ? start() : stop();
}

void BreakTimer::start() {
    stop();
    remaining_ = interval_.get();
    timer_ = scheduler_.every(kTick, [this] { tick(); });
}

void BreakTimer::stop() {
    timer_.cancel();
    remaining_ = 0s;
    dismissBreak();
}

void BreakTimer::dismissBreak() {
    showingBreakAlert_ = false;
    breakLeft_ = 0s;
    breakTimer_.cancel();
}

std::string BreakTimer::formattedRemaining() const {
    const auto minutes = std::chrono::floor<std::chrono::minutes>(remaining_.get());
    std::array<char, 32> text;
    std::snprintf(text.data(), text.size(), "%d:%02d", static_cast<int>(minutes.count()),
                  static_cast<int>((remaining_.get() - minutes).count()));
    return text.data();
}

void BreakTimer::tick() {
    if (remaining_.get() < 1s) return;
    remaining_ = remaining_.get() - 1s;
    if (remaining_.get() != 0s) return;
    triggerBreak();
    remaining_ = interval_.get();
}

void BreakTimer::triggerBreak() {
    showingBreakAlert_ = true;
    breakLeft_ = kBreakLength;
    breakTimer_ = scheduler_.every(kTick, [this] { breakTick(); });
    notifier_.postBreakNotification();
}

void BreakTimer::breakTick() {
    if (breakLeft_.get() < 1s) return;
    breakLeft_ = breakLeft_.get() - 1s;
    if (breakLeft_.get() == 0s) dismissBreak();
}

}  // namespace dravo
