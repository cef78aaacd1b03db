#include <gtest/gtest.h>

#include <QDir>
#include <QPainter>
#include <QPixmap>

#include "ui/panel_world.h"

namespace dravo::testing {
namespace {

using namespace std::chrono_literals;

/// How a section comes into sight, and under which name its picture is kept.
struct Section {
    const char* name;
    std::function<void(PanelWorld&)> arrange;
};

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
        {"settings-sun",
         [](PanelWorld& world) {
             world.click("Settings");
             world.preferences.setScheduleEnabled(true);
             world.preferences.setScheduleMode(ScheduleMode::sunsetToSunrise);
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

/// Every label's text has the room that it needs.
void expectNothingCut(const QWidget& panel, const std::string& where) {
    for (const auto* const label : panel.findChildren<QLabel*>()) {
        if (!label->isVisible() || label->text().isEmpty()) continue;
        const int height = label->wordWrap() ? label->heightForWidth(label->width()) : label->sizeHint().height();
        EXPECT_GE(label->height(), height - 1) << where << ": " << label->text().toStdString();
        if (!label->wordWrap()) {
            EXPECT_GE(label->width(), label->sizeHint().width()) << where << ": " << label->text().toStdString();
        }
        const QRect place(label->mapTo(&panel, QPoint()), label->size());
        EXPECT_TRUE(panel.rect().contains(place)) << where << ": " << label->text().toStdString();
    }
}

// The pictures are kept where DRAVO_PICTURES says, to be looked at.
TEST(PanelPicturesTest, NoTextIsCutInAnySectionAndScheme) {
    for (const auto scheme : {Appearance::Scheme::dark, Appearance::Scheme::light}) {
        for (const auto& section : sections()) {
            PanelWorld world;
            ui::setTheme(ui::Theme::of({scheme, {}, false, true}));
            auto& panel = world.open();
            section.arrange(world);
            world.settle();
            const std::string name =
                std::string(section.name) + (scheme == Appearance::Scheme::dark ? "-dark" : "-light");
            expectNothingCut(panel, name);
            const QString folder = qEnvironmentVariable("DRAVO_PICTURES");
            if (folder.isEmpty()) continue;
            ASSERT_TRUE(QDir().mkpath(folder));
            ASSERT_TRUE(panel.grab().save(folder + '/' + QString::fromStdString(name) + ".png"));
        }
    }
}

}  // namespace
}  // namespace dravo::testing
