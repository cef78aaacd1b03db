// Control from outside: from the press of the shortcut, and from the call of Toggle over a session bus, to the first
// changed table; and the whole command `dravo toggle` beside a generic client that makes the same call. The program
// fades on three displays of a real X server; every measurement begins when the fade before it is over.
#include <sys/prctl.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "figures.h"
#include "platform/dbus/bus_control_client.h"
#include "support/private_bus.h"
#include "support/private_x_server.h"
#include "support/process_under_test.h"
#include "support/x_hands.h"

namespace dravo::bench {
namespace {

using namespace std::chrono_literals;
using std::chrono::steady_clock;
using testing::ChildProcess;

constexpr int kCalls = 100;
constexpr std::size_t kDisplays = 3;
constexpr const char* kLastDisplay = "DUMMY2";
constexpr const char* kGenericClient = "/usr/bin/gdbus";

class Toggles {
public:
    Toggles() {
        ::setenv("DBUS_SESSION_BUS_ADDRESS", bus_.address().c_str(), 1);  // for the client of this process
        off_ = ramp();
        home_.writePreferences("filterEnabled = true\n");
        program_.emplace(home_, std::vector<std::string>{"--headless"}, environment());
        need(soon([this] { return ramp() != off_ && client_.state(); }), "the program does not filter");
        on_ = ramp();
    }

    ~Toggles() { program_->signal(SIGUSR2); }

    /// In milliseconds, as all of these.
    double untilFirstTable() {
        return untilFirstTable(
            [this] { need(client_.ask(request::Toggle{}).hasValue(), "the program does not toggle"); });
    }

    double shortcut() {
        for (const auto keycode : {testing::key::kControl, testing::key::kShift}) hands_.hold(keycode);
        const double time = untilFirstTable([this] { hands_.hold(testing::key::kE); });
        for (const auto keycode : {testing::key::kE, testing::key::kShift, testing::key::kControl})
            hands_.letGo(keycode);
        return time;
    }

    double ownCommand() {
        testing::ProcessUnderTest command(home_, {"toggle"}, environment());
        return wholeTime(command);
    }

    double genericClient() {
        auto variables = home_.environment();
        for (const auto& [name, value] : environment()) variables.insert_or_assign(name, value);
        ChildProcess command(kGenericClient,
                             {.arguments = {"call", "--session", "--dest", "org.dravo.Dravo", "--object-path",
                                            "/org/dravo/Dravo", "--method", "org.dravo.Dravo1.Toggle"},
                              .environment = variables});
        return wholeTime(command);
    }

private:
    double untilFirstTable(const std::function<void()>& toggle) {
        const auto before = ramp();
        const auto start = steady_clock::now();
        toggle();
        need(soon([&] { return ramp() != before; }), "no table came");
        const double time = inMilliseconds(steady_clock::now() - start);
        waitForTheEndOfTheFade();
        return time;
    }

    static bool soon(const std::function<bool()>& condition) { return testing::waitUntil(condition, 10s, 50us); }

    RampLevels ramp() { return xServer_.displays().ramp(kLastDisplay); }

    std::map<std::string, std::string> environment() {
        return {{"DISPLAY", xServer_.address()}, {"DBUS_SESSION_BUS_ADDRESS", bus_.address()}};
    }

    double wholeTime(ChildProcess& command) {
        const bool hasEnded = soon([&] { return !command.isRunning(); });
        const auto end = steady_clock::now();
        need(hasEnded && command.exitStatus() == testing::ExitStatus::exited(0),
             "the command failed:\n" + command.standardError());
        waitForTheEndOfTheFade();
        return inMilliseconds(end - command.executedAt());
    }

    void waitForTheEndOfTheFade() {
        isOn_ = !isOn_;
        need(soon([this] { return ramp() == (isOn_ ? on_ : off_); }), "the fade does not end");
    }

    testing::PrivateXServer xServer_{kDisplays};
    testing::XHands hands_{xServer_.address()};
    testing::PrivateBus bus_;
    testing::TestHome home_;
    dbus::BusControlClient client_;
    std::optional<testing::ProcessUnderTest> program_;
    RampLevels off_;
    RampLevels on_;
    bool isOn_ = true;
};

void measure() {
    prctl(PR_SET_TIMERSLACK, 1);  // or each of the observer's short sleeps takes 50 µs longer
    Toggles toggles;
    Figures shortcut;
    Figures call;
    Figures command;
    Figures generic;
    // The first of each finds nothing in the machine's caches.
    toggles.shortcut();
    toggles.untilFirstTable();
    toggles.ownCommand();
    toggles.genericClient();
    for (int i = 0; i < kCalls; ++i) {
        shortcut.push_back(toggles.shortcut());
        call.push_back(toggles.untilFirstTable());
        command.push_back(toggles.ownCommand());
        generic.push_back(toggles.genericClient());
    }
    std::printf(
        "| press of the shortcut to the first changed table | 95th percentile 10 ms | 95th percentile %.1f ms, median "
        "%.1f ms | `toggle_bench`, %d presses |\n",
        percentile(shortcut, 0.95), median(shortcut), kCalls);
    std::printf(
        "| call of `Toggle` over the session bus to the first changed table | 95th percentile 10 ms | 95th percentile "
        "%.1f ms, median %.1f ms | `toggle_bench`, %d calls |\n",
        percentile(call, 0.95), median(call), kCalls);
    std::printf(
        "| the whole command `dravo toggle`, beside `gdbus call` | faster | %.1f times as fast: median %.1f beside "
        "%.1f "
        "ms, 95th percentile %.1f beside %.1f ms | `toggle_bench`, %d calls each |\n",
        median(generic) / median(command), median(command), median(generic), percentile(command, 0.95),
        percentile(generic, 0.95), kCalls);
}

}  // namespace
}  // namespace dravo::bench

int main() { return dravo::bench::run("toggle_bench", dravo::bench::measure); }
