#include "platform/curl/curl_update_feed.h"

#include <utility>

#include "app/web_address.h"
#include "base/localized.h"
#include "platform/curl/transfer.h"
#include "platform/posix/background_work.h"

namespace dravo::curl {

namespace {

Error errorOf(const Fault& fault) {
    using Kind = Fault::Kind;
    switch (fault.kind) {
        case Kind::noLibrary:
            return {ErrorCode::Unsupported,
                    localized("update.no_curl", "To check for updates, libcurl has to be installed.")};
        case Kind::unreachable:
            return {ErrorCode::Disconnected, localized("update.unreachable", "The update server cannot be reached.")};
        case Kind::brokenOff:
            return {ErrorCode::Disconnected,
                    localized("update.broken", "The connection to the update server broke off.")};
        case Kind::insecure:
            return {ErrorCode::PermissionDenied,
                    localized("update.insecure", "There is no secure connection to the update server.")};
        case Kind::leadsAway:
            return {ErrorCode::PermissionDenied,
                    localized("update.leads_away", "The update server leads to an address that is not secure.")};
        case Kind::tooLong:
            return {ErrorCode::InvalidInput, localized("update.too_long", "The update server's answer is too long.")};
        case Kind::status:
        case Kind::other:
            break;
    }
    return {fault.kind == Kind::status ? ErrorCode::InvalidInput : ErrorCode::Internal,
            localized("update.nonsense", "The update server's answer makes no sense.") + " (" + fault.detail + ")"};
}

}  // namespace

struct CurlUpdateFeed::Fetch {
    explicit Fetch(Request request) : transfer(std::move(request)) {}

    Transfer transfer;
    Result<std::string, Fault> outcome{Fault{}};  ///< The worker's until it has ended.
    Answer answer;                                ///< Empty once it was given up.
    Timer failed;
    std::unique_ptr<posix::BackgroundWork> work;  ///< Goes first: it uses the rest.
};

CurlUpdateFeed::~CurlUpdateFeed() {
    for (const auto& fetch : fetches_) fetch->transfer.giveUp();
}

Subscription CurlUpdateFeed::fetch(const std::string& address, Answer answer) {
    const auto parsed = parseWebAddress(address);
    const bool isLoopback = parsed && parsed->isLoopback();
    const bool isSecure = !parsed || parsed->isSecure;
    auto fetch = std::make_shared<Fetch>(
        Request{address, isSecure, !isLoopback, options_.userAgent, options_.authorities, options_.libraries});
    fetch->answer = std::move(answer);
    fetches_.push_back(fetch);
    auto* const started = fetch.get();
    auto work = posix::BackgroundWork::start(
        watch_, [started] { started->outcome = started->transfer.run(); }, [this, started] { ended(started); });
    if (work) {
        fetch->work = std::move(*work);
    } else {
        fetch->outcome = Fault{Fault::Kind::other, work.error().message};
        fetch->failed = scheduler_.after({}, [this, started] { ended(started); });
    }
    return Subscription([weak = std::weak_ptr<Fetch>(fetch)] {
        const auto alive = weak.lock();
        if (!alive) return;
        alive->answer = nullptr;
        alive->transfer.giveUp();
    });
}

void CurlUpdateFeed::ended(Fetch* fetch) {
    std::shared_ptr<Fetch> kept;
    for (const auto& candidate : fetches_)
        if (candidate.get() == fetch) kept = candidate;
    fetches_.remove(kept);
    const auto answer = std::exchange(kept->answer, nullptr);
    if (!answer) return;
    answer(kept->outcome ? Result<std::string>(*kept->outcome) : errorOf(kept->outcome.error()));
}

}  // namespace dravo::curl
