#pragma once

#include "base/observable.h"
#include "filter/user_defaults.h"

namespace dravo::memory {

/// Settings that last as long as the object.
class MemoryUserDefaults : public UserDefaults {
public:
    explicit MemoryUserDefaults(DefaultsValues values = {});

    std::optional<DefaultsValue> object(std::string_view key) const override;
    void set(std::string_view key, DefaultsValue value) override;
    void remove(std::string_view key) override;
    void flush() override { ++flushes_; }
    Subscription onChange(std::function<void(const DefaultsKeys&)> callback) override;

    /// Somebody else replaces every setting: subscribers hear, inside this call, the keys that differ.
    void replaceFromOutside(DefaultsValues values);

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
