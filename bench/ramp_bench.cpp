// How late a fade's frames come, against deadlines counted from its start: the engine on the product's event loop and a
// real X server with three displays, on an idle machine and with every core kept busy by somebody else.
#include <cmath>
#include <cstdio>
#include <functional>
#include <memory>
#include <thread>
#include <utility>
#include <vector>

#include "display/gamma_applicator.h"
#include "display/remembered_displays.h"
#include "figures.h"
#include "platform/posix/sd_event_loop.h"
#include "platform/x11/x11_table_device.h"
#include "support/memory/memory_services.h"
#include "support/private_x_server.h"

namespace dravo::bench {
namespace {

using namespace std::chrono_literals;
using std::chrono::steady_clock;

constexpr int kFades = 40;
constexpr int kFrames = 10;
constexpr auto kFrameTime = 30ms;
constexpr std::size_t kDisplays = 3;

/// Passes everything on and notes when a load was confirmed by the server, with the loaded white.
class Witness final : public TableDevice {
public:
    struct Load {
        steady_clock::time_point confirmed;
        float white;
    };

    explicit Witness(TableDevice& device) : device_(device) {}
    std::vector<Load> takeLoads() { return std::exchange(loads_, {}); }

    void write(std::span<const CrtcLevels> ramps, std::function<void(Outcomes)> done) override {
        const float white = toTable(ramps.front().levels).red.back();
        device_.write(ramps, [this, white, done = std::move(done)](Outcomes outcomes) {
            for (const auto& outcome : outcomes) need(outcome.hasValue(), "a frame was not loaded");
            loads_.push_back({steady_clock::now(), white});
            done(std::move(outcomes));
        });
    }

    std::string backend() const override { return device_.backend(); }
    const DeviceTopology& topology() const override { return device_.topology(); }
    Result<void> refresh() override { return device_.refresh(); }
    void read(std::span<const CrtcId> crtcs, std::function<void(Result<Levels>)> done) override {
        device_.read(crtcs, std::move(done));
    }
    std::optional<std::vector<bool>> lookAt(std::span<const CrtcLevels> wanted) override {
        return device_.lookAt(wanted);
    }
    void guard(std::vector<CrtcLevels> own) override { device_.guard(std::move(own)); }
    Subscription onChange(std::function<void()> callback) override { return device_.onChange(std::move(callback)); }
    Subscription onLoss(std::function<void()> callback) override { return device_.onLoss(std::move(callback)); }

private:
    TableDevice& device_;
    std::vector<Load> loads_;
};

/// Every channel at `white` times its input.
GammaTable grayTable(float white) {
    GammaTable table = GammaTable::identity();
    for (auto* channel : {&table.red, &table.green, &table.blue})
        for (float& level : *channel) level *= white;
    return table;
}

/// Fades to and fro between these two; which frame a table is can be read from its white.
constexpr float kBright = 1.0F;
constexpr float kDark = 0.5F;

/// Milliseconds from each frame's deadline until it, or a later one, was on screen.
Figures latenesses(const std::vector<Witness::Load>& loads, steady_clock::time_point start, float from) {
    Figures late;
    for (int frame = 1; frame <= kFrames; ++frame) {
        const auto shows = [&](const Witness::Load& load) {
            return std::lround(std::abs(load.white - from) / (kBright - kDark) * kFrames) >= frame;
        };
        const auto load = std::ranges::find_if(loads, shows);
        need(load != loads.end(), "a fade did not reach its end");
        late.push_back(inMilliseconds(load->confirmed - (start + (frame - 1) * kFrameTime)));
    }
    return late;
}

Figures fade(const std::string& address) {
    const auto device = need(x11::X11TableDevice::create(address, nullptr), "the display server");
    posix::SdEventLoop loop;
    device->listen(loop, loop);
    memory::MemoryWakeSource wake;
    Witness witness(*device);
    OriginalGammaStore store({});
    RememberedDisplays displays(witness, store, loop);
    displays.begin(LastingDisplays::Beginning::looking);
    GammaApplicator applicator(displays, wake, loop);
    applicator.apply(grayTable(kBright), Fade::none);
    witness.takeLoads();

    Figures late;
    int fades = 0;
    float from = kBright;
    steady_clock::time_point start;
    Timer pause;
    const auto next = [&] {
        const float to = from == kBright ? kDark : kBright;
        start = loop.steadyNow();
        applicator.apply(grayTable(to), Fade::animated);
    };
    const auto ended = applicator.onRampEnd([&] {
        const auto frames =
            latenesses(witness.takeLoads(), start, std::exchange(from, from == kBright ? kDark : kBright));
        late.insert(late.end(), frames.begin(), frames.end());
        if (++fades == kFades) {
            loop.quit(0);
        } else {
            pause = loop.after(50ms, next);
        }
    });
    loop.post(next);
    loop.run();
    need(applicator.shutDown().hasValue(), "the displays did not get their tables back");
    return late;
}

void measure() {
    testing::PrivateXServer xServer(kDisplays);
    const Figures idle = fade(xServer.address());
    std::vector<std::unique_ptr<testing::ChildProcess>> others;
    for (unsigned core = 0; core < std::thread::hardware_concurrency(); ++core) {
        others.push_back(std::make_unique<testing::ChildProcess>(
            "/bin/sh", testing::ChildProcess::Options{.arguments = {"-c", "while :; do :; done"}}));
    }
    const Figures loaded = fade(xServer.address());
    std::printf(
        "| lateness of a fade's ten frames, idle and with every core loaded | | 95th percentile %.1f and %.1f ms, "
        "median "
        "%.1f and %.1f ms, latest %.1f and %.1f ms | `ramp_bench`, %d fades each |\n",
        percentile(idle, 0.95), percentile(loaded, 0.95), median(idle), median(loaded), percentile(idle, 1),
        percentile(loaded, 1), kFades);
}

}  // namespace
}  // namespace dravo::bench

int main() { return dravo::bench::run("ramp_bench", dravo::bench::measure); }
