#pragma once

#include <functional>
#include <utility>

#include "app/hot_key_service.h"
#include "base/localized.h"
#include "display/grayscale_service.h"
#include "display/last_word.h"

// What answers for a port that a session cannot serve, and says so.

namespace dravo {

inline constexpr TextKey kNoGrayscaleMode = textKey("this desktop has no grayscale mode");

/// Displays that nobody has to give back: the compositor does it, or nothing was ever loaded.
class NoLastWord final : public LastWord {
public:
    Result<void> open() override { return {}; }
    void speak() override {}
};

class NoGrayscale final : public GrayscaleService {
public:
    Result<bool> isEnabled() override { return unsupported(); }
    Result<void> setEnabled(bool) override { return unsupported(); }

private:
    static Error unsupported() { return {ErrorCode::Unsupported, kNoGrayscaleMode}; }
};

inline constexpr TextKey kNoShortcut = textKey("in this Wayland session no key can be reserved for a program");

/// A shortcut that nobody delivers to programs, for this reason.
class NoHotKeys final : public HotKeyService {
    static constexpr TextKey kBindCommand = textKey("Bind this command to a key in the desktop's own settings");

public:
    explicit NoHotKeys(TextKey why) : why_(why) {}
    Result<Subscription> registerHotKey(HotKey, std::function<void()>) override {
        return Error{ErrorCode::Unsupported, why_};
    }
    Subscription probe(Found found) override {
        found({{}, Sentence{why_}, Sentence{kBindCommand}, "dravo toggle"});
        return {};
    }

private:
    TextKey why_;
};

}  // namespace dravo
