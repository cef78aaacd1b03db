#pragma once

#include <functional>
#include <optional>
#include <utility>

#include "base/observable.h"
#include "display/grayscale_service.h"
#include "display/wake_source.h"

namespace dravo::memory {

/// A machine whose sleep ends when `wake` is called.
class MemoryWakeSource final : public WakeSource {
public:
    Subscription onWake(std::function<void()> callback) override { return wakes_.add(std::move(callback)); }
    void wake() { wakes_.deliver(); }

private:
    SubscriberList<> wakes_;
};

/// A desktop with a grayscale mode.
class MemoryGrayscale final : public GrayscaleService {
public:
    Result<bool> isEnabled() override {
        ++calls;
        return fails ? Result<bool>(*fails) : isGray;
    }
    Result<void> setEnabled(bool enabled) override {
        ++calls;
        if (fails) return *fails;
        isGray = enabled;
        return {};
    }

    bool isGray = false;
    int calls = 0;
    std::optional<Error> fails;  ///< What every call answers, if set.
};

}  // namespace dravo::memory
