#include "support/memory/memory_user_defaults.h"

#include <utility>

namespace dravo::memory {

MemoryUserDefaults::MemoryUserDefaults(DefaultsValues values) : values_(std::move(values)) {
    std::erase_if(values_, [](const auto& entry) { return !isStorable(entry.second); });
}

std::optional<DefaultsValue> MemoryUserDefaults::object(std::string_view key) const {
    const auto found = values_.find(key);
    return found == values_.end() ? std::nullopt : std::optional(found->second);
}

void MemoryUserDefaults::set(std::string_view key, DefaultsValue value) {
    ++writes_;
    if (isStorable(value)) values_.insert_or_assign(std::string(key), std::move(value));
}

void MemoryUserDefaults::remove(std::string_view key) {
    ++writes_;
    if (const auto found = values_.find(key); found != values_.end()) values_.erase(found);
}

Subscription MemoryUserDefaults::onChange(std::function<void(const DefaultsKeys&)> callback) {
    return changes_.add(std::move(callback));
}

void MemoryUserDefaults::replaceFromOutside(DefaultsValues values) {
    const DefaultsValues before = std::exchange(values_, MemoryUserDefaults(std::move(values)).values_);
    const DefaultsKeys changed = changedKeys(before, values_);
    if (!changed.empty()) changes_.deliver(changed);
}

}  // namespace dravo::memory
