#include <gtest/gtest.h>

#include <QDir>
#include <QPainter>
#include <QPixmap>

#include "ui/controls/button.h"
#include "ui/controls/fields.h"
#include "ui/in_language.h"
#include "ui/panel_world.h"

namespace dravo::testing {
namespace {

using namespace std::chrono_literals;

/// How a section comes into sight, and under which name its picture is kept.
struct Section {
    const char* name;
    std::function<void(PanelWorld&)> arrange;
};

void followTheSun(PanelWorld& world) {
    world.click("Settings");
    world.preferences.setScheduleEnabled(true);
    world.settle();
    world.click("Sunset to Sunrise");
}

const std::vector<Section>& sections() {
    static const std::vector<Section> kSections{
        {"main", [](PanelWorld&) {}},
        {"paused", [](PanelWorld& world) { world.state->pause(world.scheduler.now() + 1h); }},
        {"advanced-and-break",
         [](PanelWorld& world) {
             world.click("Advanced");
             world.state->dimming = 0.15;
             world.state->contrast = -0.1;
             world.breakTimer.setEnabled(true);
             world.pass(20min + 5s);
         }},
        {"settings-times",
         [](PanelWorld& world) {
             world.click("Settings");
             world.preferences.setScheduleEnabled(true);
         }},
        {"settings-waiting", [](PanelWorld& world) { followTheSun(world); }},
        {"settings-denied",
         [](PanelWorld& world) {
             world.locationService.assume(LocationAuthorization::denied);
             followTheSun(world);
         }},
        {"settings-sun",
         [](PanelWorld& world) {
             followTheSun(world);
             static_cast<void>(world.locationProvider.useTyped({52.5, 13.4}));
             world.settle();
             world.click("Change…");
         }},
        {"editor",
         [](PanelWorld& world) {
             world.click("Save current settings as a preset");
             world.click("Advanced");
         }},
        {"deletion",
         [](PanelWorld& world) {
             FilterPreset own = FilterPreset::evening();
             own.id = "own";
             own.name = "My evening";
             own.isBuiltIn = false;
             world.customPresets.presets = {own};
             world.state->selectedPreset = own;
             world.settle();
             world.click("Delete this preset");
         }},
    };
    return kSections;
}

/// Every text has the room that it needs.
void expectNothingCut(const QWidget& panel, const std::string& where) {
    for (const auto* const label : panel.findChildren<ui::Label*>()) {
        if (!label->isVisible() || label->text().isEmpty()) continue;
        const std::string which = where + ": " + label->text().toStdString();
        const int height = label->wordWrap() ? label->heightForWidth(label->width()) : label->sizeHint().height();
        EXPECT_GE(label->height(), height - 1) << which;
        EXPECT_GE(label->width(), label->wordWrap() ? label->longestWord() : label->sizeHint().width()) << which;
        const QRect place(label->mapTo(&panel, QPoint()), label->size());
        EXPECT_TRUE(panel.rect().contains(place)) << which;
    }
    for (const auto* const button : panel.findChildren<ui::Button*>()) {
        if (!button->isVisible() || button->text().isEmpty()) continue;
        const QFontMetrics smallest(ui::fontOf(ui::TextStyle::caption));
        EXPECT_GE(button->width(), smallest.horizontalAdvance(button->text()))
            << where << ": " << button->text().toStdString();
    }
}

QString pictureFolder() { return qEnvironmentVariable("DRAVO_PICTURES"); }

void keepPicture(ui::MenuBarView& panel, const std::string& name) {
    const QString folder = pictureFolder();
    if (folder.isEmpty()) return;
    ASSERT_TRUE(QDir().mkpath(folder));
    ASSERT_TRUE(panel.grab().save(folder + '/' + QString::fromStdString(name) + ".png"));
}

// The pictures are kept where DRAVO_PICTURES says, to be looked at.
void lookAtEverySection(Appearance::Scheme scheme, const std::string& suffix) {
    for (const auto& section : sections()) {
        PanelWorld world;
        ui::setTheme(ui::Theme::of({scheme, {}, false, true}));
        auto& panel = world.open();
        section.arrange(world);
        world.settle();
        const std::string name = section.name + suffix;
        expectNothingCut(panel, name);
        keepPicture(panel, name);
    }
}

TEST(PanelPicturesTest, NoTextIsCutInAnySectionAndScheme) {
    lookAtEverySection(Appearance::Scheme::dark, "-dark");
    lookAtEverySection(Appearance::Scheme::light, "-light");
}

TEST(PanelPicturesTest, NoTextIsCutInAnyLanguage) {
    for (const AppLanguage language : AppLanguage::all()) {
        if (language == AppLanguage::system || language == AppLanguage::english) continue;
        const InLanguage speaking(language);
        const std::string suffix = "-" + std::string(language.code());
        lookAtEverySection(Appearance::Scheme::dark, suffix);
        // Colours cut nothing.
        if (!pictureFolder().isEmpty()) lookAtEverySection(Appearance::Scheme::light, "-light" + suffix);
    }
}

TEST(PanelPicturesTest, PaintedTextBeginsOnTheRightWhereWritingDoes) {
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
}

}  // namespace
}  // namespace dravo::testing
