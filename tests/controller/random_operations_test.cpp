#include <gtest/gtest.h>

#include <cstdlib>
#include <iostream>
#include <random>
#include <string>

#include "controller/schedule_oracle.h"
#include "support/filter_world.h"

namespace dravo {
namespace {

using namespace std::chrono_literals;
using std::chrono::milliseconds;
using testing::FilterWorld;
using testing::kBerlin;
using testing::plainTable;
using testing::utc;
using Oracle = testing::ScheduleOracle;

/// What the controller must be and have stored, by its rules, in plain arithmetic of milliseconds.
struct Model {
    explicit Model(std::int64_t wallMs) : wall(wallMs) {
        oracle.zone = oracle.sun = &kBerlin;
        oracle.settings.isOn = false;
    }

    void pass(std::int64_t duration) {
        const std::int64_t end = steady + duration;
        while (true) {
            const std::int64_t pauseTimer = oracle.pausedUntil ? pauseDue : INT64_MAX;
            const std::int64_t next = std::min({nextTick, pauseTimer, saveDue.value_or(INT64_MAX)});
            if (next > end) break;
            wall += next - steady;
            steady = next;
            const bool wasOn = oracle.filter;
            if (saveDue == next) save();
            if (pauseTimer == next) pauseTimerFires();
            if (nextTick == next) {
                nextTick += 30'000;
                look();
            }
            if (oracle.filter != wasOn) switchedItself = steady;
        }
        wall += end - steady;
        steady = end;
    }
    [[nodiscard]] std::int64_t seconds() const { return wall / 1000; }
    void look() { oracle.look(seconds()); }
    void pauseTimerFires() {
        if (seconds() >= *oracle.pausedUntil) {
            oracle.resume(seconds());
        } else {
            armPause();
        }
    }
    void armPause() { pauseDue = steady + std::max<std::int64_t>(*oracle.pausedUntil * 1000 - wall, 0); }
    void toggle() {
        oracle.toggle();
        storedOn = oracle.filter;
    }
    void turnOff() {
        if (oracle.filter) return toggle();
        if (!oracle.pausedUntil) return;
        oracle.pausedUntil.reset();
        storedOn = false;
        if (oracle.settings.isOn) oracle.byHand = true;
    }
    void select(const FilterPreset& chosen) {
        preset = chosen;
        if (lastAssigned != chosen.id) copyAdjustments();
        lastAssigned = chosen.id;
        changed();
    }
    void copyAdjustments() { adjustments = {preset.intensity, preset.dimming, preset.blackPoint, preset.contrast}; }
    void changed() { saveDue = steady + 500; }
    void save() {
        storedID = preset.id;
        stored = adjustments;
        saveDue.reset();
    }

    Oracle oracle;
    std::int64_t wall;
    std::int64_t steady = 0;
    std::int64_t nextTick = 30'000;
    std::int64_t pauseDue = 0;
    std::int64_t switchedItself = INT64_MIN;  ///< When schedule or pause last switched while time passed.
    std::optional<std::int64_t> saveDue;
    FilterPreset preset = FilterPreset::migrainePrecision();
    std::optional<std::string> lastAssigned;
    Adjustments adjustments{0.8, 0, 0, 0};
    bool storedOn = true;
    std::optional<std::string> storedID;
    Adjustments stored{0.8, 0, 0, 0};
};

/// The controller and the model under the same operations.
class Duet {
public:
    explicit Duet(std::uint64_t seed)
        : random_(seed),
          world_({{"lastLatitude", kBerlin.latitude}, {"lastLongitude", kBerlin.longitude}},
                 WallTime{std::chrono::seconds{utc(1, 10, 7)}}),
          model_(utc(1, 10, 7) * 1000) {
        world_.calendar.moveTo(kBerlin.zone);
        world_.start();
        settle();
    }

    void operate() {
        using Operation = void (Duet::*)();
        static constexpr Operation kOperations[] = {
            &Duet::toggle, &Duet::turnOn, &Duet::turnOff,    &Duet::pause,      &Duet::resume, &Duet::editSchedule,
            &Duet::select, &Duet::revert, &Duet::saveEdited, &Duet::sleep,      &Duet::jump,   &Duet::moveSlider,
            &Duet::pass,   &Duet::pass,   &Duet::pass,       &Duet::moveSlider,
        };
        (this->*kOperations[random_() % std::size(kOperations)])();
    }

    void compare() {
        const FilterState& state = *world_.state;
        ASSERT_EQ(state.isEnabled.get(), model_.oracle.filter);
        ASSERT_EQ(state.pausedUntil.get().has_value(), model_.oracle.pausedUntil.has_value());
        if (model_.oracle.pausedUntil) {
            ASSERT_EQ(state.pausedUntil.get(), WallTime{std::chrono::seconds{*model_.oracle.pausedUntil}});
        }
        ASSERT_EQ(state.selectedPreset.get(), model_.preset);
        ASSERT_EQ(state.adjustments(), model_.adjustments);

        const PreferencesStore& preferences = world_.preferences;
        ASSERT_EQ(preferences.filterEnabled(), model_.storedOn);
        ASSERT_EQ(preferences.pausedUntil(), state.pausedUntil.get());
        ASSERT_EQ(preferences.lastPresetID(), model_.storedID);
        ASSERT_EQ((Adjustments{preferences.lastIntensity(), preferences.lastDimming(), preferences.lastBlackPoint(),
                               preferences.lastContrast()}),
                  model_.stored);
    }

    /// Lets fades and sliders come to rest: the table must then be the model's, come by without needless loads.
    void settle() {
        constexpr std::int64_t kRest = 900;
        pass(kRest);
        while (model_.switchedItself > model_.steady - kRest) {
            countOperation();
            pass(kRest);
        }
        const auto wanted =
            model_.oracle.filter ? plainTable(model_.preset, model_.adjustments) : GammaTable::identity();
        ASSERT_TRUE(world_.shows(wanted));
        const bool isAsBefore = settled_ == wanted;
        settled_ = wanted;
        // At most a fade for each operation, and a load in each 50 ms of a slider.
        const auto most = static_cast<std::size_t>(operations_ * 12);
        const auto loads = world_.loads();
        ASSERT_LE(loads, isAsBefore && operations_ == 0 ? 0 : most);
        operations_ = 0;
    }
    void countOperation() { ++operations_; }
    [[nodiscard]] std::mt19937_64& random() { return random_; }

private:
    void toggle() {
        world_.state->toggle();
        model_.toggle();
    }
    void turnOn() {
        world_.state->turnOn();
        if (!model_.oracle.filter) model_.toggle();
    }
    void turnOff() {
        world_.state->turnOff();
        model_.turnOff();
    }
    void revert() {
        world_.state->revertToPreset();
        model_.copyAdjustments();
        model_.changed();
    }
    void pause() {
        const std::int64_t lengths[] = {900, 3600, 0, -5, 40, 86400};
        const std::int64_t end = model_.seconds() + lengths[random_() % std::size(lengths)];
        world_.state->pause(WallTime{std::chrono::seconds{end}});
        model_.oracle.pause(end);
        model_.armPause();
    }
    void resume() {
        if (!model_.oracle.pausedUntil) return;
        world_.state->resume();
        model_.oracle.resume(model_.seconds());
    }
    void editSchedule() {
        auto& settings = model_.oracle.settings;
        switch (random_() % 4) {
            case 0:
                world_.preferences.setScheduleEnabled(settings.isOn = random_() % 4 != 0);
                break;
            case 1:
                settings.followsSun = random_() % 2 == 0;
                world_.preferences.setScheduleMode(settings.followsSun ? ScheduleMode::sunsetToSunrise
                                                                       : ScheduleMode::customTimes);
                break;
            case 2:
                world_.preferences.setScheduleStartMinutes(settings.start = static_cast<int>(random_() % 1440));
                break;
            default:
                world_.preferences.setScheduleEndMinutes(settings.end = static_cast<int>(random_() % 1440));
        }
        world_.state->refreshState();
        model_.look();
    }
    void select() {
        const auto& presets = FilterPreset::builtIn();
        const FilterPreset chosen = presets[random_() % presets.size()];
        world_.state->selectedPreset = chosen;
        model_.select(chosen);
    }
    void saveEdited() {
        FilterPreset mine = FilterPreset::reading();
        mine.id = random_() % 2 == 0 ? "mine" : "yours";
        mine.intensity = unit();
        mine.gamma = 0.5 + unit();
        world_.state->activateSavedPreset(mine);
        model_.preset = mine;
        model_.lastAssigned = mine.id;
        model_.copyAdjustments();
        model_.save();
        model_.changed();
    }
    void moveSlider() {
        const struct {
            Property<double>& shown;
            double& modelled;
            double lowest, range;
        } sliders[] = {{world_.state->intensity, model_.adjustments.intensity, 0, 1},
                       {world_.state->dimming, model_.adjustments.dimming, 0, 0.8},
                       {world_.state->blackPoint, model_.adjustments.blackPoint, 0, 0.2},
                       {world_.state->contrast, model_.adjustments.contrast, -0.5, 1}};
        const auto& slider = sliders[random_() % std::size(sliders)];
        slider.shown = slider.modelled = slider.lowest + slider.range * unit();
        model_.changed();
    }
    void pass() {
        const std::int64_t most[] = {20, 60, 600, 3'000, 31'000};
        const auto limit = static_cast<std::uint64_t>(most[random_() % std::size(most)]);
        pass(static_cast<std::int64_t>(random_() % limit));
    }
    void pass(std::int64_t duration) {
        world_.scheduler.advance(milliseconds(duration));
        model_.pass(duration);
    }
    void sleep() {
        const auto duration = static_cast<std::int64_t>(random_() % 100'000) * 1000;
        world_.scheduler.sleep(milliseconds(duration));
        model_.wall += duration;
        if (random_() % 4 == 0) return;
        world_.wakeSource.wake();
        model_.look();
    }
    void jump() {
        const auto target = utc(1, 5, 0) * 1000 + static_cast<std::int64_t>(random_() % (330ULL * 86'400'000));
        world_.scheduler.setWallClock(WallTime{milliseconds{target}});
        model_.wall = target;
        if (random_() % 4 == 0) return;
        world_.wakeSource.wake();
        model_.look();
    }
    double unit() { return std::uniform_real_distribution<double>(0, 1)(random_); }

    std::mt19937_64 random_;
    FilterWorld world_;
    Model model_;
    GammaTable settled_;
    std::int64_t operations_ = 1;
};

class RandomOperationsTest : public ::testing::TestWithParam<int> {};

TEST_P(RandomOperationsTest, LeaveWhatTheRulesSay) {
    constexpr int kOperations = 25'000;
    const char* const given = std::getenv("DRAVO_SEED");
    const int seed = given ? std::atoi(given) : 20261;
    std::cout << "DRAVO_SEED " << seed << '\n';
    Duet duet(static_cast<std::uint64_t>(seed + GetParam()));
    for (int operation = 0; operation < kOperations; ++operation) {
        SCOPED_TRACE(operation);
        duet.operate();
        duet.countOperation();
        duet.compare();
        if (duet.random()() % 16 == 0) duet.settle();
        if (HasFatalFailure()) return;
    }
}

INSTANTIATE_TEST_SUITE_P(Quarters, RandomOperationsTest, ::testing::Range(0, 4));

}  // namespace
}  // namespace dravo
