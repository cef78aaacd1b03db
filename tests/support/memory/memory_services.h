#pragma once

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "app/appearance_service.h"
#include "app/system_settings.h"
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
    void undoUncleanRun() override { isGray = false; }

    bool isGray = false;
    int calls = 0;
    std::optional<Error> fails;  ///< What every call answers, if set.
};

/// A desktop that looks as a test wants it.
class MemoryAppearance final : public AppearanceService {
public:
    Appearance appearance() const override { return look_; }
    Subscription onChange(std::function<void()> callback) override { return changes_.add(std::move(callback)); }
    void become(const Appearance& look) {
        look_ = look;
        changes_.deliver();
    }

private:
    Appearance look_;
    SubscriberList<> changes_;
};

/// A desktop whose settings have every page.
class MemorySystemSettings final : public SystemSettings {
public:
    bool offers(Page) const override { return true; }
    void open(Page page) override { opened.push_back(page); }
    void openLink(const std::string& address) override { links.push_back(address); }

    std::vector<Page> opened;
    std::vector<std::string> links;
};

}  // namespace dravo::memory
