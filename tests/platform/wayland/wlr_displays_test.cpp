#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <thread>

#include "platform/wayland/wlr_client.h"

namespace dravo::testing {
namespace {

using namespace std::chrono_literals;
using Kind = SmallCompositor::Kind;
using Loads = SmallCompositor::Loads;

bool isNowhereBrighter(const RampLevels& levels, const RampLevels& than) {
    const auto below = [](const auto& a, const auto& b) { return std::ranges::equal(a, b, std::less_equal{}); };
    return below(levels.red, than.red) && below(levels.green, than.green) && below(levels.blue, than.blue);
}

RampLevels neutral(std::size_t size = 256) { return toLevels(GammaTable::identity(), size); }
RampLevels levelsOf(const GammaTable& table) { return toLevels(table, 256); }

struct NamedKind {
    const char* name;
    Kind kind;
};
void PrintTo(const NamedKind& kind, std::ostream* out) { *out << kind.name; }

/// What holds on every compositor of the family.
class WlrFamilyTest : public ::testing::TestWithParam<NamedKind> {
protected:
    SmallCompositor compositor{GetParam().kind};
};

INSTANTIATE_TEST_SUITE_P(Kinds, WlrFamilyTest,
                         ::testing::Values(NamedKind{"sway", SmallCompositor::sway()},
                                           NamedKind{"oldSway", SmallCompositor::oldSway()},
                                           NamedKind{"hyprland", SmallCompositor::hyprland()},
                                           NamedKind{"niri", SmallCompositor::niri()}),
                         [](const auto& kind) { return kind.param.name; });

TEST_P(WlrFamilyTest, ShowsAWishInEverySizeTellsWhatIsHeldAndGivesItBack) {
    compositor.plug("DP-1", 256, "A");
    compositor.plug("DP-2", 1024, "B");
    compositor.plug("HDMI-1", 0);
    compositor.plug("HDMI-2", 1);
    compositor.plug("HDMI-3", 3'000'000);
    WlrClient client(compositor);
    EXPECT_EQ(client->list()->size(), 5U);
    EXPECT_EQ(compositor.books().requests, 0) << "nothing is taken from anybody before a wish";
    EXPECT_EQ(client->held(std::array{client.row("DP-1").id}).front().error().code, ErrorCode::Unsupported);

    // Before there is a loop the answers are waited for; the load itself is only sent.
    client->show(tinted(), Fade::none);
    EXPECT_TRUE(waitUntil([&] { return compositor.table("DP-2").has_value(); }));
    client.listen();
    EXPECT_TRUE(client.eventually([&] { return client.row("DP-2").tableSize == 1024; }));
    EXPECT_EQ(compositor.table("DP-1"), toLevels(tinted(), 256));
    EXPECT_EQ(compositor.table("DP-2"), toLevels(tinted(), 1024));
    EXPECT_EQ(client.row("HDMI-1").state, DisplayState::refused);
    for (const char* name : {"HDMI-2", "HDMI-3"}) EXPECT_EQ(client.row(name).state, DisplayState::noTable);
    const auto held = client->held(std::array{client.row("DP-2").id, DisplayId{1}});
    EXPECT_EQ(held[0].value(), toTable(toLevels(tinted(), 1024)));
    EXPECT_EQ(held[1].error().code, ErrorCode::NotFound);

    // Any length, and nothing that is none.
    const GammaTable half{{0.0F, 0.5F}, {0.0F, 0.5F}, {0.25F, 0.5F}};
    client->show(half, Fade::none);
    EXPECT_TRUE(client.eventually([&] { return compositor.table("DP-1") == levelsOf(half); }));
    client->show(GammaTable{{1.0F}, {1.0F}, {1.0F}}, Fade::none);
    client.runFor(20ms);
    EXPECT_EQ(compositor.table("DP-1"), levelsOf(half));
    EXPECT_TRUE(compositor.books().wereFilesSealed);

    client->show(std::nullopt, Fade::none);
    EXPECT_TRUE(client.eventually([&] { return compositor.holder("DP-1") == 0 && !compositor.table("DP-2"); }));
    client->show(half, Fade::none);
    EXPECT_TRUE(client.eventually([&] { return compositor.table("DP-1") == levelsOf(half); }));
    ASSERT_TRUE(client->giveBack(Displays::GivingBack::forNow));
    EXPECT_EQ(compositor.table("DP-1"), std::nullopt);
    client->show(half, Fade::none);
    EXPECT_TRUE(client.eventually([&] { return compositor.table("DP-1") == levelsOf(half); }));
    ASSERT_TRUE(client->giveBack(Displays::GivingBack::forGood));
    client->show(half, Fade::none);
    client.runFor(50ms);
    EXPECT_EQ(compositor.table("DP-1"), std::nullopt);
}

TEST_P(WlrFamilyTest, FiltersDisplaysThatComeUnderTheNumbersThatTheyHad) {
    compositor.plug("DP-1", 256, "A");
    compositor.plug("DP-2", 512, "B");
    WlrClient client(compositor);
    client->show(tinted(), Fade::none);
    client.listen();
    const auto before = client.row("DP-2");
    int changes = 0;
    int loads = 0;
    const std::array watches{client->onListChange([&] { ++changes; }), client->onLoadNeeded([&] { ++loads; })};
    compositor.unplug("DP-2");
    EXPECT_TRUE(client.eventually([&] { return client->list()->size() == 1; }));
    compositor.plug("DP-2", 512, "B");
    EXPECT_TRUE(client.eventually([&] { return compositor.table("DP-2") == toLevels(tinted(), 512); }));
    EXPECT_TRUE(client.eventually([&] { return client.row("DP-2") == before; }));
    EXPECT_GE(changes, 2);
    EXPECT_GE(loads, 2);
    // The monitor on another connector.
    compositor.unplug("DP-2");
    compositor.plug("DP-7", 512, "B");
    EXPECT_TRUE(client.eventually([&] { return client.row("DP-7").id == before.id; }));
}

TEST_P(WlrFamilyTest, LoadsOnlyWhatDiffers) {
    compositor.plug("DP-1");
    WlrClient client(compositor);
    client->show(tinted(), Fade::none);
    client.listen();
    EXPECT_TRUE(client.eventually([&] { return compositor.books().loads == 1; }));
    client->show(tinted(), Fade::none);
    client->loadAgain();
    client->look();
    client->show(tinted(), Fade::animated);
    client.runFor(50ms);
    EXPECT_EQ(compositor.books().loads, 1);
    client->forgetContents();
    client->loadAgain();
    EXPECT_TRUE(client.eventually([&] { return compositor.books().loads == 2; }));
}

TEST_P(WlrFamilyTest, FadesFromWhatEachDisplayHoldsAndNeverAboveBothEnds) {
    compositor.plug("DP-1");
    WlrClient client(compositor);
    client.listen();
    int ends = 0;
    const auto watch = client->onFadeEnd([&] { ++ends; });
    const auto isOver = [&] { return !client->isFading(); };
    client->show(tinted(0.5F), Fade::animated);
    ASSERT_TRUE(client->isFading());
    ASSERT_TRUE(client.eventually(isOver));
    client->show(tinted(0.25F), Fade::animated);
    ASSERT_TRUE(client.eventually(isOver));
    const auto in = compositor.shown("DP-1");
    client->show(std::nullopt, Fade::animated);
    ASSERT_TRUE(client.eventually(isOver));
    ASSERT_TRUE(client.eventually([&] { return compositor.holder("DP-1") == 0; }));
    EXPECT_EQ(ends, 3);

    const auto all = compositor.shown("DP-1");
    EXPECT_GE(all.size(), 12U);
    EXPECT_LE(all.size(), 32U);
    EXPECT_EQ(in.back(), levelsOf(tinted(0.25F)));
    EXPECT_NE(std::ranges::find(all, levelsOf(tinted(0.5F))), all.end()) << "the exact end of the first";
    RampLevels before = neutral();
    for (std::size_t i = 1; i < in.size(); ++i) {
        EXPECT_TRUE(isNowhereBrighter(*in[i], before)) << i;
        before = *in[i];
    }
    for (std::size_t i = in.size(); i + 1 < all.size(); ++i) {
        EXPECT_TRUE(isNowhereBrighter(before, *all[i])) << i;
        EXPECT_TRUE(isNowhereBrighter(*all[i], neutral())) << i;
        before = *all[i];
    }
    EXPECT_EQ(all.back(), std::nullopt);

    client->show(tinted(), Fade::animated);
    client.runFor(100ms);
    client->finishFade();
    EXPECT_TRUE(client.eventually([&] { return compositor.table("DP-1") == levelsOf(tinted()); }));
    EXPECT_EQ(ends, 4);
}

TEST_P(WlrFamilyTest, LoadsNoFasterThanASlowCompositorAnswers) {
    compositor.plug("DP-1");
    WlrClient client(compositor);
    client.listen();
    client->show(tinted(), Fade::none);
    ASSERT_TRUE(client.eventually([&] { return compositor.books().loads == 1; }));
    compositor.slowDown(80ms);
    const auto start = client.scheduler().steadyNow();
    client->show(tinted(0.5F), Fade::animated);
    for (int i = 0; i < 60; ++i) {  // A slider, too.
        client.runFor(5ms);
        if (i > 20) client->show(tinted(0.5F - 0.005F * static_cast<float>(i)), Fade::none);
    }
    EXPECT_LE(compositor.books().loads, 2 + (client.scheduler().steadyNow() - start) / 80ms);
    EXPECT_TRUE(client.eventually([&] { return compositor.table("DP-1") == levelsOf(tinted(0.5F - 0.005F * 59)); }));
}

TEST_P(WlrFamilyTest, SurvivesACompositorThatDiesInTheMiddleOfAFadeAndComesBack) {
    compositor.plug("DP-1");
    WlrClient client(compositor);
    client.listen();
    bool isLost = false;
    int ends = 0;
    const std::array watches{client->onLoss([&] { isLost = true; }), client->onFadeEnd([&] { ++ends; })};
    client->show(tinted(0.5F), Fade::none);
    ASSERT_TRUE(client.eventually([&] { return client.isReady("DP-1"); }));
    const DisplayId id = client.row("DP-1").id;
    client->show(tinted(), Fade::animated);
    client.runFor(100ms);
    compositor.die();
    ASSERT_TRUE(client.eventually([&] { return !client.isReady("DP-1"); }));
    EXPECT_FALSE(client->isFading());
    EXPECT_EQ(ends, 1);
    EXPECT_EQ(client.row("DP-1").id, id) << "it is still listed, with the reason";
    client->show(tinted(0.1F), Fade::animated);
    client->loadAgain();
    client.runFor(100ms);
    compositor.start();
    client.runFor(100ms);
    compositor.plug("DP-1");
    EXPECT_TRUE(client.eventually([&] { return compositor.table("DP-1") == levelsOf(tinted(0.1F)); }));
    EXPECT_TRUE(client.eventually([&] { return client.isReady("DP-1"); }));
    EXPECT_EQ(client.row("DP-1").id, id);
    EXPECT_FALSE(isLost);

    compositor.die();
    EXPECT_TRUE(client->giveBack(Displays::GivingBack::forGood)) << "it took its tables along";
}

TEST_P(WlrFamilyTest, EndsAHundredPlugEventsInASecondWithTheRightTables) {
    compositor.plug("DP-1");
    WlrClient client(compositor);
    client->show(tinted(), Fade::none);
    client.listen();
    for (int i = 0; i < 50; ++i) {
        compositor.plug("DP-2", 256U << (i % 3), "B");
        client.runFor(std::chrono::milliseconds{i % 7});
        compositor.unplug("DP-2");
        client.runFor(std::chrono::milliseconds{i % 3});
    }
    compositor.plug("DP-2", 512, "B");
    EXPECT_TRUE(client.eventually([&] { return client.isReady("DP-2") && client.row("DP-2").tableSize == 512; }));
    EXPECT_TRUE(client.eventually([&] { return compositor.table("DP-2") == toLevels(tinted(), 512); }));
    EXPECT_EQ(compositor.shown("DP-1").size(), 2U) << "the other one's table never moved";
    EXPECT_LE(compositor.books().requests, 52);
}

/// What a compositor does to us.
class WlrDisplaysTest : public ::testing::Test {
protected:
    void begin(Kind kind = SmallCompositor::sway()) {
        compositor.emplace(kind);
        compositor->plug("DP-1");
        client.emplace(*compositor);
        client->listen();
        ASSERT_TRUE(client->eventually([&] { return client->isReady("DP-1"); }));
    }
    bool shows(const GammaTable& table) {
        return client->eventually([&] { return compositor->table("DP-1") == levelsOf(table); });
    }
    bool becomes(DisplayState state) {
        return client->eventually([&] { return client->row("DP-1").state == state; });
    }
    /// Nothing is asked for while nothing happens.
    void expectRest() {
        const int requests = compositor->books().requests;
        client->runFor(1500ms);
        EXPECT_EQ(compositor->books().requests, requests);
    }

    std::optional<SmallCompositor> compositor;
    std::optional<WlrClient> client;
};

TEST_F(WlrDisplaysTest, IsRefusedWhatAnotherHoldsAndTriesAgainWhenSomethingHappens) {
    begin();
    WlrClient other(*compositor);
    other.listen();
    other->show(tinted(0.1F), Fade::none);
    ASSERT_TRUE(other.eventually([&] { return compositor->table("DP-1") == levelsOf(tinted(0.1F)); }));
    int changes = 0;
    const auto watch = (*client)->onListChange([&] { ++changes; });
    (*client)->show(tinted(), Fade::animated);
    EXPECT_TRUE(becomes(DisplayState::refused));
    EXPECT_EQ(changes, 1);
    expectRest();
    EXPECT_EQ(compositor->table("DP-1"), levelsOf(tinted(0.1F)));

    ASSERT_TRUE(other->giveBack(Displays::GivingBack::forNow));
    (*client)->show(tinted(0.5F), Fade::none);
    EXPECT_TRUE(shows(tinted(0.5F)));
    EXPECT_TRUE(becomes(DisplayState::ready));

    // The other has seen a size before: it knows that there is a table.
    other->show(tinted(0.1F), Fade::none);
    EXPECT_TRUE(other.eventually([&] { return other.row("DP-1").state == DisplayState::held; }));
    (*client)->show(std::nullopt, Fade::none);
    client->runFor(50ms);
    compositor->plug("DP-2");
    EXPECT_TRUE(other.eventually([&] { return compositor->table("DP-1") == levelsOf(tinted(0.1F)); }));
}

TEST_F(WlrDisplaysTest, LetsAnotherTakeOverWithoutAFight) {
    begin(SmallCompositor::oldSway());
    (*client)->show(tinted(), Fade::none);
    ASSERT_TRUE(shows(tinted()));
    WlrClient other(*compositor);
    other.listen();
    other->show(tinted(0.1F), Fade::none);
    EXPECT_TRUE(other.eventually([&] { return compositor->table("DP-1") == levelsOf(tinted(0.1F)); }))
        << "the first attempt is passed over in silence, the second one works";
    EXPECT_TRUE(becomes(DisplayState::held));
    expectRest();
    // A wake: one that is refused may have been let go.
    (*client)->forgetContents();
    (*client)->loadAgain();
    EXPECT_TRUE(shows(tinted()));
}

TEST_F(WlrDisplaysTest, AsksOnceMoreWhereNothingIsSaid) {
    begin();
    compositor->passOver(1);
    (*client)->show(tinted(), Fade::animated);
    EXPECT_TRUE(shows(tinted()));
    EXPECT_EQ(compositor->books().requests, 2);

    (*client)->show(std::nullopt, Fade::none);
    compositor->passOver(2);
    (*client)->show(tinted(), Fade::none);
    EXPECT_TRUE(becomes(DisplayState::refused));
    expectRest();
    compositor->plug("DP-2");
    EXPECT_TRUE(shows(tinted()));
}

TEST_F(WlrDisplaysTest, IsNotRuinedByLoadsThatAreRefused) {
    begin();
    compositor->answerLoads(Loads::refused);
    (*client)->show(tinted(), Fade::animated);
    EXPECT_TRUE(becomes(DisplayState::refused));
    EXPECT_TRUE(client->eventually([&] { return !(*client)->isFading(); }));
    expectRest();
    compositor->answerLoads(Loads::taken);
    (*client)->show(tinted(0.5F), Fade::none);
    EXPECT_TRUE(shows(tinted(0.5F)));
    EXPECT_TRUE(becomes(DisplayState::ready));
}

TEST_F(WlrDisplaysTest, SendsATableThatCostItTheConnectionNotAgain) {
    begin();
    compositor->answerLoads(Loads::fatal);
    (*client)->show(tinted(), Fade::none);
    EXPECT_TRUE(client->eventually([&] {
        const auto row = client->row("DP-1");
        return row.state == DisplayState::refused && row.problem.text.english.find("refuses") != std::string_view::npos;
    }));
    EXPECT_EQ(compositor->books().loads, 1);
    expectRest();
    compositor->answerLoads(Loads::taken);
    (*client)->forgetContents();
    (*client)->loadAgain();
    EXPECT_TRUE(shows(tinted()));
}

TEST_F(WlrDisplaysTest, ComesBackFromBindingWhatIsForgotten) {
    begin({.forgetsAtOnce = true});
    (*client)->show(tinted(), Fade::none);
    ASSERT_TRUE(shows(tinted()));
    compositor->plug("DP-2");
    compositor->unplug("DP-2");  // The client, which is not running, hears of both at once.
    EXPECT_TRUE(client->eventually([&] { return compositor->books().requests >= 2; }));
    EXPECT_TRUE(shows(tinted()));
    EXPECT_TRUE(becomes(DisplayState::ready));
}

TEST_F(WlrDisplaysTest, WaitsForAFrozenCompositorOnlyWhereItMust) {
    begin();
    (*client)->show(tinted(), Fade::none);
    ASSERT_TRUE(shows(tinted()));
    compositor->freeze();
    const auto start = client->scheduler().steadyNow();
    for (int i = 0; i < 100; ++i) (*client)->show(tinted(0.01F * static_cast<float>(i)), Fade::animated);
    (*client)->show(std::nullopt, Fade::none);
    (*client)->show(tinted(0.1F), Fade::none);
    static_cast<void>((*client)->list());
    EXPECT_LT(client->scheduler().steadyNow() - start, 1900ms) << "less than one wait for an answer";
    compositor->thaw();
    EXPECT_TRUE(shows(tinted(0.1F)));

    compositor->freeze();
    const auto asked = client->scheduler().steadyNow();
    EXPECT_EQ((*client)->giveBack(Displays::GivingBack::forGood).error().code, ErrorCode::Busy);
    EXPECT_LT(client->scheduler().steadyNow() - asked, 4s);
    compositor->thaw();
    EXPECT_TRUE(client->eventually([&] { return !compositor->table("DP-1"); }));
}

TEST(WlrCompositorTest, TellsWhetherTablesAreHandedOutAndWhyNothingAnswers) {
    EnvironmentVariable address("WAYLAND_DISPLAY");
    const SmallCompositor poor({.handsOutTables = false});
    address.set(poor.address());
    EXPECT_FALSE(wayland::GammaCompositor::create().value()->handsOutTables());
    const SmallCompositor rich;
    address.set(rich.address());
    EXPECT_TRUE(wayland::GammaCompositor::create().value()->handsOutTables());
    address.set("/nowhere/wayland");
    EXPECT_EQ(wayland::GammaCompositor::create().error().code, ErrorCode::Disconnected);

    // What talks nonsense, and what hangs up.
    for (const std::string& said : {std::string(64, '\x7f'), std::string(64, '\0'), std::string()}) {
        const TemporaryFolder folder;
        const std::string path = folder / "nonsense";
        sockaddr_un name{.sun_family = AF_UNIX, .sun_path = {}};
        path.copy(name.sun_path, sizeof name.sun_path - 1);
        const int listening = ::socket(AF_UNIX, SOCK_STREAM, 0);
        ASSERT_EQ(::bind(listening, reinterpret_cast<const sockaddr*>(&name), sizeof name), 0);
        ASSERT_EQ(::listen(listening, 1), 0);
        std::thread server([&] {
            const int client = ::accept(listening, nullptr, nullptr);
            static_cast<void>(::send(client, said.data(), said.size(), MSG_NOSIGNAL));
            ::close(client);
        });
        address.set(path);
        EXPECT_EQ(wayland::GammaCompositor::create().error().code, ErrorCode::Disconnected);
        server.join();
        ::close(listening);
    }
}

}  // namespace
}  // namespace dravo::testing
