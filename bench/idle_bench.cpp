// What the program costs while nothing changes: it runs on three displays, and the kernel's own books are read before
// and after, beside a program that does nothing but wake once a second. `idle_bench [SECONDS]`, 60 if not given; it
// runs that long twice, without a panel: with the filter on and off. panel_bench does the same with one.
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>

#include "figures.h"
#include "process_usage.h"
#include "support/private_bus.h"
#include "support/private_x_server.h"
#include "support/process_under_test.h"

namespace dravo::bench {
namespace {

using namespace std::chrono_literals;

constexpr std::size_t kDisplays = 3;

struct Case {
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
    testing::ProcessUnderTest program(home, {"--headless"},
                                      {{"DISPLAY", xServer.address()},
                                       {"DBUS_SESSION_BUS_ADDRESS", bus.address()},
                                       {"DBUS_SYSTEM_BUS_ADDRESS", bus.address()}});
    testing::ChildProcess ticker(BARE_TICKER, {});
    std::this_thread::sleep_for(6s);  // the start, the looks after it, and threads that end again
    need(program.isRunning(), "the program ended:\n" + program.standardError());
    need((xServer.displays().ramps() != neutral) == row.filterIsOn, "the displays are not as they should be");

    const Books before = booksOf(program.pid());
    const Books tickerBefore = booksOf(ticker.pid());
    std::this_thread::sleep_for(std::chrono::seconds{seconds});
    const Usage used = usedSince(before, program.pid());
    const double tickerTime = usedSince(tickerBefore, ticker.pid()).milliseconds;
    const double megabytes = proportionalSetMegabytes(program.pid());
    program.signal(SIGUSR2);
    need(program.waitForExit() == testing::ExitStatus::exited(0), "a bad end:\n" + program.standardError());

    const char* how = "`idle_bench`";
    std::printf(
        "| `--headless`, filter %s, three displays, a bus, %d s of nothing: processor time | %s | %.1f ms (a bare "
        "ticker: "
        "%.1f) | %s |\n",
        row.filterIsOn ? "on" : "off", seconds, row.timeAim, used.milliseconds, tickerTime, how);
    std::printf(
        "| the same: context switches of all threads | %s | %ld, and %ld where others took the processor | %s |\n",
        row.switchesAim, used.waits, used.preemptions, how);
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
        measure({true, "10 ms", "130", "4 MB"}, seconds);
        measure({false, "", "", "4 MB"}, seconds);
    });
}
