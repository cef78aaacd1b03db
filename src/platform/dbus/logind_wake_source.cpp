#include "platform/dbus/logind_wake_source.h"

#include <sys/timerfd.h>
#include <unistd.h>

#include <cerrno>
#include <limits>
#include <string_view>
#include <utility>

namespace dravo::dbus {

namespace {

constexpr const char* kService = "org.freedesktop.login1";
constexpr const char* kManagerPath = "/org/freedesktop/login1";
constexpr const char* kManager = "org.freedesktop.login1.Manager";
constexpr std::chrono::seconds kTimeout{10};

// The session of this process, or of its user when it runs outside of any.
constexpr const char* kOwnSession = "auto";

}  // namespace

LogindWakeSource::LogindWakeSource(Bus& systemBus, Scheduler& scheduler, DescriptorWatch& descriptors)
    : bus_(systemBus), scheduler_(scheduler), descriptors_(descriptors) {}

Subscription LogindWakeSource::onWake(std::function<void()> callback) {
    if (!clock_ && !start_.isPending()) start_ = scheduler_.after({}, [this] { connect(); });
    return wakes_.add(std::move(callback));
}

Subscription LogindWakeSource::probe(Found found) {
    bus_.open();  // an absent bus answers like an absent service
    return bus_.call(bus_.newCall(kService, kManagerPath, kManager, "GetSession", "s", kOwnSession), kTimeout,
                     [found = std::move(found)](const Bus::Answer& answer) {
                         // It tells of sleep also where it knows no session of ours.
                         const bool isThere = answer || (answer.error().code != ErrorCode::NotFound &&
                                                         answer.error().code != ErrorCode::Disconnected);
                         constexpr TextKey kAbsent =
                             textKey("there is no login manager; only a jump of the clock tells");
                         constexpr TextKey kInstall = textKey("Install systemd-logind or elogind");
                         found(isThere ? Finding{"logind"} : Finding{{}, Sentence{kAbsent}, Sentence{kInstall}});
                     });
}

void LogindWakeSource::connect() {
    watchClock();
    if (!bus_.open()) return;
    sleepSubscription_ =
        bus_.onSignal(ruleFor(kService, kManagerPath, kManager, "PrepareForSleep"), [this](sd_bus_message* signal) {
            int begins = 1;
            if (sd_bus_message_read(signal, "b", &begins) >= 0 && !begins) wakes_.deliver();
        });
    auto question = bus_.newCall(kService, kManagerPath, kManager, "GetSession", "s", kOwnSession);
    sessionAnswer_ = bus_.call(std::move(question), kTimeout, [this](const Bus::Answer& answer) {
        const char* path = nullptr;
        if (answer && sd_bus_message_read(*answer, "o", &path) >= 0) watchSession(path);
    });
}

void LogindWakeSource::watchSession(const char* path) {
    sessionSubscription_ =
        bus_.onSignal(ruleFor(kService, path, "org.freedesktop.DBus.Properties", "PropertiesChanged") +
                          ",arg0='org.freedesktop.login1.Session'",
                      [this](sd_bus_message* signal) {
                          if (sd_bus_message_skip(signal, "s") < 0) return;
                          int isActive = 0;
                          readDictionary(signal, [&](const char* key, const char* signature, sd_bus_message* value) {
                              if (std::string_view(key) == "Active" && std::string_view(signature) == "b")
                                  sd_bus_message_read(value, "b", &isActive);
                          });
                          if (isActive) wakes_.deliver();
                      });
}

void LogindWakeSource::watchClock() {
    clock_.reset(::timerfd_create(CLOCK_REALTIME, TFD_NONBLOCK | TFD_CLOEXEC));
    if (!clock_) return;
    armClock();
    clockSubscription_ = descriptors_.whenReadable(clock_.get(), [this] {
        std::uint64_t expirations = 0;
        const bool hasJumped = ::read(clock_.get(), &expirations, sizeof expirations) < 0 && errno == ECANCELED;
        armClock();
        if (hasJumped) wakes_.deliver();
    });
}

// A timer that never ends, but for a clock that is set.
void LogindWakeSource::armClock() {
    itimerspec never{};
    never.it_value.tv_sec = std::numeric_limits<std::int32_t>::max();
    never.it_value.tv_sec *= 4;
    ::timerfd_settime(clock_.get(), TFD_TIMER_ABSTIME | TFD_TIMER_CANCEL_ON_SET, &never, nullptr);
}

}  // namespace dravo::dbus
