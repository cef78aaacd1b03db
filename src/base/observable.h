#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "base/subscription.h"

namespace dravo {

/// The subscribers of one event. A delivery may add and drop subscriptions, its own included, and may deliver again:
/// who is added during a delivery is first called by the next one; who is dropped is not called any more.
///
/// Thread: one thread. Lifetime: handles may outlive the list, and a delivery may destroy the list's owner.
template <typename... Args>
class SubscriberList {
public:
    using Callback = std::function<void(Args...)>;

    [[nodiscard]] Subscription add(Callback callback) {
        auto entry = std::make_shared<Entry>(Entry{std::move(callback), true});
        state_->entries.push_back(entry);
        return Subscription([weakState = std::weak_ptr<State>(state_), entry] {
            entry->active = false;
            if (auto state = weakState.lock()) std::erase(state->entries, entry);
        });
    }

    void deliver(Args... args) const {
        // The copy keeps every callback alive while it runs, whatever the delivery does to the list or its owner.
        const auto entries = state_->entries;
        for (const auto& entry : entries)
            if (entry->active) entry->callback(args...);
    }

    [[nodiscard]] bool empty() const { return state_->entries.empty(); }

private:
    struct Entry {
        Callback callback;
        bool active;
    };
    struct State {
        std::vector<std::shared_ptr<Entry>> entries;
    };
    std::shared_ptr<State> state_ = std::make_shared<State>();
};

/// Announces that its owner is about to change, without payload.
///
/// Thread: one thread. A subscriber that draws marks itself dirty and reads the new values later.
class Observable {
public:
    /// `callback` runs before each change; never inside this call.
    [[nodiscard]] Subscription onWillChange(std::function<void()> callback) const {
        return willChange_.add(std::move(callback));
    }
    void notifyWillChange() const { willChange_.deliver(); }

private:
    mutable SubscriberList<> willChange_;
};

/// A value that announces every assignment, equal ones too: first its owner's will-change, then, with the value in
/// place, the new value to its stream. What may be skipped is the subscriber's decision.
///
/// Lifetime: the owner outlives the property. A delivery may assign again; each subscriber then hears both values.
template <typename T>
class Property {
public:
    explicit Property(const Observable& owner, T initial = T{}) : owner_(&owner), value_(std::move(initial)) {}
    Property(const Property&) = delete;
    Property& operator=(const Property&) = delete;

    [[nodiscard]] const T& get() const { return value_; }
    operator const T&() const { return value_; }

    Property& operator=(T value) {
        owner_->notifyWillChange();
        value_ = std::move(value);
        const T delivered = value_;
        stream_.deliver(delivered);
        return *this;
    }

    /// Every new value from the next assignment on; the present one is not delivered.
    [[nodiscard]] Subscription onNewValue(std::function<void(const T&)> callback) const {
        return stream_.add(std::move(callback));
    }

private:
    const Observable* owner_;
    T value_;
    mutable SubscriberList<const T&> stream_;
};

}  // namespace dravo
