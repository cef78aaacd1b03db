#include "platform/x11/x11_table_device.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>

#include "platform/displays_contract.h"
#include "support/desktop_test.h"
#include "support/run_until.h"

namespace dravo {
namespace {

/// A client of a private X server with a loop of its own.
class X11Client {
public:
    explicit X11Client(const std::string& address) : emergency_(address) {
        if (!emergency_.open()) throw std::runtime_error("no second connection");
        auto created = x11::X11TableDevice::create(address, &emergency_);
        if (!created) throw std::runtime_error(inEnglish(created.error().message));
        device_ = std::move(*created);
        device_->listen(loop_, loop_);
    }

    x11::X11TableDevice& device() { return *device_; }
    x11::EmergencyRestore& emergency() { return emergency_; }
    posix::SdEventLoop& loop() { return loop_; }

    /// Serves what has come so far.
    void runTurns() {
        while (sd_event_run(loop_.event(), 0) > 0) {
        }
    }

private:
    posix::SdEventLoop loop_;
    x11::EmergencyRestore emergency_;
    std::unique_ptr<x11::X11TableDevice> device_;
};

class X11Bench final : public DisplayBench {
public:
    X11Bench() : xServer_(kSlots) {
        for (int slot = 0; slot < kSlots; ++slot) foreignWrite(slot, firstOwnTable(slot, 256));
    }
    TableDevice& connect() override {
        client_.reset();
        client_ = std::make_unique<X11Client>(xServer_.address());
        return client_->device();
    }
    Scheduler& scheduler() override { return client_->loop(); }
    void switchOn(int slot) override {
        xServer_.displays().enable(connector(slot), 1024 * slot);
        deliver();
    }
    void switchOff(int slot) override {
        xServer_.displays().disable(connector(slot));
        deliver();
    }
    void setEdid(int slot, const std::vector<std::uint8_t>& edid) override {
        xServer_.displays().setEdid(connector(slot), edid);
        deliver();
    }
    void foreignWrite(int slot, const RampLevels& levels) override {
        xServer_.displays().setRamp(connector(slot), levels);
    }
    RampLevels held(int slot) override { return xServer_.displays().ramp(connector(slot)); }
    std::string connector(int slot) override { return "DUMMY" + std::to_string(slot); }
    void shutDown() override { xServer_.kill(); }
    bool eventually(const std::function<bool()>& condition) override {
        client_->runTurns();
        return testing::runUntil(client_->loop(), condition);
    }

private:
    // The server sends its events before it answers the request that caused them, and the bench has had that answer;
    // a question of the client's own orders its queue behind them.
    void deliver() {
        if (!client_) return;
        client_->device().read({}, [](const Result<TableDevice::Levels>&) {});
        client_->runTurns();
    }

    testing::PrivateXServer xServer_;
    std::unique_ptr<X11Client> client_;
};

const auto kMaker = ::testing::Values(DisplayBenchMaker{"X11", [] { return std::make_unique<X11Bench>(); }});
INSTANTIATE_TEST_SUITE_P(X11, TableDeviceContract, kMaker);
INSTANTIATE_TEST_SUITE_P(X11, DisplaysContract, kMaker);

GammaTable dimmed(float by) {
    GammaTable table = GammaTable::identity();
    for (auto* channel : {&table.red, &table.green, &table.blue})
        for (float& level : *channel) level *= by;
    return table;
}

class X11TableDeviceTest : public testing::DesktopTest {
protected:
    /// A run with the filter on.
    RememberedDisplays& filter(float by = 0.5F) {
        displays_.emplace(client().device(), store_, client().loop()).begin(LastingDisplays::Beginning::afresh);
        displays_->show(dimmed(by), Fade::none);
        return *displays_;
    }

    void endClient() { client_.reset(); }
    X11Client& client() { return client_ ? *client_ : client_.emplace(server().address()); }

private:
    std::optional<X11Client> client_;
    testing::TemporaryFolder home_;
    OriginalGammaStore store_{{home_ / ".dravo", {}}};
    std::optional<RememberedDisplays> displays_;
};

/// A profile with nothing but a one-channel `vcgt` table of two entries, from `black` to `white`.
std::vector<std::uint8_t> profileWithCalibration(unsigned black, unsigned white) {
    std::vector<std::uint8_t> profile(128, 0);
    const auto append = [&](std::initializer_list<unsigned> bytes) {
        for (const unsigned byte : bytes) profile.push_back(static_cast<std::uint8_t>(byte));
    };
    append({0, 0, 0, 1});                                     // one tag
    append({'v', 'c', 'g', 't', 0, 0, 0, 144, 0, 0, 0, 22});  // its place and size
    append({'v', 'c', 'g', 't', 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 2, 0, 2});
    append({black >> 8U, black & 0xffU, white >> 8U, white & 0xffU});
    return profile;
}

TEST_F(X11TableDeviceTest, RestoresTheCalibrationOfTheProfileThatIsSetThen) {
    auto& run = filter();
    displays().setRootProperty("_ICC_PROFILE", profileWithCalibration(0, 0x8000));
    displays().setRootProperty("_ICC_PROFILE_2", profileWithCalibration(0x1000, 0xffff));
    ASSERT_TRUE(run.giveBack(Displays::GivingBack::forGood));
    EXPECT_EQ(displays().ramp("DUMMY0").red.back(), 0x8000);
    EXPECT_EQ(displays().ramp("DUMMY2").green.front(), 0x1000);
}

TEST_F(X11TableDeviceTest, GivesEverythingBackInAnEmergencyWhateverTheEngineStillSends) {
    displays().setRamp("DUMMY1", testing::calibrationRamp(3));
    const auto before = displays().ramps();
    auto& run = filter();
    ASSERT_NE(displays().ramps(), before);

    client().emergency().speak();
    EXPECT_EQ(displays().ramps(), before);
    run.show(dimmed(0.2F), Fade::none);
    EXPECT_EQ(run.giveBack(Displays::GivingBack::forNow).error().code, ErrorCode::Disconnected);
    EXPECT_EQ(displays().ramps(), before);
}

TEST_F(X11TableDeviceTest, LeavesDisplaysAloneInAnEmergencyThatItDoesNotFilter) {
    ASSERT_TRUE(filter().giveBack(Displays::GivingBack::forNow));
    displays().setRamp("DUMMY0", testing::calibrationRamp(4));  // another program's night light
    client().emergency().speak();
    EXPECT_EQ(displays().ramp("DUMMY0"), testing::calibrationRamp(4));
}

TEST_F(X11TableDeviceTest, HasNoGrayOnDriversWithoutAMatrix) {
    EXPECT_EQ(client().device().grayscale().isEnabled().error().code, ErrorCode::Unsupported);
    EXPECT_EQ(client().device().grayscale().setEnabled(true).error().code, ErrorCode::Unsupported);
}

// The rows of a matrix in S31.32, two words a number, the low one first.
std::vector<std::uint32_t> matrixOf(const std::array<double, 9>& numbers) {
    std::vector<std::uint32_t> words;
    for (const double number : numbers) {
        const auto fixed = static_cast<std::uint64_t>(std::llround(number * 4294967296.0));
        words.push_back(static_cast<std::uint32_t>(fixed));
        words.push_back(static_cast<std::uint32_t>(fixed >> 32U));
    }
    return words;
}

TEST_F(X11TableDeviceTest, TakesGrayBackByItselfInAnEmergencyAndAfterAKill) {
    const auto neutral = matrixOf({1, 0, 0, 0, 1, 0, 0, 0, 1});
    const auto gray = matrixOf({0.2126, 0.7152, 0.0722, 0.2126, 0.7152, 0.0722, 0.2126, 0.7152, 0.0722});
    for (const char* output : {"DUMMY0", "DUMMY2"}) displays().setMatrix(output, neutral);
    const auto expect = [&](const std::vector<std::uint32_t>& matrix) {
        for (const char* output : {"DUMMY0", "DUMMY2"}) EXPECT_EQ(displays().matrix(output), matrix) << output;
        EXPECT_TRUE(displays().matrix("DUMMY1").empty());
    };
    auto& service = client().device().grayscale();
    EXPECT_FALSE(service.isEnabled().value());
    for (const bool isOn : {true, false, true}) {
        ASSERT_TRUE(service.setEnabled(isOn));
        EXPECT_EQ(service.isEnabled().value(), isOn);
        expect(isOn ? gray : neutral);
    }
    endClient();
    expect(gray);
    client().device().grayscale().undoUncleanRun();
    EXPECT_FALSE(client().device().grayscale().isEnabled().value());
    expect(neutral);

    ASSERT_TRUE(client().device().grayscale().setEnabled(true));
    filter();
    client().emergency().speak();
    expect(neutral);
}

}  // namespace
}  // namespace dravo
