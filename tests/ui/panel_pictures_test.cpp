#include <gtest/gtest.h>

#include <QFontInfo>
#include <QGlyphRun>
#include <QPixmap>
#include <QTextLayout>
#include <algorithm>
#include <cmath>
#include <tuple>

#include "ui/controls/fields.h"
#include "ui/controls/menu_button.h"
#include "ui/in_language.h"
#include "ui/panel_world.h"

namespace dravo::testing {
namespace {

using namespace std::chrono_literals;

/// How a section comes into sight, in a panel of its own as in one that shows what those before brought; and the name
/// of its picture.
struct Section {
    const char* name;
    std::function<void(PanelWorld&)> arrange;
};

void openSettings(PanelWorld& world) {
    if (!world.sees(ui::text("Language"))) world.click("Settings");
}

void followTheSun(PanelWorld& world) {
    openSettings(world);
    world.preferences.setScheduleEnabled(true);
    world.settle();
    world.click("Sunset to Sunrise");
}

const std::vector<Section>& sections() {
    static const std::vector<Section> kSections{
        {"welcome", [](PanelWorld& world) { world.preferences.setHasSeenOnboarding(false); }},
        {"main", [](PanelWorld& world) { world.preferences.setHasSeenOnboarding(true); }},
        {"paused", [](PanelWorld& world) { world.state->pause(world.scheduler.now() + 1h); }},
        {"advanced-and-break",
         [](PanelWorld& world) {
             world.click("Advanced");
             world.state->dimming = 0.15;
             world.state->contrast = -0.1;
             world.breakTimer.setEnabled(true);
             world.close();  // nobody looks on for these twenty minutes
             world.scheduler.advance(20min + 5s);
             world.open();
         }},
        {"deletion",
         [](PanelWorld& world) {
             const FilterPreset own{.id = "own", .name = "My evening"};
             world.customPresets.presets = {own};
             world.state->selectedPreset = own;
             world.settle();
             world.click("Delete this preset");
         }},
        {"settings-times",
         [](PanelWorld& world) {
             openSettings(world);
             world.preferences.setScheduleEnabled(true);
         }},
        {"settings-waiting", [](PanelWorld& world) { followTheSun(world); }},
        {"settings-denied",
         [](PanelWorld& world) {
             world.locationService.assume(LocationAuthorization::denied);
             followTheSun(world);
             world.notifications.state = NotificationPermission::denied;
             world.breakTimer.setEnabled(true);
             world.notifier.refreshStatus();
         }},
        {"settings-sun",
         [](PanelWorld& world) {
             followTheSun(world);
             static_cast<void>(world.locationProvider.useTyped({52.5, 13.4}));
             world.settle();
             world.click("Change…");
         }},
        {"settings-doctor",
         [](PanelWorld& world) {
             constexpr TextKey kTints = textKey("%@ changes the colours of the screen, too");
             world.reports = {{kDisplaysPort, {}, {"x11"}},
                              {kDisplayPort, "DP-1", {"x11"}},
                              {kGrayscalePort, {}, {{}, Sentence{textKey("this desktop has no grayscale mode")}}},
                              {kNeighbourPort,
                               {},
                               {{},
                                Sentence{kTints, {"gammastep"}},
                                Sentence{textKey("Stop it while Dravo is to tint")},
                                "systemctl --user disable --now gammastep.service"}}};
             openSettings(world);
             world.click("What Works Here");
         }},
        {"editor",
         [](PanelWorld& world) {
             world.click("Save current settings as a preset");
             for (auto* const fold : world.panel->findChildren<ui::DisclosureButton*>())
                 if (!fold->isExpanded()) fold->click();
         }},
    };
    return kSections;
}

/// The size in which all words of a control can be read: what wraps may break, and a choice may be written smaller.
QSize roomForWords(const QWidget& part) {
    if (const auto* const label = qobject_cast<const ui::Label*>(&part)) {
        return label->wordWrap() ? QSize(label->longestWord(), label->heightForWidth(label->width()))
                                 : label->sizeHint();
    }
    const auto* const button = qobject_cast<const ui::Button*>(&part);
    if (!button || button->text().isEmpty()) return part.minimumSizeHint();
    const int whole = button->fontMetrics().horizontalAdvance(button->text());
    int words = button->isCheckable() ? ui::longestWordOf(button->text(), button->fontMetrics()) : whole;
    if (qobject_cast<const ui::MenuButton*>(button))
        words = QFontMetrics(ui::fontOf(ui::TextStyle::caption)).horizontalAdvance(button->text());
    return {button->sizeHint().width() - whole + words,
            button->hasHeightForWidth() ? button->heightForWidth(button->width()) : button->sizeHint().height()};
}

/// Whether a text runs down beside a button in more than two lines.
bool isRagged(const ui::Label& label) {
    if (!label.wordWrap() || label.height() <= 2 * label.heightForWidth(QWIDGETSIZE_MAX)) return false;
    const auto buttons = label.parentWidget()->findChildren<ui::PushButton*>(Qt::FindDirectChildrenOnly);
    const QRect line(0, label.y(), QWIDGETSIZE_MAX, label.height());
    return std::ranges::any_of(buttons, [&](auto* button) { return button->geometry().intersects(line); });
}

void expectNothingCut(const QWidget& panel, const std::string& where) {
    for (const auto* const part : panel.findChildren<QWidget*>()) {
        if (!part->isVisible()) continue;
        const QSize room = roomForWords(*part);
        const bool isInside = panel.rect().contains(QRect(part->mapTo(&panel, QPoint()), part->size()));
        EXPECT_TRUE(part->width() >= room.width() && part->height() >= room.height() - 1 && isInside)
            << where << ": " << PanelWorld::textOf(part).toStdString();
        const auto* const label = qobject_cast<const ui::Label*>(part);
        EXPECT_FALSE(label && isRagged(*label)) << where << ": " << PanelWorld::textOf(part).toStdString();
    }
}

/// A letter that no typeface has is a box, of another width.
void expectNoBoxes(const QWidget& panel, const std::string& where) {
    QString all;
    for (const auto* const label : panel.findChildren<ui::Label*>()) all += label->text();
    QTextLayout line(all.remove(QLatin1Char('\n')), ui::fontOf(ui::TextStyle::body));
    line.beginLayout();
    line.createLine();
    line.endLayout();
    for (const auto& run : line.glyphRuns())
        EXPECT_FALSE(run.glyphIndexes().contains(0)) << where << " needs another typeface";
}

// In one panel, as what stays in sight only makes it longer. Where DRAVO_PICTURES names a folder each section has its
// own, and its picture is kept there to be looked at.
void lookAtEverySection(Appearance::Scheme scheme, const std::string& suffix) {
    const QString pictures = qEnvironmentVariable("DRAVO_PICTURES");
    std::optional<PanelWorld> world;
    for (const auto& section : sections()) {
        if (!world || !pictures.isEmpty()) {
            world.reset();
            world.emplace();
            ui::setTheme(ui::Theme::of({scheme, {}, false, true}));
            world->open().setUpdatesEnabled(!pictures.isEmpty());
        }
        section.arrange(*world);
        world->settle();
        const std::string name = section.name + suffix;
        expectNothingCut(*world->panel, name);
        if (pictures.isEmpty()) continue;
        ASSERT_TRUE(world->panel->grab().save(pictures + '/' + QString::fromStdString(name) + ".png"));
    }
    expectNoBoxes(*world->panel, suffix);
}

/// A family, and how much larger the desktop wants its text.
class PanelRoomTest : public ::testing::TestWithParam<std::tuple<std::string, double>> {};

TEST_P(PanelRoomTest, NoTextIsCutInAnyLanguage) {
    const auto [family, scale] = GetParam();
    ui::setTypeface(QString::fromStdString(family), scale);
    ASSERT_EQ(QFontInfo(ui::fontOf(ui::TextStyle::body)).family().toStdString(), family) << "is not installed";
    const std::string setting = "-" + family + '-' + std::to_string(std::lround(100 * scale)) + '-';
    for (const AppLanguage language : AppLanguage::all()) {
        if (language == AppLanguage::system) continue;
        const InLanguage speaking(language);
        const std::string suffix = setting + std::string(language.code());
        lookAtEverySection(Appearance::Scheme::dark, suffix);
        // Colours cut nothing.
        if (qEnvironmentVariableIsSet("DRAVO_PICTURES"))
            lookAtEverySection(Appearance::Scheme::light, suffix + "-light");
    }
}

INSTANTIATE_TEST_SUITE_P(Typefaces, PanelRoomTest,
                         ::testing::Combine(::testing::Values<std::string>("DejaVu Sans", "Noto Sans"),
                                            ::testing::Values(1.0, 1.25, 1.5)));

TEST(PanelTextTest, PaintedTextBeginsOnTheRightWhereWritingDoes) {
    const InLanguage arabic(AppLanguage::arabic);
    PanelWorld world;
    world.open();
    const QImage header = world.find<ui::DisclosureButton>(ui::text("Advanced"))->grab().toImage();
    const QImage end = header.copy(0, 0, header.width() / 2, header.height());
    QImage blank(end.size(), end.format());
    blank.fill(end.pixelColor(0, 0));
    EXPECT_EQ(end, blank) << "the title stands away from its chevron";

    // Digits are written from left to right all the same.
    world.preferences.setScheduleEnabled(true);
    world.click("Settings");
    const auto* const start = world.find<ui::TimeField>(ui::text("From"));
    EXPECT_EQ(start->text(), QStringLiteral("٨:٠٠ م"));
    world.preferences.setShortcut(105, 4096);
    world.settle();
    EXPECT_TRUE(world.find<QAbstractButton>(ui::shortcutText(105, 4096, {}).spoken)->text().contains("١٠٥"));
    EXPECT_TRUE(ui::shortcutText(120, 0, {}).spoken.contains("F2")) << "as it is written on the key";
}

}  // namespace
}  // namespace dravo::testing
