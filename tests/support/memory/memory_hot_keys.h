#pragma once

#include <algorithm>
#include <functional>
#include <optional>
#include <utility>
#include <vector>

#include "app/hot_key_service.h"
#include "base/observable.h"

namespace dravo::memory {

/// A desktop whose keyboard is `press`.
class MemoryHotKeys : public HotKeyService {
public:
    Result<Subscription> registerHotKey(HotKey hotKey, std::function<void()> onPress) override {
        if (std::ranges::find(takenByOthers, hotKey) != takenByOthers.end())
            return Error{ErrorCode::Busy, "another program has it"};
        registered = hotKey;
        onPress_ = std::move(onPress);
        ++registrations;
        return Subscription([this] { registered.reset(); });
    }

    const DesktopKeys* desktopKeys() const override { return desktops ? &*desktops : nullptr; }
    Subscription onDesktopKeysChange(std::function<void()> callback) override {
        return changes_.add(std::move(callback));
    }
    void configure() override { ++configurations; }

    /// The desktop tells of other keys.
    void become(DesktopKeys keys) {
        desktops = std::move(keys);
        changes_.deliver();
    }

    /// Somebody presses this combination.
    void press(HotKey hotKey) {
        if (hotKey != registered) return;
        const auto call = onPress_;
        call();
    }

    std::vector<HotKey> takenByOthers;
    std::optional<HotKey> registered;
    int registrations = 0;  ///< How many succeeded.
    int configurations = 0;
    std::optional<DesktopKeys> desktops;  ///< Where the desktop chooses the keys.

private:
    std::function<void()> onPress_;
    SubscriberList<> changes_;
};

}  // namespace dravo::memory
