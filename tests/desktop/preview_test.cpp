#include "desktop/display_watch.h"
#include "desktop/panel_run_test.h"

namespace dravo::testing {
namespace {

/// What the displays show while a preset is edited, and what they show afterwards.
class PreviewTest : public PanelRunTest {
protected:
    static constexpr double kRed = 0.55;

    /// What a display shows for a new preset with this much red.
    static Ramp preview(double red) {
        FilterPreset draft = FilterPreset::fl41();
        draft.redFactor = red;
        const auto levels = toLevels(computeTable(draft, kStrong, 0, 0, 0), 256);
        return {levels.red, levels.green, levels.blue};
    }
    void setRed(double red) {
        std::optional<ScreenReader::Control> slider;
        ASSERT_TRUE(soon([&] { return (slider = reader().find("Red", "slider")).has_value(); }));
        reader().setValue(*slider, red);
    }
    /// A new preset in the editor, with its preview on screen. REQUIRES: the panel is open, and no editor.
    void edit() {
        click("Save current settings as a preset");
        setRed(kRed);
        ASSERT_TRUE(soon([&] { return allShow(preview(kRed)); }));
    }
    [[nodiscard]] bool hasEditor() { return reader().find("New Preset").has_value(); }
    [[nodiscard]] std::string saved() { return contentOf(savedTables()); }
    /// Presses the editor's own Cancel, the last control of that name.
    void pressCancel() {
        ScreenReader::Control last;
        for (const auto& control : reader().controls())
            if (control.name == "Cancel") last = control;
        pointer().click(last.box.middle());
    }
};

TEST_F(PreviewTest, ShowsTheLastValueAndEndsWithTheEditorOrThePanel) {
    startTray(TrayHost::Kind::xembed);
    const Run run = startWithIcon();
    ASSERT_TRUE(openFromNewIcon());
    const std::string own = saved();
    const std::vector<std::pair<const char*, std::function<void()>>> waysOut{
        {"the button beside the picker", [this] { click("Cancel"); }},
        {"Cancel", [this] { pressCancel(); }},
        {"Escape", [this] { press(key::kEscape); }},
    };
    for (const auto& [name, leave] : waysOut) {
        SCOPED_TRACE(name);
        ASSERT_NO_FATAL_FAILURE(edit());
        EXPECT_EQ(saved(), own);
        leave();
        EXPECT_TRUE(soonFiltered());
        EXPECT_TRUE(soon([&] { return !hasEditor(); }));
        EXPECT_TRUE(isPanelOpen());
    }

    ASSERT_NO_FATAL_FAILURE(edit());
    for (int step = 1; step <= 20; ++step) setRed(kRed + 0.01 * step);
    EXPECT_TRUE(soon([&] { return allShow(preview(kRed + 0.2)); }));
    pointer().click(kOutside);
    EXPECT_TRUE(soonIsClosed());
    EXPECT_TRUE(soonFiltered()) << "nobody sees the editor";
    ASSERT_TRUE(soon([&] { return openPanel(); }));
    EXPECT_TRUE(soon([&] { return hasEditor(); })) << "its fields are kept";
    EXPECT_TRUE(allShow(filtered(kStrong))) << "until the next change";
    setRed(kRed);
    EXPECT_TRUE(soon([&] { return allShow(preview(kRed)); }));
    EXPECT_EQ(saved(), own);
    quit(*run);
    EXPECT_EQ(tables(), ownTables());
}

TEST_F(PreviewTest, IsGoneWithTheProgramHoweverThatEnds) {
    for (const int signal : {SIGTERM, SIGKILL}) {
        SCOPED_TRACE(signal);
        const Run run = startWithPanel();
        const std::string own = saved();
        ASSERT_NO_FATAL_FAILURE(edit());
        run->signal(signal);
        EXPECT_EQ(run->waitForExit(), ExitStatus::killedBy(signal));
        EXPECT_EQ(saved(), own);
        EXPECT_EQ(tables() == ownTables(), signal == SIGTERM);
    }
    DisplayWatch seen(server().address(), displays().enabledOutputs());
    const Run next = startAndSettle();
    for (const auto& [name, sights] : seen.stop()) {
        ASSERT_EQ(sights.size(), 2U) << name;
        EXPECT_EQ(sights[0].ramp, preview(kRed)) << name;
        EXPECT_EQ(sights[1].ramp, filtered(kStrong)) << name;
    }
    quit(*next);
    EXPECT_EQ(tables(), ownTables());
}

}  // namespace
}  // namespace dravo::testing
