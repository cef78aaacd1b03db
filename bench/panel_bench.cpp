// The program with its icon and panel, on a desktop with a window manager and a tray: from exec to the icon, beside a
// program that is nothing but an icon; from the click on it to the whole panel on the screen; and what the program
// costs when the panel is closed again and nothing changes. `panel_bench [SECONDS]`: how long the last one is watched,
// 60 if not given.
#include <sys/prctl.h>

#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>
#include <thread>

#include "figures.h"
#include "process_usage.h"
#include "support/private_bus.h"
#include "support/private_x_server.h"
#include "support/process_under_test.h"
#include "support/tray_host.h"
#include "support/x_hands.h"
#include "support/x_windows.h"

namespace dravo::bench {
namespace {

using namespace std::chrono_literals;
using std::chrono::steady_clock;
using testing::Box;
using testing::ChildProcess;
using testing::TrayHost;

constexpr int kStarts = 20;
constexpr int kOpenings = 10;
constexpr std::size_t kDisplays = 3;

/// Looking at every window costs the server a while, which it must have for those who are watched.
bool soon(const std::function<bool()>& condition) { return testing::waitUntil(condition, 10s, 2ms); }

class Desktop {
public:
    Desktop() {
        home_.writePreferences("hasSeenOnboarding = true\nfilterEnabled = true\n");
        need(soon([this] { return windows_.areManaged(); }), "no window manager");
    }

    std::map<std::string, std::string> session() {
        return {{"DISPLAY", xServer_.address()},
                {"DBUS_SESSION_BUS_ADDRESS", bus_.address()},
                {"DBUS_SYSTEM_BUS_ADDRESS", bus_.address()}};
    }

    /// `make` starts a program that goes by our name; the time from its exec to its icon.
    double untilIcon(const std::function<ChildProcess&()>& make) {
        need(soon([this] { return !tray_.iconPlace(windows_); }), "the icon before it stays");
        std::this_thread::sleep_for(200ms);  // for the bar, which closes the gap
        ChildProcess& process = make();
        need(soon([this] { return tray_.iconPlace(windows_).has_value(); }), "no icon:\n" + process.standardError());
        return inMilliseconds(steady_clock::now() - process.executedAt());
    }

    ChildProcess& startProgram() { return program_.emplace(home_, std::vector<std::string>{"--autostart"}, session()); }
    ChildProcess& startBareTray() {
        auto variables = home_.environment();
        for (const auto& [name, value] : session()) variables.insert_or_assign(name, value);
        return bareTray_.emplace(
            BARE_TRAY, ChildProcess::Options{.arguments = {"-name", "dravo"}, .environment = std::move(variables)});
    }
    void endBareTray() { bareTray_.reset(); }
    void endProgram() {
        program_->signal(SIGUSR2);
        need(program_->waitForExit() == testing::ExitStatus::exited(0), "a bad end:\n" + program_->standardError());
    }
    [[nodiscard]] pid_t program() const { return program_->pid(); }
    [[nodiscard]] pid_t bareTray() const { return bareTray_->pid(); }

    /// From the click on the icon to the panel as it then stays; closes it again.
    double untilPanel() {
        const auto icon = tray_.iconPlace(windows_);
        need(icon.has_value(), "the icon has gone");
        hands_.moveTo(*icon);
        std::this_thread::sleep_for(400ms);
        const auto start = steady_clock::now();
        hands_.click(*icon);
        std::vector<std::uint32_t> shown;
        auto changedAt = start;
        const bool isStill = soon([&] {
            const auto box = panel();
            if (!box) return false;
            if (auto picture = windows_.picture(*box); picture != shown) {
                shown = std::move(picture);
                changedAt = steady_clock::now();
            }
            return steady_clock::now() - changedAt > 500ms;
        });
        need(isStill && shown.size() > 50000, "the panel does not open");
        hands_.press({testing::key::kEscape});
        need(soon([this] { return !panel(); }), "the panel does not close");
        return inMilliseconds(changedAt - start);
    }

private:
    std::optional<Box> panel() {
        for (const auto& window : windows_.of("dravo"))
            if (window.isManaged && window.box.width >= 320) return window.box;
        return std::nullopt;
    }

    testing::PrivateXServer xServer_{kDisplays};
    testing::PrivateBus bus_;
    testing::TestHome home_;
    testing::TestHome managersHome_;
    ChildProcess manager_{"/usr/bin/openbox", {.environment = [this] {
                              auto variables = managersHome_.environment();
                              variables.insert_or_assign("DISPLAY", xServer_.address());
                              return variables;
                          }()}};
    testing::XWindows windows_{xServer_.address()};
    testing::XHands hands_{xServer_.address()};
    TrayHost tray_{TrayHost::Kind::xembed, session()};
    std::optional<testing::ProcessUnderTest> program_;
    std::optional<ChildProcess> bareTray_;
};

void measureStarts(Desktop& desktop) {
    Figures icon;
    Figures bareIcon;
    Figures firstPanel;
    double bareMegabytes = 0;
    // The first start of each finds nothing in the machine's caches and does not count.
    for (int i = 0; i <= kStarts; ++i) {
        const double bare = desktop.untilIcon([&]() -> ChildProcess& { return desktop.startBareTray(); });
        bareMegabytes = proportionalSetMegabytes(desktop.bareTray());
        desktop.endBareTray();
        const double own = desktop.untilIcon([&]() -> ChildProcess& { return desktop.startProgram(); });
        std::this_thread::sleep_for(1s);
        const double panel = desktop.untilPanel();
        desktop.endProgram();
        if (i == 0) continue;
        icon.push_back(own);
        bareIcon.push_back(bare);
        firstPanel.push_back(panel);
    }
    std::printf(
        "| exec to the tray icon, beside a program that is nothing but an icon (%.1f MB) | 60 ms | median %.1f beside "
        "%.1f ms, 95th percentile %.1f beside %.1f ms | `panel_bench`, %d starts each |\n",
        bareMegabytes, median(icon), median(bareIcon), percentile(icon, 0.95), percentile(bareIcon, 0.95), kStarts);
    std::printf(
        "| click on the icon to the panel on the screen, the first time | 50 ms | median %.1f ms, 95th percentile %.1f "
        "ms | `panel_bench`, %d starts |\n",
        median(firstPanel), percentile(firstPanel, 0.95), kStarts);
}

void measureRest(Desktop& desktop, int seconds) {
    desktop.untilIcon([&]() -> ChildProcess& { return desktop.startProgram(); });
    std::this_thread::sleep_for(1s);
    Figures laterPanel;
    for (int i = 0; i < kOpenings; ++i) laterPanel.push_back(desktop.untilPanel());
    laterPanel.erase(laterPanel.begin());
    std::this_thread::sleep_for(6s);  // the looks after the start, and threads that end again

    const Books before = booksOf(desktop.program());
    std::this_thread::sleep_for(std::chrono::seconds{seconds});
    const Usage used = usedSince(before, desktop.program());
    const double megabytes = proportionalSetMegabytes(desktop.program());
    desktop.endProgram();
    std::printf(
        "| the same, from the second time on | | median %.1f ms, 95th percentile %.1f ms | `panel_bench`, %zu "
        "openings |\n",
        median(laterPanel), percentile(laterPanel, 0.95), laterPanel.size());
    std::printf("| proportional set size with the panel closed after %d openings | 35 MB | %.1f MB | `panel_bench` |\n",
                kOpenings, megabytes);
    std::printf(
        "| filter on, panel closed, three displays, %d s of nothing: processor time and context switches | | %.1f ms, "
        "%ld, and %ld where others took the processor | `panel_bench` |\n",
        seconds, used.milliseconds, used.waits, used.preemptions);
}

}  // namespace
}  // namespace dravo::bench

int main(int argc, char** argv) {
    using namespace dravo::bench;
    return run("panel_bench", [&] {
        prctl(PR_SET_TIMERSLACK, 1);  // or each of the observer's short sleeps takes 50 µs longer
        const int seconds = argc > 1 ? std::atoi(argv[1]) : 60;
        need(seconds > 0, "for how many seconds?");
        Desktop desktop;
        measureStarts(desktop);
        measureRest(desktop, seconds);
    });
}
