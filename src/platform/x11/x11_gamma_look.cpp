#include "platform/x11/x11_gamma_look.h"

#include <xcb/sync.h>
#include <xcb/xcbext.h>

#include <cstring>
#include <string_view>

namespace dravo::x11 {

namespace {

// The tick comes every 990 ms; 8 ms are plenty for the server to answer before it.
constexpr std::uint32_t kWaitMilliseconds = 982;
constexpr std::string_view kServerClock = "SERVERTIME";

std::optional<xcb_sync_counter_t> findServerClock(xcb_connection_t* connection) {
    const auto reply =
        fetchReply(connection, xcb_sync_list_system_counters_reply, xcb_sync_list_system_counters(connection));
    if (!reply) return std::nullopt;
    for (auto it = xcb_sync_list_system_counters_counters_iterator(reply.get()); it.rem > 0;
         xcb_sync_systemcounter_next(&it)) {
        // The library's own accessor for the name is two bytes off: the name follows the 14 bytes of fixed fields.
        constexpr std::size_t kNameOffset = 14;
        const std::string_view name(reinterpret_cast<const char*>(it.data) + kNameOffset, it.data->name_len);
        if (name == kServerClock) return it.data->counter;
    }
    return std::nullopt;
}

}  // namespace

Result<std::unique_ptr<GammaLook>> GammaLook::open(const std::string& display) {
    auto connection = connect(display);
    if (!connection) return connection.error();
    auto* xcb = connection->get();
    // Asked for only when the first table is read, it would wait its turn behind the server's own wait.
    xcb_prefetch_extension_data(xcb, &xcb_randr_id);
    const auto* sync = xcb_get_extension_data(xcb, &xcb_sync_id);
    if (!sync || !sync->present) return Error{ErrorCode::Unsupported, "this X server has no SYNC extension"};
    const auto initialized = fetchReply(xcb, xcb_sync_initialize_reply,
                                        xcb_sync_initialize(xcb, XCB_SYNC_MAJOR_VERSION, XCB_SYNC_MINOR_VERSION));
    xcb_get_extension_data(xcb, &xcb_randr_id);
    const auto clock = findServerClock(xcb);
    // Waiting on no counter at all returns at once, which would make a busy loop.
    if (!initialized || !clock || *clock == XCB_NONE)
        return Error{ErrorCode::Unsupported, "this X server's SYNC extension has no clock"};
    return std::unique_ptr<GammaLook>(new GammaLook(std::move(*connection), *clock));
}

void GammaLook::ask(std::span<const CrtcId> crtcs) {
    xcb_sync_waitcondition_t condition = {};
    condition.trigger.counter = serverClock_;
    condition.trigger.wait_type = XCB_SYNC_VALUETYPE_RELATIVE;
    condition.trigger.wait_value.lo = kWaitMilliseconds;
    condition.trigger.test_type = XCB_SYNC_TESTTYPE_POSITIVE_COMPARISON;
    condition.event_threshold.hi = INT32_MAX;  // no event, only the wait
    xcb_sync_await(connection_.get(), 1, &condition);
    for (const auto crtc : crtcs)
        questions_.push_back({crtc, xcb_randr_get_crtc_gamma(connection_.get(), native(crtc)).sequence});
    xcb_flush(connection_.get());
}

std::optional<GammaLook::Answers> GammaLook::collect() {
    auto* xcb = connection_.get();
    std::size_t answered = 0;
    for (; answered < questions_.size(); ++answered) {
        void* raw = nullptr;
        xcb_generic_error_t* error = nullptr;
        if (xcb_poll_for_reply(xcb, questions_[answered].sequence, &raw, &error) == 0) break;
        std::free(error);
        const Reply<xcb_randr_get_crtc_gamma_reply_t> reply(static_cast<xcb_randr_get_crtc_gamma_reply_t*>(raw));
        if (reply && reply->size > 0) answers_[questions_[answered].crtc] = levelsOf(*reply);
    }
    questions_.erase(questions_.begin(), questions_.begin() + static_cast<std::ptrdiff_t>(answered));
    while (const Reply<xcb_generic_event_t> event{xcb_poll_for_event(xcb)}) {
    }
    if (!questions_.empty() && !connection_.isBroken()) return std::nullopt;
    questions_.clear();
    return std::exchange(answers_, {});
}

}  // namespace dravo::x11
