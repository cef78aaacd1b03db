#pragma once

#include <algorithm>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "app/appearance_service.h"
#include "app/hot_key_service.h"
#include "app/login_item_service.h"
#include "app/system_settings.h"
#include "app/update_feed.h"
#include "base/observable.h"
#include "base/scheduler.h"
#include "breaks/notification_service.h"
#include "display/grayscale_service.h"
#include "display/wake_source.h"
#include "schedule/location_service.h"
#include "support/memory/probeable.h"

namespace dravo::memory {

/// A machine whose sleep ends when `wake` is called.
class MemoryWakeSource final : public Probeable<WakeSource> {
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

/// A desktop of which nothing is known.
class MemoryAppearance final : public Probeable<AppearanceService> {
public:
    Appearance appearance() const override { return {}; }
    Subscription onChange(std::function<void()>) override { return {}; }
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

/// A desktop whose notifications are a list. What a person or a desktop decides is set in the public members.
class MemoryNotifications final : public Probeable<NotificationService> {
public:
    explicit MemoryNotifications(Scheduler& scheduler) : scheduler_(scheduler) {}

    void permission(std::function<void(NotificationPermission)> answer) override {
        scheduler_.post([held = state, answer = std::move(answer)] { answer(held); });
    }
    void requestPermission(std::function<void(Result<bool>)> answer) override {
        ++prompts;
        open_.push_back(std::move(answer));
    }
    void post(const Notification& notification) override { posted.push_back(notification); }

    /// The person answers every open question.
    void answerPrompts(const Result<bool>& decision) {
        if (decision) state = *decision ? NotificationPermission::authorised : NotificationPermission::denied;
        for (auto& answer : std::exchange(open_, {}))
            scheduler_.post([decision, answer = std::move(answer)] { answer(decision); });
    }

    NotificationPermission state = NotificationPermission::undetermined;
    int prompts = 0;                   ///< How often the person was asked.
    std::vector<Notification> posted;  ///< In order.

private:
    Scheduler& scheduler_;
    std::vector<std::function<void(Result<bool>)>> open_;
};

/// A location service that says what it is told to, and counts what it is asked.
class MemoryLocationService final : public Probeable<LocationService> {
public:
    LocationAuthorization authorization() const override { return authorization_; }
    void requestWhenInUseAuthorization() override { ++permissionRequests; }
    void refreshAuthorization() override { ++looks; }
    void requestLocation() override { ++fixRequests; }
    void cancelRequest() override { ++cancellations; }
    Subscription onAuthorizationChange(std::function<void()> callback) override {
        return authorizations_.add(std::move(callback));
    }
    Subscription onLocations(std::function<void(const std::vector<Position>&)> callback) override {
        return locations_.add(std::move(callback));
    }
    Subscription onFailure(std::function<void(const Error&)> callback) override {
        return failures_.add(std::move(callback));
    }

    /// What is true before anybody hears of it.
    void assume(LocationAuthorization authorization) { authorization_ = authorization; }
    void authorize(LocationAuthorization authorization) {
        authorization_ = authorization;
        authorizations_.deliver();
    }
    void deliver(const std::vector<Position>& positions) { locations_.deliver(positions); }
    void fail(ErrorCode code) { failures_.deliver({code, "told to fail"}); }

    int permissionRequests = 0;
    int looks = 0;
    int fixRequests = 0;
    int cancellations = 0;

private:
    LocationAuthorization authorization_ = LocationAuthorization::notDetermined;
    SubscriberList<> authorizations_;
    SubscriberList<const std::vector<Position>&> locations_;
    SubscriberList<const Error&> failures_;
};

/// The place of the zone that a test is in.
class MemoryZonePosition final : public ZonePositionSource {
public:
    Result<ZonePosition> current() override {
        if (position) return *position;
        return Error{ErrorCode::NotFound, "this zone has no place"};
    }

    std::optional<ZonePosition> position;
};

/// A desktop whose keyboard is `press`.
class MemoryHotKeys final : public Probeable<HotKeyService> {
public:
    Result<Subscription> registerHotKey(HotKey hotKey, std::function<void()> onPress) override {
        if (std::ranges::find(takenByOthers, hotKey) != takenByOthers.end())
            return Error{ErrorCode::Busy, "another program has it"};
        registered = hotKey;
        onPress_ = std::move(onPress);
        ++registrations;
        return Subscription([this] { registered.reset(); });
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

private:
    std::function<void()> onPress_;
};

/// A desktop's list of programs that start at login, with room for one.
class MemoryLoginItem final : public Probeable<LoginItemService> {
public:
    Status status() override { return held; }
    Result<void> registerItem() override { return change(Status::enabled); }
    Result<void> unregisterItem() override { return change(Status::notRegistered); }

    Status held = Status::notRegistered;
    std::optional<Error> fails;  ///< What every change answers, if set.

private:
    Result<void> change(Status to) {
        if (fails) return *fails;
        held = to;
        return {};
    }
};

/// A feed that answers when it is told to.
class MemoryUpdateFeed final : public Probeable<UpdateFeed> {
public:
    Subscription fetch(const std::string& address, Answer answer) override {
        addresses.push_back(address);
        transfer_ = std::make_shared<Answer>(std::move(answer));
        return Subscription([this, ended = std::weak_ptr<Answer>(transfer_)] {
            if (ended.lock() == transfer_) transfer_.reset();
        });
    }

    /// REQUIRES: `isAsked()`.
    void answer(const Result<std::string>& text) { (*std::exchange(transfer_, nullptr))(text); }
    [[nodiscard]] bool isAsked() const { return transfer_ != nullptr; }

    std::vector<std::string> addresses;  ///< Asked for so far.

private:
    std::shared_ptr<Answer> transfer_;
};

}  // namespace dravo::memory
