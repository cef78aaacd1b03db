#pragma once

#include <utility>

#include "base/observable.h"
#include "filter/user_defaults.h"

namespace dravo::memory {

/// Settings that last as long as the object.
class MemoryUserDefaults : public UserDefaults {
public:
    explicit MemoryUserDefaults(DefaultsValues values = {}) : values_(std::move(values)) {
        std::erase_if(values_, [](const auto& entry) { return !isStorable(entry.second); });
    }

    std::optional<DefaultsValue> object(std::string_view key) const override {
        const auto found = values_.find(key);
        return found == values_.end() ? std::nullopt : std::optional(found->second);
    }
    void set(std::string_view key, DefaultsValue value) override {
        ++writes_;
        if (isStorable(value)) values_.insert_or_assign(std::string(key), std::move(value));
    }
    void remove(std::string_view key) override {
        ++writes_;
        if (const auto found = values_.find(key); found != values_.end()) values_.erase(found);
    }
    void flush() override { ++flushes_; }
    Subscription onChange(std::function<void(const DefaultsKeys&)> callback) override {
        return changes_.add(std::move(callback));
    }

    /// Somebody else replaces every setting: subscribers hear, inside this call, the keys that differ.
    void replaceFromOutside(DefaultsValues values) {
        const DefaultsValues before = std::exchange(values_, MemoryUserDefaults(std::move(values)).values_);
        const DefaultsKeys changed = changedKeys(before, values_);
        if (!changed.empty()) changes_.deliver(changed);
    }

    /// Everything stored.
    [[nodiscard]] const DefaultsValues& values() const { return values_; }
    /// How often `set` or `remove` was called.
    [[nodiscard]] int writes() const { return writes_; }
    /// How often `flush` was called.
    [[nodiscard]] int flushes() const { return flushes_; }

private:
    DefaultsValues values_;
    int writes_ = 0;
    int flushes_ = 0;
    SubscriberList<const DefaultsKeys&> changes_;
};

}  // namespace dravo::memory
