#include "app/updater.h"

#include <cassert>
#include <utility>

#include "app/web_address.h"
#include "base/localized.h"

namespace dravo {

Result<std::string> feedAddress(std::string_view builtIn, const std::optional<std::string>& overriding) {
    const std::string text = overriding ? *overriding : std::string(builtIn);
    if (text.empty()) return text;
    const auto address = parseWebAddress(text);
    if (address && (address->isSecure || address->isLoopback())) return text;
    return Error{ErrorCode::InvalidInput,
                 textKey("update.address", "The address to ask for updates is not a secure one (https).")};
}

Updater::Updater(UpdateFeed& feed, Scheduler& scheduler, std::string version, Result<std::string> address)
    : feed_(feed), scheduler_(scheduler), version_(std::move(version)), address_(std::move(address)) {
    assert(ReleaseVersion::parse(version_));
}

void Updater::check(Callback callback) {
    if (callback) callbacks_.push_back(std::move(callback));
    if (std::holds_alternative<Checking>(state_.get())) return;
    turn_ = scheduler_.after({}, [this] { ask(); });
    state_ = Checking{};
}

void Updater::ask() {
    if (!address_) return finish(CouldNotCheck{address_.error().message});
    if (address_->empty()) return finish(ComesWithPackages{});
    patience_ = scheduler_.after(kPatience, [this] {
        finish(CouldNotCheck{textKey("update.slow", "The update server took too long to answer.")});
    });
    transfer_ = feed_.fetch(*address_, [this](const Result<std::string>& text) { finish(outcomeOf(text)); });
}

Updater::Outcome Updater::outcomeOf(const Result<std::string>& text) const {
    if (!text) return CouldNotCheck{text.error().message};
    const auto release = decodeRelease(*text);
    if (!release) {
        return CouldNotCheck{nonsensicalAnswer(release.error().message)};
    }
    const auto offered = ReleaseVersion::parse(release->version);
    const auto running = ReleaseVersion::parse(version_);
    if (*offered > *running) return NewerVersion{*release};
    return UpToDate{version_};
}

void Updater::finish(const Outcome& outcome) {
    turn_.cancel();
    patience_.cancel();
    transfer_.reset();
    const auto callbacks = std::exchange(callbacks_, {});
    state_ = outcome;
    for (const auto& callback : callbacks) callback(outcome);
}

void Updater::dismiss() {
    turn_.cancel();
    patience_.cancel();
    transfer_.reset();
    callbacks_.clear();
    state_ = Idle{};
}

Subscription Updater::probe(Found found) {
    if (address_ && !address_->empty()) return feed_.probe(std::move(found));
    found(address_ ? Finding{"packages"} : findingOf(address_.error()));
    return {};
}

}  // namespace dravo
