#include "base/timer_queue.h"

#include <cassert>
#include <utility>

namespace dravo {

namespace {

using Key = std::pair<SteadyTime, std::uint64_t>;  // deadline, then order of creation

}  // namespace

struct TimerQueue::Entry {
    Key key;
    std::optional<Duration> period;
    std::function<void()> action;
    bool active = true;
};

struct TimerQueue::State {
    std::map<Key, std::shared_ptr<Entry>> timers;
    std::deque<std::function<void()>> posted;
    std::uint64_t nextOrder = 0;
    std::function<void()> onChange;
    bool isClosed = false;

    void changed() const {
        if (onChange && !isClosed) onChange();
    }
};

class TimerQueue::Handle : public Timer::Pending {
public:
    Handle(std::weak_ptr<State> state, std::shared_ptr<Entry> entry)
        : state_(std::move(state)), entry_(std::move(entry)) {}
    ~Handle() override {
        entry_->active = false;
        const auto state = state_.lock();
        if (state && state->timers.erase(entry_->key) > 0) state->changed();
    }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    bool isPending() const override { return entry_->active; }

private:
    std::weak_ptr<State> state_;
    std::shared_ptr<Entry> entry_;
};

TimerQueue::TimerQueue() : state_(std::make_shared<State>()) {}
TimerQueue::~TimerQueue() = default;

Timer TimerQueue::add(SteadyTime deadline, std::optional<Duration> period, std::function<void()> action) {
    assert(!period || *period > Duration::zero());
    auto entry = std::make_shared<Entry>(Entry{{deadline, state_->nextOrder++}, period, std::move(action)});
    state_->timers.emplace(entry->key, entry);
    state_->changed();
    return Timer(std::make_unique<Handle>(state_, std::move(entry)));
}

void TimerQueue::post(std::function<void()> action) {
    state_->posted.push_back(std::move(action));
    state_->changed();
}

std::optional<SteadyTime> TimerQueue::nextDeadline() const {
    if (state_->timers.empty()) return std::nullopt;
    return state_->timers.begin()->first.first;
}

bool TimerQueue::hasPosted() const { return !state_->posted.empty(); }

void TimerQueue::runDue(SteadyTime now) {
    const auto state = state_;  // a callback may destroy this queue
    const std::uint64_t firstNewOrder = state->nextOrder;
    const auto nextDue = [&]() -> std::shared_ptr<Entry> {
        if (state->isClosed) return nullptr;
        for (const auto& [key, entry] : state->timers) {
            if (key.first > now) return nullptr;
            if (key.second < firstNewOrder) return entry;
        }
        return nullptr;
    };
    while (const auto entry = nextDue()) {
        state->timers.erase(entry->key);
        if (entry->period) {
            const auto missed = (now - entry->key.first) / *entry->period;
            entry->key.first += *entry->period * (missed + 1);
            state->timers.emplace(entry->key, entry);
        } else {
            entry->active = false;
        }
        entry->action();
    }
    state->changed();
}

void TimerQueue::runPosted() {
    const auto state = state_;
    for (auto count = state->posted.size(); count > 0 && !state->posted.empty() && !state->isClosed; --count) {
        const auto action = std::move(state->posted.front());
        state->posted.pop_front();
        action();
    }
    state->changed();
}

void TimerQueue::close() { state_->isClosed = true; }

void TimerQueue::setOnChange(std::function<void()> onChange) { state_->onChange = std::move(onChange); }

}  // namespace dravo
