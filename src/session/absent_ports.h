#pragma once

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

}  // namespace dravo
