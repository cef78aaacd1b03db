#include "platform/posix/sd_event_loop.h"

#include <sys/epoll.h>
#include <time.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace dravo::posix {

namespace {

// Without memory or descriptors for its loop the program cannot keep any promise; it ends before it touches a display.
void require(int result, const char* what) {
    if (result >= 0) return;
    std::fprintf(stderr, "dravo: the event loop cannot %s: %s\n", what, std::strerror(-result));
    std::abort();
}

std::uint64_t toMicroseconds(SteadyTime time) {
    const auto sinceStart = std::chrono::ceil<std::chrono::microseconds>(time.time_since_epoch()).count();
    return static_cast<std::uint64_t>(std::max<decltype(sinceStart)>(sinceStart, 0));
}

}  // namespace

struct SdEventLoop::Watch {
    int descriptor;
    std::function<void()> callback;
    Source source;
};

SdEventLoop::SdEventLoop() = default;

sd_event* SdEventLoop::event() {
    if (event_) return event_.get();
    sd_event* event = nullptr;
    require(sd_event_new(&event), "start");
    event_.reset(event);

    sd_event_source* source = nullptr;
    constexpr std::uint64_t kAccuracyMicroseconds = 1;
    require(sd_event_add_time(event, &source, CLOCK_MONOTONIC, UINT64_MAX, kAccuracyMicroseconds, onTimer, this),
            "add its timer");
    timerSource_.reset(source);
    require(sd_event_add_defer(event, &source, onReady, this), "add its queue");
    readySource_.reset(source);
    require(sd_event_source_set_enabled(source, SD_EVENT_OFF), "switch its queue off");

    for (const auto& watch : std::exchange(waiting_, {}))
        if (const auto wanted = watch.lock()) attach(*wanted);
    queue_.setOnChange([this] { rearm(); });
    rearm();
    return event;
}

SdEventLoop::~SdEventLoop() { queue_.setOnChange(nullptr); }

WallTime SdEventLoop::now() const { return std::chrono::system_clock::now(); }
SteadyTime SdEventLoop::steadyNow() const { return std::chrono::steady_clock::now(); }

Timer SdEventLoop::after(Duration delay, std::function<void()> action) {
    return queue_.add(steadyNow() + std::max(delay, Duration::zero()), std::nullopt, std::move(action));
}

Timer SdEventLoop::every(Duration period, std::function<void()> action) {
    return queue_.add(steadyNow() + period, period, std::move(action));
}

void SdEventLoop::post(std::function<void()> action) { queue_.post(std::move(action)); }

Subscription SdEventLoop::whenReadable(int descriptor, std::function<void()> callback) {
    auto watch = std::make_shared<Watch>(Watch{descriptor, std::move(callback), nullptr});
    if (event_)
        attach(*watch);
    else
        waiting_.push_back(watch);
    return Subscription([watch]() mutable { watch.reset(); });
}

void SdEventLoop::attach(Watch& watch) {
    const auto onReadable = [](sd_event_source*, int, std::uint32_t, void* data) {
        const auto running = static_cast<Watch*>(data)->callback;  // the callback may end its own watch
        running();
        return 0;
    };
    sd_event_source* source = nullptr;
    require(sd_event_add_io(event_.get(), &source, watch.descriptor, EPOLLIN, onReadable, &watch),
            "watch a descriptor");
    watch.source.reset(source);
}

int SdEventLoop::run() {
    const int result = sd_event_loop(event());
    require(result, "run");
    return result;
}

void SdEventLoop::quit(int exitCode) {
    if (this->exitCode()) return;
    queue_.close();
    require(sd_event_exit(event(), exitCode), "end");
}

int SdEventLoop::descriptor() {
    const int descriptor = sd_event_get_fd(event());
    require(descriptor, "give its descriptor");
    return descriptor;
}

bool SdEventLoop::turn() {
    if (exitCode()) return false;
    isTurning_ = true;
    const int result = sd_event_run(event(), 0);
    isTurning_ = false;
    require(result, "turn");
    return result > 0;
}

std::optional<int> SdEventLoop::exitCode() {
    int given = 0;
    return sd_event_get_exit_code(event(), &given) >= 0 ? std::optional(given) : std::nullopt;
}

int SdEventLoop::onTimer(sd_event_source*, std::uint64_t, void* self) {
    auto& loop = *static_cast<SdEventLoop*>(self);
    loop.armedFor_ = SteadyTime::max();
    loop.queue_.runDue(loop.steadyNow());
    loop.rearm();
    return 0;
}

int SdEventLoop::onReady(sd_event_source*, void* self) {
    auto& loop = *static_cast<SdEventLoop*>(self);
    loop.readyArmed_ = false;
    loop.queue_.runPosted();
    loop.queue_.runDue(loop.steadyNow());
    loop.rearm();
    return 0;
}

// Both sources are one-shot: a tick of a repeating timer re-arms for the next, and nothing is armed without need. A
// timer that is due already takes the way of a posted call, past the kernel's timer.
void SdEventLoop::rearm() {
    const SteadyTime next = queue_.nextDeadline().value_or(SteadyTime::max());
    const bool isReady = queue_.hasPosted() || (next != SteadyTime::max() && next <= steadyNow());
    if (isReady != readyArmed_) {
        readyArmed_ = isReady;
        require(sd_event_source_set_enabled(readySource_.get(), isReady ? SD_EVENT_ONESHOT : SD_EVENT_OFF),
                "arm its queue");
    }
    if (isReady || next == armedFor_) return;
    armedFor_ = next;
    if (next == SteadyTime::max()) {
        require(sd_event_source_set_enabled(timerSource_.get(), SD_EVENT_OFF), "disarm its timer");
    } else {
        require(sd_event_source_set_time(timerSource_.get(), toMicroseconds(next)), "set its timer");
        require(sd_event_source_set_enabled(timerSource_.get(), SD_EVENT_ONESHOT), "arm its timer");
    }
}

}  // namespace dravo::posix
