// A compositor that hands its displays' tables to one client: the start, beside a bare client of that kind in turns;
// loads into 1 and 16 displays; and what a minute of nothing costs. `wlroots_bench [SECONDS]`.
#include <sys/prctl.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>

#include "figures.h"
#include "platform/posix/sd_event_loop.h"
#include "platform/wayland/gamma_compositor.h"
#include "process_usage.h"
#include "support/environment_variable.h"
#include "support/private_bus.h"
#include "support/process_under_test.h"
#include "support/small_compositor.h"

namespace dravo::bench {
namespace {

using namespace std::chrono_literals;
using testing::ChildProcess;
using testing::SmallCompositor;

constexpr int kStarts = 50;
constexpr int kRounds = 300;
constexpr int kDisplays = 3;

void plug(SmallCompositor& compositor, int displays) {
    for (int i = 0; i < displays; ++i) compositor.plug("DP-" + std::to_string(i), 256, std::to_string(i));
}

/// From exec to the last display's first table, by the compositor's own clock. In milliseconds.
double untilFirstTables(SmallCompositor& compositor, const ChildProcess& process) {
    const int wanted = compositor.books().loads + kDisplays;
    // Looked for rarely: each look takes the compositor's time.
    need(testing::waitUntil([&] { return compositor.books().loads >= wanted; }, 10s, 10ms),
         "no table came:\n" + process.standardError());
    return inMilliseconds(compositor.books().lastLoad - process.executedAt());
}

void needGoodEnd(ChildProcess& process) {
    need(process.waitForExit() == testing::ExitStatus::exited(0), "a bad end:\n" + process.standardError());
}

void measureStarts() {
    prctl(PR_SET_TIMERSLACK, 1);
    SmallCompositor compositor;
    plug(compositor, kDisplays);
    testing::TestHome home;
    home.writePreferences("hasSeenOnboarding = true\nfilterEnabled = true\n");
    const std::map<std::string, std::string> there{{"WAYLAND_DISPLAY", compositor.address()}};
    Figures ours;
    Figures bare;
    // The first of each finds nothing in the machine's caches and does not count.
    for (int i = 0; i <= kStarts; ++i) {
        testing::ProcessUnderTest program(home, {"--headless"}, there);
        const double time = untilFirstTables(compositor, program);
        program.signal(SIGUSR2);
        needGoodEnd(program);
        ChildProcess client(BARE_WLR_CLIENT, {.environment = there});
        const double bareTime = untilFirstTables(compositor, client);
        needGoodEnd(client);
        if (i == 0) continue;
        ours.push_back(time);
        bare.push_back(bareTime);
    }
    std::printf(
        "| wlroots: exec to the first filtered tables, `--headless` beside a bare client of that kind | twice its "
        "median "
        "| %.1f times: median %.1f beside %.1f ms, 95th percentile %.1f beside %.1f ms | `wlroots_bench`, %d starts "
        "each "
        "|\n",
        median(ours) / median(bare), median(ours), median(bare), percentile(ours, 0.95), percentile(bare, 0.95),
        kStarts);
}

/// From the wish to the last display's table, in microseconds.
double loadTime(int displays) {
    SmallCompositor compositor;
    plug(compositor, displays);
    testing::EnvironmentVariable address("WAYLAND_DISPLAY");
    address.set(compositor.address());
    posix::SdEventLoop loop;
    const auto ours = need(wayland::GammaCompositor::create(), "the compositor")->takeDisplays(loop);
    ours->listen(loop);
    Figures times;
    for (int round = 0; round <= kRounds; ++round) {
        const auto table = computeTable(FilterPreset::defaultPreset(), round % 2 == 0 ? 0.6 : 0.7, 0.1, 0, 0);
        const int wanted = compositor.books().loads + displays;
        const auto start = std::chrono::steady_clock::now();
        ours->show(table, Fade::none);
        const bool isLoaded = testing::waitUntil([&] {
            while (loop.turn()) {
            }
            return compositor.books().loads >= wanted;
        });
        need(isLoaded, "a display was not loaded");
        if (round > 0) times.push_back(inMicroseconds(compositor.books().lastLoad - start));
        // The answer behind it has to be there before the next.
        testing::waitUntil([&] { return !loop.turn(); });
    }
    return median(times);
}

void measureLoads() {
    const double one = loadTime(1);
    std::printf(
        "| wlroots: one table into 1 and 16 displays, until the compositor has read it | | %.0f and %.0f µs | "
        "`wlroots_bench`, median of %d |\n",
        one, loadTime(16), kRounds);
}

void measureIdle(int seconds) {
    SmallCompositor compositor;
    plug(compositor, kDisplays);
    testing::PrivateBus bus;
    testing::TestHome home;
    home.writePreferences("hasSeenOnboarding = true\nfilterEnabled = true\n");
    testing::ProcessUnderTest program(home, {"--headless"},
                                      {{"WAYLAND_DISPLAY", compositor.address()},
                                       {"DBUS_SESSION_BUS_ADDRESS", bus.address()},
                                       {"DBUS_SYSTEM_BUS_ADDRESS", bus.address()}});
    std::this_thread::sleep_for(6s);
    need(compositor.holder("DP-2") == program.pid(), "the displays are not as they should be");
    const Books before = booksOf(program.pid());
    std::this_thread::sleep_for(std::chrono::seconds{seconds});
    const Usage used = usedSince(before, program.pid());
    const double megabytes = proportionalSetMegabytes(program.pid());
    program.signal(SIGUSR2);
    needGoodEnd(program);
    std::printf(
        "| wlroots: `--headless`, filter on, three displays, a bus, %d s of nothing: context switches of all threads | "
        "0 "
        "| %ld, and %ld where others took the processor | `wlroots_bench` |\n",
        seconds, used.waits, used.preemptions);
    std::printf("| the same: processor time, proportional set size | | %.1f ms, %.1f MB | `wlroots_bench` |\n",
                used.milliseconds, megabytes);
}

}  // namespace
}  // namespace dravo::bench

int main(int argc, char** argv) {
    using namespace dravo::bench;
    return run("wlroots_bench", [&] {
        const int seconds = argc > 1 ? std::atoi(argv[1]) : 60;
        need(seconds > 0, "for how many seconds?");
        measureStarts();
        measureLoads();
        measureIdle(seconds);
    });
}
