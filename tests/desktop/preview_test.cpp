#include "desktop/display_watch.h"
#include "desktop/panel_run_test.h"

namespace dravo::testing {
namespace {

/// What the displays show while a preset is edited, and what they show afterwards.
class PreviewTest : public PanelRunTest {
protected:
    static constexpr double kRed = 0.55;

    /// What a display shows for a new preset with this much red.
    static RampLevels preview(double red) {
        FilterPreset draft = FilterPreset::fl41();
        draft.redFactor = red;
        return shown(draft, kStrong);
    }
    void setRed(double red) {
        std::optional<ScreenReader::Control> slider;
        ASSERT_TRUE(soon([&] { return (slider = reader_.find("Red", "slider")).has_value(); }));
        reader_.setValue(*slider, red);
    }
    /// A new preset in the editor, with its preview on screen. REQUIRES: the panel is open, and no editor.
    void edit() {
        click("Save current settings as a preset");
        setRed(kRed);
        ASSERT_TRUE(soonShow(preview(kRed)));
    }
    [[nodiscard]] bool hasEditor() { return reader_.find("New Preset").has_value(); }
    [[nodiscard]] std::string saved() { return contentOf(savedTables()); }
};

TEST_F(PreviewTest, ShowsTheLastValueAndEndsWithTheEditorOrThePanel) {
    startTray(TrayHost::Kind::xembed);
    const Run run = startWithIcon();
    ASSERT_TRUE(openFromNewIcon());
    const std::string own = saved();
    ASSERT_NO_FATAL_FAILURE(edit());
    for (int step = 1; step <= 20; ++step) setRed(kRed + 0.01 * step);
    EXPECT_TRUE(soonShow(preview(kRed + 0.2)));
    hands_.click(kOutside);
    EXPECT_TRUE(soonIsClosed());
    EXPECT_TRUE(soonFiltered()) << "nobody sees the editor";
    ASSERT_TRUE(soon([&] { return openPanel(); }));
    EXPECT_TRUE(soon([&] { return hasEditor(); })) << "its fields are kept";
    EXPECT_TRUE(allShow(filtered(kStrong))) << "until the next change";
    setRed(kRed);
    EXPECT_TRUE(soonShow(preview(kRed)));
    EXPECT_EQ(saved(), own);
    press(key::kEscape);
    EXPECT_TRUE(soonFiltered());
    EXPECT_TRUE(panel()) << "only the editor goes";
    quit(*run);
}

TEST_F(PreviewTest, IsGoneWithTheProgramHoweverThatEnds) {
    for (const int signal : {SIGTERM, SIGKILL}) {
        SCOPED_TRACE(signal);
        const Run run = startWithPanel();
        const std::string own = saved();
        ASSERT_NO_FATAL_FAILURE(edit());
        EXPECT_EQ(run->endBy(signal), ExitStatus::killedBy(signal));
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
}

}  // namespace
}  // namespace dravo::testing
