// From exec to the first filtered table, seen from outside: the program, without its desktop's side and with it, and a
// bare client of the same kind of session are started in turns, on X11 and where Mutter drives the displays, and one
// and the same observer asks the server for the last display's table until it is not the neutral one any more.
// `start_bench [FOLDER]`: the home is made in FOLDER, else in memory.
#include <linux/magic.h>
#include <sys/prctl.h>
#include <sys/vfs.h>

#include <cstdio>
#include <filesystem>
#include <map>
#include <optional>
#include <string>

#include "figures.h"
#include "support/private_mutter.h"
#include "support/private_x_server.h"
#include "support/process_under_test.h"

namespace dravo::bench {
namespace {

using namespace std::chrono_literals;
using std::chrono::steady_clock;
using testing::ChildProcess;

constexpr int kStarts = 50;
constexpr std::size_t kDisplays = 3;
constexpr const char* kLastDisplay = "DUMMY2";

enum class Kind { x11, gnome };

class Starts {
public:
    Starts(const std::filesystem::path& parentOfHome, Kind kind) : home_(parentOfHome) {
        if (kind == Kind::gnome) {
            mutter_.emplace(xServer_);
            session_["XDG_SESSION_TYPE"] = "wayland";
            session_["DBUS_SESSION_BUS_ADDRESS"] = mutter_->bus().address();
        }
        home_.writePreferences("hasSeenOnboarding = true\nfilterEnabled = true\n");
        neutral_ = xServer_.displays().ramps();
        need(neutral_.contains(kLastDisplay) && neutral_.size() == kDisplays, "the displays are not as they should be");
    }

    /// Where the program's home is: syncing a file on a disk takes time.
    [[nodiscard]] const char* homeIsOn() const {
        struct statfs info = {};
        need(statfs(home_.path().c_str(), &info) == 0, "where is the home?");
        return info.f_type == TMPFS_MAGIC ? "in memory" : "on the disk";
    }

    /// In milliseconds. The program must end well after it, too.
    double program(const char* mode) {
        testing::ProcessUnderTest program(home_, {mode}, session_);
        const double time = untilFirstTable(program);
        program.signal(SIGUSR2);
        needGoodEnd(program);
        need(testing::waitUntil([&] { return xServer_.displays().ramps() == neutral_; }),
             "the program left a table behind");
        need(!std::filesystem::exists(home_.path() / ".dravo/original_gamma.json"), "the saved tables are still there");
        return time;
    }

    double bareClient() {
        ChildProcess client(mutter_ ? BARE_BUS_CLIENT : BARE_CLIENT, {.environment = session_});
        const double time = untilFirstTable(client);
        needGoodEnd(client);
        for (const auto& [display, ramp] : neutral_) xServer_.displays().setRamp(display, ramp);
        return time;
    }

private:
    double untilFirstTable(const ChildProcess& process) {
        const auto deadline = process.executedAt() + 10s;
        const auto& neutral = neutral_.at(kLastDisplay);
        const bool isLoaded =
            testing::waitUntil([&] { return xServer_.displays().ramp(kLastDisplay) != neutral; }, 10s, 50us);
        const auto now = steady_clock::now();
        need(isLoaded && now < deadline, "no table came:\n" + process.standardError());
        return inMilliseconds(now - process.executedAt());
    }

    static void needGoodEnd(ChildProcess& process) {
        need(process.waitForExit() == testing::ExitStatus::exited(0), "a bad end:\n" + process.standardError());
    }

    testing::PrivateXServer xServer_{kDisplays};
    std::optional<testing::PrivateMutter> mutter_;
    std::map<std::string, std::string> session_{{"DISPLAY", xServer_.address()}};
    testing::TestHome home_;
    testing::Ramps neutral_;
};

void print(const char* what, const char* place, const Figures& program, const Figures& bareClient) {
    std::printf(
        "| exec to the first filtered table, %s beside a bare client, home %s | twice its median | %.1f times: "
        "median %.1f beside %.1f ms, 95th percentile %.1f beside %.1f ms | `start_bench`, %d starts each |\n",
        what, place, median(program) / median(bareClient), median(program), median(bareClient),
        percentile(program, 0.95), percentile(bareClient, 0.95), kStarts);
}

void measure(const std::filesystem::path& parentOfHome, Kind kind) {
    prctl(PR_SET_TIMERSLACK, 1);  // or each of the observer's short sleeps takes 50 µs longer
    Starts starts(parentOfHome, kind);
    Figures headless;
    Figures whole;
    Figures bareClient;
    // The first of each finds nothing in the machine's caches and does not count.
    for (int i = 0; i <= kStarts; ++i) {
        const double timeHeadless = starts.program("--headless");
        const double timeWhole = starts.program("--autostart");
        const double timeBare = starts.bareClient();
        if (i == 0) continue;
        headless.push_back(timeHeadless);
        whole.push_back(timeWhole);
        bareClient.push_back(timeBare);
    }
    const std::string on = kind == Kind::gnome ? " over Mutter's bus" : "";
    print(("`--headless`" + on).c_str(), starts.homeIsOn(), headless, bareClient);
    print(("the whole program" + on).c_str(), starts.homeIsOn(), whole, bareClient);
}

}  // namespace
}  // namespace dravo::bench

int main(int argc, char** argv) {
    const std::filesystem::path parentOfHome = argc > 1 ? std::filesystem::absolute(argv[1]) : "";
    using dravo::bench::Kind;
    return dravo::bench::run("start_bench", [&] {
        dravo::bench::measure(parentOfHome, Kind::x11);
        dravo::bench::measure(parentOfHome, Kind::gnome);
    });
}
