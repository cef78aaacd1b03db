#include "breaks/break_notifier.h"

#include <utility>

#include "base/localized.h"

namespace dravo {

namespace {

BreakNotifier::AuthStatus statusFor(NotificationPermission permission) {
    switch (permission) {
        case NotificationPermission::denied:
            return BreakNotifier::AuthStatus::denied;
        case NotificationPermission::authorised:
        case NotificationPermission::provisional:
            return BreakNotifier::AuthStatus::granted;
        case NotificationPermission::undetermined:
            break;
    }
    return BreakNotifier::AuthStatus::unknown;
}

}  // namespace

BreakNotifier::BreakNotifier(NotificationService& service) : service_(service) {}

template <typename... Args>
std::function<void(Args...)> BreakNotifier::whileAlive(std::function<void(Args...)> action) const {
    return [life = std::weak_ptr(life_), action = std::move(action)](Args... args) {
        if (!life.expired()) action(std::forward<Args>(args)...);
    };
}

void BreakNotifier::requestAuthorization(std::function<void(bool)> done) {
    service_.permission(
        whileAlive(std::function([this, done = std::move(done)](NotificationPermission permission) mutable {
            const AuthStatus known = statusFor(permission);
            if (known == AuthStatus::unknown) return ask(std::move(done));
            authStatus_ = known;
            done(known == AuthStatus::granted);
        })));
}

void BreakNotifier::ask(std::function<void(bool)> done) {
    service_.requestPermission(whileAlive(std::function([this, done = std::move(done)](Result<bool> answer) {
        const bool granted = answer && *answer;
        const bool nobodyToAsk = !answer && answer.error().code == ErrorCode::NotFound;
        authStatus_ = granted ? AuthStatus::granted : nobodyToAsk ? AuthStatus::unknown : AuthStatus::denied;
        done(granted);
    })));
}

void BreakNotifier::refreshStatus() {
    service_.permission(
        whileAlive(std::function([this](NotificationPermission permission) { authStatus_ = statusFor(permission); })));
}

void BreakNotifier::postBreakNotification() {
    service_.post({localized("notification.break.title", "Time for a 20-second break"),
                   localized("notification.break.body", "Look at something 20 feet away to relax your eyes.")});
}

}  // namespace dravo
