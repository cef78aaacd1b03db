#include "platform/plasma/plasma_desk.h"

#include <gtest/gtest.h>

#include <fstream>
#include <stdexcept>
#include <thread>

#include "platform/posix/sd_event_loop.h"
#include "support/environment_variable.h"
#include "support/plasma_compositor.h"
#include "support/wait_until.h"

namespace dravo::testing {
namespace {

using namespace std::chrono_literals;
using namespace plasma;
using Kind = PlasmaCompositor::Kind;
using Beginning = LastingDisplays::Beginning;
using GivingBack = Displays::GivingBack;
using Setting = PlasmaSetting;
using Source = LastingDisplays::Source;

constexpr std::uint32_t kIcc = 1;

GammaTable tinted(float blue = 0.25F) {
    GammaTable table = GammaTable::identity();
    for (float& level : table.blue) level *= blue;
    return table;
}
RampLevels levelsOf(const GammaTable& table) { return toLevels(table, 256); }

/// One run of the program, as far as the displays go.
class PlasmaRun {
public:
    PlasmaRun(PlasmaCompositor& compositor, const TemporaryFolder& folder, Beginning how = Beginning::afresh)
        : desk({folder / "home", folder / "run"}), store({folder / "home", folder / "run"}) {
        address_.set(compositor.address());
        if (!desk.open(store, loop)) throw std::runtime_error("no compositor");
        wasUnclean = desk.displays().begin(how);
    }

    PlasmaDisplays* operator->() { return &desk.displays(); }
    void listen() { desk.listen(loop); }
    bool eventually(const std::function<bool()>& condition, std::chrono::milliseconds patience = kPatience) {
        return waitUntil(
            [&] {
                while (loop.turn()) {
                }
                return condition();
            },
            patience);
    }
    void runFor(std::chrono::milliseconds time) {
        eventually([] { return false; }, time);
    }
    DisplayDescription row(const std::string& name) {
        for (const auto& row : *desk.displays().list())
            if (row.name == name) return row;
        return {};
    }
    /// A clean end.
    void quit() {
        EXPECT_TRUE(desk.displays().giveBack(GivingBack::forGood));
        store.clear();
    }

private:
    EnvironmentVariable address_{"WAYLAND_DISPLAY"};  // For a reconnection, too.

public:
    posix::SdEventLoop loop;
    PlasmaDesk desk;
    OriginalGammaStore store;
    bool wasUnclean = false;
};

struct NamedKind {
    const char* name;
    Kind kind;
};
void PrintTo(const NamedKind& kind, std::ostream* out) { *out << kind.name; }

class PlasmaWorld {
protected:
    explicit PlasmaWorld(Kind kind) : compositor(kind) {
        const auto profile = matrixProfile({{0.6, 0.35}, {0.3, 0.55}, {0.16, 0.1}, {0.3, 0.31}});
        std::ofstream(theirs.path, std::ios::binary)
            .write(reinterpret_cast<const char*>(profile.data()), static_cast<std::streamsize>(profile.size()));
    }
    [[nodiscard]] bool hasFiles() const {
        bool has = std::filesystem::exists(folder / "home/original_gamma.json");
        std::error_code error;
        for (const auto& entry : std::filesystem::directory_iterator(folder / "run", error))
            has = has || entry.path().extension() == ".icc";
        return has;
    }

    TemporaryFolder folder;
    Setting theirs{folder / "theirs.icc", kIcc};
    PlasmaCompositor compositor;
};

class EveryPlasmaTest : public PlasmaWorld, public ::testing::TestWithParam<NamedKind> {
protected:
    EveryPlasmaTest() : PlasmaWorld(GetParam().kind) {}
};
INSTANTIATE_TEST_SUITE_P(Kinds, EveryPlasmaTest,
                         ::testing::Values(NamedKind{"plasma60", PlasmaCompositor::plasma60()},
                                           NamedKind{"plasma63", PlasmaCompositor::plasma63()},
                                           NamedKind{"plasma67", PlasmaCompositor::plasma67()}),
                         [](const auto& kind) { return kind.param.name; });

TEST_P(EveryPlasmaTest, ShowsEveryWishAndGivesEachDisplayItsProfileBack) {
    compositor.plug("DP-1", theirs);
    compositor.plug("DP-2");
    const Setting before = compositor.setting("DP-2");
    PlasmaRun run(compositor, folder);
    EXPECT_FALSE(run.wasUnclean);
    EXPECT_EQ(run->list()->size(), 2U);
    run->show(tinted(), Fade::animated);  // before there is a loop
    EXPECT_TRUE(waitUntil([&] { return compositor.table("DP-1") && compositor.table("DP-2"); }));
    EXPECT_TRUE(hasFiles());
    run.listen();
    for (const float blue : {0.5F, 0.75F, 0.25F}) {
        run->show(tinted(blue), Fade::none);
        EXPECT_TRUE(run.eventually([&] { return compositor.table("DP-1") == levelsOf(tinted(blue)); }));
    }
    EXPECT_EQ(compositor.table("DP-2"), levelsOf(tinted()));
    const auto holds = [&](const char* name) { return run->held(std::array{run.row(name).id}).front().value(); };
    EXPECT_TRUE(run.eventually([&] { return holds("DP-2") == toTable(levelsOf(tinted())); }));
    const int changes = compositor.books().changes;
    run->show(tinted(), Fade::none);
    run->loadAgain();
    EXPECT_EQ(compositor.books().changes, changes) << "what it shows is not sent again";

    run->show(std::nullopt, Fade::animated);
    EXPECT_TRUE(run.eventually([&] { return compositor.setting("DP-1") == theirs; }));
    run->show(tinted(), Fade::none);
    run.quit();
    EXPECT_EQ(compositor.setting("DP-1"), theirs);
    EXPECT_EQ(compositor.setting("DP-2"), before);
    EXPECT_FALSE(hasFiles());
    run->show(tinted(), Fade::none);
    run.runFor(20ms);
    EXPECT_EQ(compositor.setting("DP-1"), theirs) << "after the end nothing is written";
}

TEST_P(EveryPlasmaTest, NextStartGoesOnFromWhatAKilledRunLeft) {
    compositor.plug("DP-1", theirs);
    for (const bool isHandOver : {false, true}) {
        {
            PlasmaRun killed(compositor, folder);
            killed->show(tinted(), Fade::none);
            ASSERT_TRUE(waitUntil([&] { return compositor.table("DP-1") == levelsOf(tinted()); }));
            if (isHandOver) {
                EXPECT_TRUE(killed->prepareHandOver());
            }
        }
        const int changes = compositor.books().changes;
        PlasmaRun run(compositor, folder, isHandOver ? Beginning::goingOn : Beginning::afresh);
        EXPECT_TRUE(run.wasUnclean);
        run->show(tinted(), Fade::none);
        run->show(tinted(0.5F), Fade::none);
        run.listen();
        EXPECT_TRUE(run.eventually([&] { return compositor.table("DP-1") == levelsOf(tinted(0.5F)); }));
        EXPECT_EQ(compositor.books().changes, changes + 1) << "one change from what was there to what is wanted";
        run.quit();
        EXPECT_EQ(compositor.setting("DP-1"), theirs);
        EXPECT_FALSE(hasFiles());
    }
}

TEST_P(EveryPlasmaTest, KeepsUpWithOutputsThatComeAndGo) {
    compositor.plug("DP-1");
    PlasmaRun run(compositor, folder);
    run.listen();
    int loadsNeeded = 0;
    const auto loads = run->onLoadNeeded([&] {
        ++loadsNeeded;
        run->loadAgain();
    });
    run->show(tinted(), Fade::none);
    for (int i = 0; i < 100; ++i) {
        compositor.plug("DP-2", theirs);
        if (i % 10 == 0) {
            EXPECT_TRUE(run.eventually([&] { return run->list()->size() == 2 && compositor.table("DP-2"); })) << i;
        }
        compositor.unplug("DP-2");
    }
    compositor.plug("DP-2", theirs);
    EXPECT_TRUE(run.eventually([&] { return compositor.table("DP-2") == levelsOf(tinted()); }));
    EXPECT_GT(loadsNeeded, 0);

    // It is away when the run ends: what it would come back with is no tint, and the next run knows whose it was.
    compositor.unplug("DP-2");
    EXPECT_TRUE(run.eventually([&] { return run->list()->size() == 1; }));
    run.quit();
    compositor.plug("DP-2");
    EXPECT_EQ(compositor.table("DP-2"), std::nullopt);
    PlasmaRun next(compositor, folder);
    next->show(std::nullopt, Fade::none);
    next.listen();
    EXPECT_TRUE(next.eventually([&] { return compositor.setting("DP-2") == theirs; }));
    next.quit();
    EXPECT_FALSE(hasFiles());
}

class PlasmaDisplaysTest : public PlasmaWorld, public ::testing::Test {
protected:
    PlasmaDisplaysTest() : PlasmaWorld(PlasmaCompositor::plasma63()) { compositor.plug("DP-1", theirs); }
};

TEST_F(PlasmaDisplaysTest, SendsNothingFasterThanItIsTakenAndLosesNoWish) {
    PlasmaRun run(compositor, folder);
    run.listen();
    compositor.slowDown(20ms);
    for (int i = 0; i <= 100; ++i) {
        run->show(tinted(static_cast<float>(i) / 100), Fade::none);
        run.runFor(2ms);
    }
    EXPECT_TRUE(run.eventually([&] { return compositor.table("DP-1") == levelsOf(tinted(1)); }));
    EXPECT_EQ(compositor.books().atOnce, 1);
    EXPECT_LT(compositor.books().changes, 80);
    compositor.slowDown(0ms);
    run.quit();
}

TEST_F(PlasmaDisplaysTest, OneThatIsRefusedSaysSoAndStopsNoOther) {
    compositor.plug("DP-2");
    PlasmaRun run(compositor, folder);
    run.listen();
    compositor.refuse("DP-2", "no such thing");
    run->show(tinted(), Fade::none);
    EXPECT_TRUE(run.eventually([&] { return run.row("DP-2").state == DisplayState::refused; }));
    EXPECT_NE(inEnglish(run.row("DP-2").problem).find("no such thing"), std::string::npos);
    EXPECT_TRUE(run.eventually([&] { return compositor.table("DP-1") == levelsOf(tinted()); }));
    EXPECT_EQ(run.row("DP-1").state, DisplayState::ready);
    run.runFor(100ms);
    EXPECT_LE(compositor.books().changes, 3);
    compositor.refuse("", "");
    EXPECT_TRUE(run.eventually([&] { return run.row("DP-2").state == DisplayState::ready; }));
    EXPECT_EQ(compositor.table("DP-2"), levelsOf(tinted()));

    compositor.refuse("DP-1", "busy");
    const auto outcome = run->giveBack(GivingBack::forNow);
    ASSERT_FALSE(outcome);
    EXPECT_EQ(outcome.error().code, ErrorCode::PermissionDenied);
    EXPECT_EQ(compositor.table("DP-2"), std::nullopt);
    compositor.refuse("", "");
    run.quit();
    EXPECT_EQ(compositor.setting("DP-1"), theirs);
}

TEST_F(PlasmaDisplaysTest, WhatAPersonChoosesMeanwhileIsFilteredAndGivenBack) {
    PlasmaRun run(compositor, folder);
    run.listen();
    run->show(tinted(), Fade::none);
    const auto isTinted = [&] { return compositor.table("DP-1") == levelsOf(tinted()); };
    EXPECT_TRUE(run.eventually(isTinted));
    const std::string profile = compositor.profile("DP-1");
    for (const Setting& chosen : {Setting{}, Setting{"", 2}, theirs}) {
        compositor.choose("DP-1", chosen);
        EXPECT_TRUE(run.eventually(isTinted)) << chosen.path;
        EXPECT_EQ(compositor.profile("DP-1") == profile, chosen == theirs) << "made from what was chosen";
    }
    compositor.choose("DP-1", {compositor.setting("DP-1").path, 0});
    EXPECT_TRUE(run.eventually(isTinted)) << "ours was only switched off";
    compositor.switchHdr("DP-1", true);
    EXPECT_TRUE(run.eventually([&] { return run.row("DP-1").state == DisplayState::refused; }));
    compositor.switchHdr("DP-1", false);
    EXPECT_TRUE(run.eventually(isTinted));
    run.quit();
    EXPECT_EQ(compositor.setting("DP-1"), (Setting{theirs.path, 0}));

    std::filesystem::remove(theirs.path);
    PlasmaRun next(compositor, folder);
    next->show(tinted(), Fade::none);
    next.quit();
    EXPECT_EQ(compositor.setting("DP-1"), Setting{}) << "a path at which there is nothing would be refused";
}

TEST_F(PlasmaDisplaysTest, TwoWhoDoNotGiveWayDoNotTakeTurnsInALoop) {
    PlasmaRun run(compositor, folder);
    run.listen();
    run->show(tinted(), Fade::none);
    const auto end = std::chrono::steady_clock::now() + 1500ms;
    while (std::chrono::steady_clock::now() < end) {
        if (compositor.setting("DP-1") != theirs) compositor.choose("DP-1", theirs);
        run.runFor(5ms);
    }
    EXPECT_LE(compositor.books().changes, 5);
    EXPECT_TRUE(run.eventually([&] { return compositor.table("DP-1").has_value(); }));
    run.quit();
}

TEST_F(PlasmaDisplaysTest, SurvivesTheCompositorAndAProfileThatItsRestartBroughtBack) {
    PlasmaRun run(compositor, folder);
    run.listen();
    run->show(tinted(), Fade::none);
    EXPECT_TRUE(run.eventually([&] { return compositor.table("DP-1").has_value(); }));
    compositor.die();
    run->show(tinted(0.5F), Fade::none);
    EXPECT_TRUE(run.eventually([&] { return run.row("DP-1").state == DisplayState::refused; }));
    EXPECT_EQ(run->giveBack(GivingBack::forNow).error().code, ErrorCode::Disconnected);
    run->show(tinted(0.5F), Fade::none);
    compositor.start();
    EXPECT_TRUE(run.eventually([&] { return compositor.table("DP-1") == levelsOf(tinted(0.5F)); }));
    EXPECT_EQ(run.row("DP-1").state, DisplayState::ready);
    run.quit();
    EXPECT_EQ(compositor.setting("DP-1"), theirs);
}

TEST_F(PlasmaDisplaysTest, LastWordIsTheLastWhateverIsStillUnderWay) {
    for (const bool isStuck : {true, false}) {
        PlasmaRun run(compositor, folder);
        run.listen();
        run->show(tinted(), Fade::none);
        EXPECT_TRUE(run.eventually([&] { return compositor.table("DP-1") == levelsOf(tinted()); }));
        // The main thread hangs, and its change has not been read.
        if (isStuck) compositor.freeze();
        run->show(tinted(0.5F), Fade::none);
        std::thread guard([&] { run.desk.lastWord().speak(); });
        if (isStuck) run.runFor(200ms);
        compositor.thaw();
        guard.join();
        EXPECT_EQ(compositor.setting("DP-1"), theirs);
        run->show(tinted(0.75F), Fade::none);
        run.runFor(200ms);  // It finds its connection gone, and another one.
        EXPECT_EQ(compositor.setting("DP-1"), theirs);
    }
}

TEST_F(PlasmaDisplaysTest, RestoresWhateverWasLeftAndTellsOfEachDisplay) {
    compositor.plug("DP-2");
    {
        PlasmaRun killed(compositor, folder);
        killed->show(tinted(), Fade::none);
        ASSERT_TRUE(waitUntil([&] { return compositor.table("DP-2").has_value(); }));
    }
    {
        PlasmaRun looking(compositor, folder, Beginning::looking);
        EXPECT_EQ(looking->held(std::array{looking.row("DP-2").id}).front().value(), toTable(levelsOf(tinted())));
    }
    compositor.plug("DP-3", theirs);
    std::filesystem::remove(folder / "home/original_gamma.json");
    PlasmaRun run(compositor, folder, Beginning::doubtful);
    const auto rows = run->restoreAll();
    ASSERT_TRUE(rows);
    ASSERT_EQ(rows->size(), 3U);
    for (const auto& row : *rows) EXPECT_TRUE(row.outcome) << row.display.name;
    EXPECT_EQ((*rows)[0].source, Source::neutral) << "nobody knows what it followed";
    EXPECT_EQ((*rows)[2].source, Source::profile);
    for (const char* name : {"DP-1", "DP-2"}) EXPECT_EQ(compositor.setting(name), Setting{});
    EXPECT_EQ(compositor.setting("DP-3"), theirs);
    EXPECT_FALSE(hasFiles());
}

}  // namespace
}  // namespace dravo::testing
