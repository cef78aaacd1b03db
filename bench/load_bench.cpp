// One table into 16 displays of a real X server, the program's way, beside a checked request for one display after the
// other. The ways take turns in one run, and every load changes every display.
#include <array>
#include <cstdio>
#include <memory>
#include <vector>

#include "display/ramp_levels.h"
#include "display/remembered_displays.h"
#include "figures.h"
#include "platform/x11/x11_table_device.h"
#include "support/memory/virtual_scheduler.h"
#include "support/private_x_server.h"

namespace dravo::bench {
namespace {

constexpr std::size_t kDisplays = 16;
constexpr std::size_t kEntries = 256;
constexpr int kRounds = 500;

GammaTable darkTable(double intensity) { return computeTable(FilterPreset::defaultPreset(), intensity, 0.1, 0, 0); }

/// A plain client: its levels are ready, it only sends them.
class PlainClient {
public:
    explicit PlainClient(const std::string& address) : connection_(need(x11::connect(address), "the plain client")) {
        const auto resources =
            x11::fetchReply(connection_.get(), xcb_randr_get_screen_resources_current_reply,
                            xcb_randr_get_screen_resources_current(connection_.get(), connection_.root));
        need(resources != nullptr, "the server tells no CRTCs");
        const auto* first = xcb_randr_get_screen_resources_current_crtcs(resources.get());
        crtcs_.assign(first, first + resources->num_crtcs);
        need(crtcs_.size() == kDisplays, "not as many CRTCs as displays");
    }

    void loadOneByOne(const RampLevels& levels) {
        for (const auto crtc : crtcs_) check(send(crtc, levels));
    }

    void loadTogether(const RampLevels& levels) {
        std::vector<xcb_void_cookie_t> cookies;
        for (const auto crtc : crtcs_) cookies.push_back(send(crtc, levels));
        for (const auto cookie : cookies) check(cookie);
    }

private:
    xcb_void_cookie_t send(xcb_randr_crtc_t crtc, const RampLevels& levels) {
        return x11::sendRamp(connection_.get(), {static_cast<CrtcId>(crtc), levels});
    }
    void check(xcb_void_cookie_t cookie) {
        const x11::Reply<xcb_generic_error_t> error(xcb_request_check(connection_.get(), cookie));
        need(!error && !connection_.isBroken(), "the server refuses a table");
    }

    x11::Connection connection_;
    std::vector<xcb_randr_crtc_t> crtcs_;
};

void measure() {
    testing::PrivateXServer xServer(kDisplays);
    const auto device = need(x11::X11TableDevice::create(xServer.address(), nullptr), "the display server");
    memory::VirtualScheduler scheduler;
    OriginalGammaStore store({});
    RememberedDisplays displays(*device, store, scheduler);
    displays.begin(LastingDisplays::Beginning::looking);
    need(need(displays.list(), "the displays").size() == kDisplays, "not every display is on");
    PlainClient plain(xServer.address());

    const std::array tables{darkTable(0.6), darkTable(0.7)};
    const RampLevels plainLevels = toLevels(darkTable(0.8), kEntries);
    const RampLevels otherLevels = toLevels(darkTable(0.9), kEntries);

    Figures ours;
    Figures together;
    Figures oneByOne;
    for (std::size_t round = 0; round < kRounds; ++round) {
        ours.push_back(microsecondsOf([&] { displays.show(tables[round % 2], Fade::none); }));
        for (const auto& display : need(displays.list(), "the displays"))
            need(display.problem.empty(), "a display was not loaded");
        together.push_back(microsecondsOf([&] { plain.loadTogether(plainLevels); }));
        oneByOne.push_back(microsecondsOf([&] { plain.loadOneByOne(otherLevels); }));
    }
    std::printf(
        "| one table into 16 displays, beside a checked request for each | 3 times as fast, one round trip | %.1f "
        "times: "
        "%.0f beside %.0f µs (ready levels in one round trip: %.0f µs) | `load_bench`, median of %d |\n",
        median(oneByOne) / median(ours), median(ours), median(oneByOne), median(together), kRounds);
}

}  // namespace
}  // namespace dravo::bench

int main() { return dravo::bench::run("load_bench", dravo::bench::measure); }
