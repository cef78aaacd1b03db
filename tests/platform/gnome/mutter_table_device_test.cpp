#include "platform/gnome/mutter_table_device.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <memory>

#include "platform/displays_contract.h"
#include "platform/posix/sd_event_loop.h"
#include "platform/posix/termination_guard.h"
#include "support/environment_variable.h"
#include "support/private_mutter.h"

namespace dravo::gnome {
namespace {

/// A client of the session with a loop of its own.
class MutterClient {
public:
    MutterClient() {
        if (!lastWord_.open()) throw std::runtime_error("no second connection");
        auto bus = MutterTableDevice::connect();
        if (!bus) throw std::runtime_error(inEnglish(bus.error().message));
        auto created = MutterTableDevice::create(std::move(*bus), &lastWord_);
        if (!created) throw std::runtime_error(inEnglish(created.error().message));
        device_ = std::move(*created);
        device_->listen(loop_, loop_);
    }

    MutterTableDevice& device() { return *device_; }
    MutterLastWord& lastWord() { return lastWord_; }
    Scheduler& scheduler() { return loop_; }

    [[nodiscard]] const DeviceOutput* output(const std::string& connector) const {
        const auto& outputs = device_->topology().outputs;
        const auto found = std::ranges::find(outputs, connector, &DeviceOutput::connector);
        return found == outputs.end() ? nullptr : &*found;
    }

    /// Serves what has come so far, and what follows from it; then a question, behind which tables are on the X server.
    void settle() {
        for (int turn = 0; turn < 3; ++turn) {
            while (sd_event_run(loop_.event(), 0) > 0) {
            }
            device_->finish(testing::kPatience);
        }
        device_->read(std::array{CrtcId{0}}, [](const Result<TableDevice::Levels>&) {});
        device_->finish(testing::kPatience);
    }
    bool settleUntil(const std::function<bool()>& condition) {
        return testing::waitUntil([&] {
            settle();
            return condition();
        });
    }

private:
    posix::SdEventLoop loop_;
    MutterLastWord lastWord_;
    std::unique_ptr<MutterTableDevice> device_;
};

class MutterBench final : public DisplayBench {
public:
    MutterBench() {
        for (int slot = 0; slot < kSlots; ++slot) foreignWrite(slot, firstOwnTable(slot, 256));
    }
    TableDevice& connect() override {
        client_.reset();
        client_ = std::make_unique<MutterClient>();
        // Asked for in vain by now where the machine has much else to do.
        EXPECT_TRUE(client_->settleUntil([this] { return isOn(connector(0)); }));
        return client_->device();
    }
    Scheduler& scheduler() override { return client_->scheduler(); }
    void switchOn(int slot) override { arrange(connector(slot), 1024 * slot); }
    void switchOff(int slot) override { arrange(connector(slot), kOff); }
    void setEdid(int slot, const std::vector<std::uint8_t>& edid) override {
        xServer_.displays().setEdid(connector(slot), edid);
        if (!client_ || !isOn(connector(slot))) return;
        // Mutter looks at it when something else changes.
        arrange(kSpare, 1024 * kSlots);
        arrange(kSpare, kOff);
        EXPECT_EQ(client_->output(connector(slot))->edid, edid);
    }
    void foreignWrite(int slot, const RampLevels& levels) override {
        if (client_) client_->settle();
        xServer_.displays().setRamp(connector(slot), levels);
    }
    RampLevels held(int slot) override {
        if (client_) client_->settle();
        return xServer_.displays().ramp(connector(slot));
    }
    std::string connector(int slot) override { return "DUMMY" + std::to_string(slot); }
    void shutDown() override { mutter_.bus().kill(); }
    bool eventually(const std::function<bool()>& condition) override { return client_->settleUntil(condition); }

    [[nodiscard]] testing::PrivateMutter& mutter() { return mutter_; }
    [[nodiscard]] MutterLastWord& lastWord() { return client_->lastWord(); }
    /// Another display comes or goes, and the client has not been served since.
    void changeUnseen() {
        client_->settle();
        const auto before = mutter_.flush();
        isOn(kSpare) ? xServer_.displays().disable(kSpare) : xServer_.displays().enable(kSpare, 1024 * kSlots);
        EXPECT_TRUE(testing::waitUntil([&] { return mutter_.flush() != before; }));
    }

private:
    static constexpr const char* kSpare = "DUMMY5";
    static constexpr int kOff = -1;

    [[nodiscard]] bool isOn(const std::string& connector) const {
        const auto* const output = client_->output(connector);
        return output && output->crtc;
    }
    void arrange(const std::string& connector, int x) {
        x == kOff ? xServer_.displays().disable(connector) : xServer_.displays().enable(connector, x);
        if (!client_) return;
        EXPECT_TRUE(client_->settleUntil([&] { return isOn(connector) == (x != kOff); }))
            << "Mutter tells of no change";
        client_->settle();
    }

    testing::PrivateXServer xServer_{kSlots};
    testing::PrivateMutter mutter_{xServer_};
    testing::EnvironmentVariable sessionBus_{"DBUS_SESSION_BUS_ADDRESS", mutter_.bus().address()};
    testing::EnvironmentVariable systemBus_{"DBUS_SYSTEM_BUS_ADDRESS", "disabled:"};
    std::unique_ptr<MutterClient> client_;
};

GammaTable dimmed(float by) {
    GammaTable table = GammaTable::identity();
    for (auto* channel : {&table.red, &table.green, &table.blue})
        for (float& level : *channel) level *= by;
    return table;
}
RampLevels levelsOf(float by) { return toLevels(dimmed(by), 256); }

class MutterTableDeviceTest : public ::testing::Test {
protected:
    /// A run with the filter on, which loads again when it has to.
    void filter() {
        TableDevice& device = bench.connect();
        displays.emplace(device, store, bench.scheduler()).begin(LastingDisplays::Beginning::afresh);
        loads = displays->onLoadNeeded([this] { displays->loadAgain(); });
        show(0.5F);
    }
    void show(float by) {
        displays->show(dimmed(by), Fade::none);
        expectEverywhere(levelsOf(by));
    }
    void expectEverywhere(const RampLevels& levels) {
        for (int slot = 0; slot < MutterBench::kSlots; ++slot)
            EXPECT_TRUE(bench.eventually([&] { return bench.held(slot) == levels; })) << slot;
    }
    void expectOwn() {
        bench.mutter().flush();
        for (int slot = 0; slot < MutterBench::kSlots; ++slot)
            EXPECT_EQ(bench.held(slot), MutterBench::firstOwnTable(slot, 256)) << slot;
    }

    testing::TemporaryFolder home;
    OriginalGammaStore store{{home / ".dravo", {}}};
    MutterBench bench;
    std::optional<RememberedDisplays> displays;
    Subscription loads;
};

TEST_F(MutterTableDeviceTest, WritesAgainWhatWasRefusedAsDisplaysHaveChangedTheLatestLast) {
    filter();
    for (const float by : {0.9F, 0.8F, 0.7F}) {
        bench.changeUnseen();
        displays->show(dimmed(0.3F), Fade::none);
        show(by);
        EXPECT_EQ(displays->list()->front().state, DisplayState::ready);
    }
    bench.changeUnseen();
    ASSERT_TRUE(displays->giveBack(Displays::GivingBack::forGood));
    expectOwn();
}

TEST_F(MutterTableDeviceTest, HasNoDisplaysWhileTheCompositorIsAwayAndGoesOnWhenItIsBack) {
    filter();
    int losses = 0;
    const auto watch = displays->onLoss([&] { ++losses; });
    const auto away = [&] { return displays->list()->empty(); };
    bench.mutter().kill();
    EXPECT_TRUE(bench.eventually(away));
    EXPECT_FALSE(displays->giveBack(Displays::GivingBack::forNow)) << "nobody has confirmed anything";
    displays->show(dimmed(0.2F), Fade::none);
    bench.foreignWrite(1, levelsOf(1.0F));  // as hardware does that starts anew
    bench.mutter().start();
    expectEverywhere(levelsOf(0.2F));

    bench.mutter().kill();
    EXPECT_TRUE(bench.eventually(away));
    displays->show(std::nullopt, Fade::none);
    bench.mutter().start();
    EXPECT_TRUE(bench.eventually([&] { return bench.held(2) == MutterBench::firstOwnTable(2, 256); }));
    expectOwn();
    EXPECT_EQ(losses, 0);
}

TEST_F(MutterTableDeviceTest, GivesBackWhatTheColorManagerLoadedLast) {
    filter();
    testing::BusClient settings(bench.mutter().bus().address());
    const auto step = [&](int slot, float by) {
        constexpr const char* kName = "org.gnome.SettingsDaemon.Color";
        bench.foreignWrite(slot, levelsOf(by));
        EXPECT_FALSE(settings.hasOwner(kName)) << "connected";
        sd_bus_emit_signal(settings.bus(), "/org/gnome/SettingsDaemon/Color", "org.freedesktop.DBus.Properties",
                           "PropertiesChanged", "sa{sv}as", kName, 1, "Temperature", "u", 4000, 0);
        expectEverywhere(levelsOf(0.5F));
    };
    step(0, 0.9F);
    step(0, 0.8F);
    step(2, 0.95F);
    bench.lastWord().speak();
    bench.mutter().flush();
    EXPECT_EQ(bench.held(0), levelsOf(0.8F));
    EXPECT_EQ(bench.held(1), MutterBench::firstOwnTable(1, 256));
    EXPECT_EQ(bench.held(2), levelsOf(0.95F));
}

/// A run whose main thread writes tables and never comes back to its loop.
[[noreturn]] void filterAndWrite(int ready) {
    alarm(20);
    posix::TerminationGuard::blockSignals();
    MutterLastWord lastWord;
    const auto guard =
        posix::TerminationGuard::create([&] { return lastWord.open().hasValue(); }, [&] { lastWord.speak(); });
    auto device = MutterTableDevice::create(std::move(*MutterTableDevice::connect()), &lastWord);
    if (!device) _exit(1);
    posix::SdEventLoop loop;
    OriginalGammaStore store({});
    RememberedDisplays displays(**device, store, loop);
    displays.begin(LastingDisplays::Beginning::afresh);
    (*guard)->waitUntilReady();
    for (int round = 0;; ++round) {
        displays.show(dimmed(0.3F + 0.1F * static_cast<float>(round % 5)), Fade::none);
        if (round % 3 == 0) (*device)->finish(testing::kPatience);
        if (round == 0) static_cast<void>(!write(ready, "+", 1));
    }
}

TEST_F(MutterTableDeviceTest, HasTheLastWordWhateverTheMainThreadStillSends) {
    constexpr std::array kSignals{SIGTERM, SIGINT, SIGHUP};
    for (std::size_t round = 0; round < 12 && !HasFailure(); ++round) {
        std::array<int, 2> ready{};
        ASSERT_EQ(pipe(ready.data()), 0);
        const pid_t child = fork();
        if (child == 0) filterAndWrite(ready[1]);
        close(ready[1]);
        char said = 0;
        EXPECT_EQ(read(ready[0], &said, 1), 1);
        close(ready[0]);
        const int signal = kSignals.at(round % kSignals.size());
        kill(child, signal);
        int status = 0;
        waitpid(child, &status, 0);
        EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == signal) << status;
        expectOwn();
    }
}

}  // namespace
}  // namespace dravo::gnome

namespace dravo {
namespace {

const auto kMutter =
    ::testing::Values(DisplayBenchMaker{"Mutter", [] { return std::make_unique<gnome::MutterBench>(); }});
INSTANTIATE_TEST_SUITE_P(Mutter, TableDeviceContract, kMutter);
INSTANTIATE_TEST_SUITE_P(Mutter, DisplaysContract, kMutter);

}  // namespace
}  // namespace dravo
