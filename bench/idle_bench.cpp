// What the program costs while nothing changes: it runs on three displays, and the kernel's own books are read before
// and after, beside a program that does nothing but wake once a second. `idle_bench [SECONDS]`, 60 if not given; it
// runs that long five times, without a panel: with the filter on and off, the same again with breaks and a schedule on,
// and with the filter on where Mutter drives the displays. panel_bench does the first with a panel.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>
#include <thread>

#include "figures.h"
#include "process_usage.h"
#include "support/private_bus.h"
#include "support/private_mutter.h"
#include "support/private_x_server.h"
#include "support/process_under_test.h"

namespace dravo::bench {
namespace {

using namespace std::chrono_literals;

constexpr std::size_t kDisplays = 3;

struct Case {
    bool filterIsOn;
    bool hasBreaksAndSchedule;
    const char* timeAim;
    const char* switchesAim;
    const char* memoryAim;
    bool isOnMutter = false;
};

std::string preferencesFor(const Case& row) {
    std::string text = "hasSeenOnboarding = true\n";
    if (!row.hasBreaksAndSchedule) return text + "filterEnabled = " + (row.filterIsOn ? "true\n" : "false\n");
    // A window that holds the present minute, or the half of the day that does not.
    const std::time_t now = std::time(nullptr);
    const std::tm local = *std::localtime(&now);
    const int start = (local.tm_hour * 60 + local.tm_min + (row.filterIsOn ? 18 : 6) * 60) % 1440;
    return text +
           "breakReminderEnabled = true\nscheduleEnabled = true\nscheduleStartMinutes = " + std::to_string(start) +
           "\nscheduleEndMinutes = " + std::to_string((start + 720) % 1440) + "\n";
}

void measure(const Case& row, int seconds) {
    testing::PrivateXServer xServer(kDisplays);
    testing::PrivateBus bus;
    std::optional<testing::PrivateMutter> mutter;
    testing::Environment session{{"DISPLAY", xServer.address()},
                                 {"DBUS_SESSION_BUS_ADDRESS", bus.address()},
                                 {"DBUS_SYSTEM_BUS_ADDRESS", bus.address()}};
    if (row.isOnMutter) {
        session["XDG_SESSION_TYPE"] = "wayland";
        session["DBUS_SESSION_BUS_ADDRESS"] = mutter.emplace(xServer).bus().address();
    }
    testing::TestHome home;
    home.writePreferences(preferencesFor(row));
    const auto neutral = xServer.displays().ramps();
    testing::ProcessUnderTest program(home, {"--headless"}, session);
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
        "| `--headless`, filter %s%s, three displays, %s, %d s of nothing: processor time | %s | %.1f ms (a bare "
        "ticker: "
        "%.1f) | %s |\n",
        row.filterIsOn ? "on" : "off", row.hasBreaksAndSchedule ? ", breaks and a schedule on" : "",
        row.isOnMutter ? "driven by Mutter" : "a bus", seconds, row.timeAim, used.milliseconds, tickerTime, how);
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
        measure({true, false, "10 ms", "130", "4 MB"}, seconds);
        measure({false, false, "", "", "4 MB"}, seconds);
        measure({true, true, "10 ms", "", "4 MB"}, seconds);
        measure({false, true, "10 ms", "", "4 MB"}, seconds);
        measure({true, false, "", "as many as events", "4 MB", true}, seconds);
    });
}
