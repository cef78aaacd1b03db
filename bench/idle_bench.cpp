// What the program costs while nothing changes: it runs on three displays, and the kernel's own books are read before
// and after, beside a program that does nothing but wake once a second. `idle_bench [SECONDS]`, 60 if not given; it
// runs that long three times: without a panel with the filter on and off, and with one.
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <string>
#include <thread>

#include "figures.h"
#include "support/private_bus.h"
#include "support/private_x_server.h"
#include "support/process_under_test.h"

namespace dravo::bench {
namespace {

using namespace std::chrono_literals;

constexpr std::size_t kDisplays = 3;

/// What a process has used so far, all its threads together.
struct Usage {
    double milliseconds = 0;  ///< On a processor.
    long waits = 0;           ///< Context switches because it had nothing to do.
    long preemptions = 0;     ///< Context switches because others had.
};

/// The number after `name` in one of the kernel's files.
long numberAfter(const std::string& name, const std::string& text) {
    const auto found = text.find(name);
    need(found != std::string::npos, "the kernel does not tell " + name);
    return std::strtol(text.c_str() + found + name.size(), nullptr, 10);
}

Usage usageOf(pid_t process) {
    Usage usage;
    for (const auto& thread : std::filesystem::directory_iterator("/proc/" + std::to_string(process) + "/task")) {
        // The first number there is the time on a processor, in nanoseconds.
        usage.milliseconds += std::strtod(testing::contentOf(thread.path() / "schedstat").c_str(), nullptr) / 1e6;
        const std::string status = testing::contentOf(thread.path() / "status");
        usage.waits += numberAfter("\nvoluntary_ctxt_switches:", status);
        usage.preemptions += numberAfter("\nnonvoluntary_ctxt_switches:", status);
    }
    return usage;
}

double proportionalSetMegabytes(pid_t process) {
    const auto rollup = testing::contentOf("/proc/" + std::to_string(process) + "/smaps_rollup");
    return static_cast<double>(numberAfter("\nPss:", rollup)) / 1024;
}

struct Case {
    const char* mode;
    bool filterIsOn;
    const char* timeAim;
    const char* switchesAim;
    const char* memoryAim;
};

void measure(const Case& row, int seconds) {
    testing::PrivateXServer xServer(kDisplays);
    testing::PrivateBus bus;
    testing::TestHome home;
    home.writePreferences(std::string("hasSeenOnboarding = true\nfilterEnabled = ") +
                          (row.filterIsOn ? "true\n" : "false\n"));
    const auto neutral = xServer.displays().ramps();
    testing::ProcessUnderTest program(home, {row.mode},
                                      {{"DISPLAY", xServer.address()},
                                       {"DBUS_SESSION_BUS_ADDRESS", bus.address()},
                                       {"DBUS_SYSTEM_BUS_ADDRESS", bus.address()}});
    testing::ChildProcess ticker(BARE_TICKER, {});
    std::this_thread::sleep_for(6s);  // the start, the looks after it, and threads that end again
    need(program.isRunning(), "the program ended:\n" + program.standardError());
    need((xServer.displays().ramps() != neutral) == row.filterIsOn, "the displays are not as they should be");

    const Usage before = usageOf(program.pid());
    const double tickerBefore = usageOf(ticker.pid()).milliseconds;
    std::this_thread::sleep_for(std::chrono::seconds{seconds});
    const Usage after = usageOf(program.pid());
    const double tickerTime = usageOf(ticker.pid()).milliseconds - tickerBefore;
    const double megabytes = proportionalSetMegabytes(program.pid());
    program.signal(SIGUSR2);
    need(program.waitForExit() == testing::ExitStatus::exited(0), "a bad end:\n" + program.standardError());

    const char* how = "`idle_bench`";
    std::printf(
        "| `%s`, filter %s, three displays, a bus, %d s of nothing: processor time | %s | %.1f ms (a bare ticker: "
        "%.1f) | %s |\n",
        row.mode, row.filterIsOn ? "on" : "off", seconds, row.timeAim, after.milliseconds - before.milliseconds,
        tickerTime, how);
    std::printf(
        "| the same: context switches of all threads | %s | %ld, and %ld where others took the processor | %s |\n",
        row.switchesAim, after.waits - before.waits, after.preemptions - before.preemptions, how);
    std::printf("| the same: proportional set size | %s | %.1f MB | %s |\n", row.memoryAim, megabytes, how);
    std::fflush(stdout);
}

}  // namespace
}  // namespace dravo::bench

int main(int argc, char** argv) {
    using namespace dravo::bench;
    return run("idle_bench", [&] {
        const int seconds = argc > 1 ? std::atoi(argv[1]) : 60;
        need(seconds > 0, "for how many seconds?");
        measure({"--headless", true, "10 ms", "130", "4 MB"}, seconds);
        measure({"--headless", false, "", "", "4 MB"}, seconds);
        // With the toolkit loaded, and the panel closed.
        measure({"--autostart", true, "", "", "35 MB"}, seconds);
    });
}
