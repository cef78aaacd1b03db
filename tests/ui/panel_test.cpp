#include <gtest/gtest.h>

#include <QClipboard>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMenu>
#include <QWheelEvent>

#include "ui/controls/fields.h"
#include "ui/controls/menu_button.h"
#include "ui/panel_world.h"
#include "ui/texts.h"

namespace dravo::testing {
namespace {

using namespace std::chrono_literals;

void press(QWidget& widget, Qt::Key key) {
    QKeyEvent event(QEvent::KeyPress, key, Qt::NoModifier);
    QApplication::sendEvent(&widget, &event);
}

void drag(QWidget& widget, QPoint from, QPoint to) {
    const auto send = [&](QEvent::Type type, QPoint place, Qt::MouseButtons held) {
        QMouseEvent event(type, QPointF(place), widget.mapToGlobal(QPointF(place)), Qt::LeftButton, held,
                          Qt::NoModifier);
        QApplication::sendEvent(&widget, &event);
    };
    send(QEvent::MouseButtonPress, from, Qt::LeftButton);
    send(QEvent::MouseMove, to, Qt::LeftButton);
    send(QEvent::MouseButtonRelease, to, Qt::NoButton);
}

void turnWheel(QWidget& widget, int eighths) {
    const QPointF middle = QRectF(widget.rect()).center();
    QWheelEvent event(middle, widget.mapToGlobal(middle), {}, {0, eighths}, Qt::NoButton, Qt::NoModifier,
                      Qt::NoScrollPhase, false);
    QApplication::sendEvent(&widget, &event);
}

QStringList menuTitles(const QWidget& panel) {
    QStringList titles;
    for (const auto* const menu : panel.findChildren<QMenu*>()) {
        if (!menu->isVisible()) continue;
        for (const auto* const action : menu->actions()) titles += action->text();
    }
    return titles;
}

void choose(const QWidget& panel, const QString& title) {
    for (auto* const menu : panel.findChildren<QMenu*>()) {
        for (auto* const action : menu->actions()) {
            if (action->text() != title) continue;
            action->trigger();
            menu->close();
            return;
        }
    }
    FAIL() << "no entry " << title.toStdString();
}

FilterPreset ownPreset(const std::string& name) { return {.id = "own-" + name, .name = name}; }

TEST(PanelTest, RowsComeAndGoWithTheFilterItsPauseAndItsAdjustments) {
    PanelWorld world;
    world.open();
    EXPECT_TRUE(world.sees("Pause temporarily"));
    EXPECT_TRUE(world.sees("59%"));
    EXPECT_FALSE(world.sees("Resume"));
    EXPECT_FALSE(world.sees("Edited"));

    world.state->pause(world.scheduler.now() + 1h);
    world.state->intensity = 0.5;
    world.settle();
    EXPECT_FALSE(world.sees("Pause temporarily"));
    EXPECT_TRUE(world.sees("Off"));
    EXPECT_TRUE(world.sees("Resume"));
    EXPECT_TRUE(world.sees("Edited"));
    world.state->turnOff();
    world.state->revertToPreset();
    world.settle();
    EXPECT_FALSE(world.sees("Pause temporarily"));
    EXPECT_FALSE(world.sees("Resume"));
    EXPECT_FALSE(world.sees("Edited"));
}

TEST(PanelTest, SaysWhatThisDesktopCannotDo) {
    PanelWorld world;
    world.desk.plug("DOCK-1", world.desk.addCrtc(0));
    const auto& presets = FilterPreset::builtIn();
    world.state->selectedPreset = *std::ranges::find_if(presets, &FilterPreset::isGrayscale);
    world.open();
    const QString gray = "This preset needs a grayscale mode, which this desktop does not have.";
    const auto says = [&](const QString& what) {
        const auto labels = world.panel->findChildren<QLabel*>();
        return std::ranges::any_of(
            labels, [&](const QLabel* label) { return label->isVisible() && label->text().contains(what); });
    };
    EXPECT_TRUE(says("DOCK-1: "));
    EXPECT_FALSE(says(gray));
    world.grayscale.fails = Error{ErrorCode::Unsupported, ""};
    world.panel->refresh();
    EXPECT_TRUE(says(gray));
    world.state->selectedPreset = FilterPreset::evening();
    world.settle();
    EXPECT_FALSE(says(gray));
}

TEST(PanelTest, PauseMenuEndsPausesWhereItSays) {
    struct Row {
        const char* title;
        std::chrono::minutes length;
    };
    for (const auto& row : {Row{"For 15 Minutes", 15min}, Row{"For 1 Hour", 60min}, Row{"Until Morning", 20 * 60min}}) {
        PanelWorld world;
        const auto& panel = world.open();
        world.click("Pause temporarily");
        EXPECT_EQ(menuTitles(*panel.window()).size(), 3);
        choose(*panel.window(), row.title);
        EXPECT_EQ(world.state->pausedUntil.get(), world.scheduler.now() + row.length) << row.title;
    }
}

TEST(PanelTest, SlidersWriteOnlyWhatAPersonDoes) {
    PanelWorld world;
    // Beyond the slider and between its steps: a redraw must not round or clamp it.
    world.state->intensity = 0.123456789;
    world.state->contrast = 0.75;
    world.preferences.setAdvancedExpanded(true);
    world.open();
    world.close();
    world.open();
    EXPECT_EQ(world.state->intensity, 0.123456789);
    EXPECT_EQ(world.state->contrast, 0.75);
    EXPECT_TRUE(world.sees("+75%"));

    auto& slider = world.slider("Intensity");
    turnWheel(slider, 120);
    EXPECT_EQ(world.state->intensity, 0.123456789) << "the wheel scrolls the panel";
    press(slider, Qt::Key_Right);
    EXPECT_DOUBLE_EQ(world.state->intensity, 0.13);
    press(slider, Qt::Key_PageUp);
    EXPECT_DOUBLE_EQ(world.state->intensity, 0.23);
    world.settle();
    press(slider, Qt::Key_Left);
    EXPECT_DOUBLE_EQ(world.state->intensity, 0.22);
    press(slider, Qt::Key_End);
    EXPECT_DOUBLE_EQ(world.state->intensity, 1);
    drag(slider, {slider.width() - 8, 10}, {8, 10});
    EXPECT_DOUBLE_EQ(world.state->intensity, 0);

    QMouseEvent twice(QEvent::MouseButtonDblClick, {40, 10}, slider.mapToGlobal(QPointF(40, 10)), Qt::LeftButton,
                      Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&slider, &twice);
    EXPECT_DOUBLE_EQ(world.state->intensity, world.state->selectedPreset.get().intensity);
}

TEST(PanelTest, ReadsNothingWhileNobodySeesIt) {
    PanelWorld world;
    world.open();
    const auto& slider = world.slider("Intensity");
    world.close();
    world.state->intensity = 0.31;
    world.scheduler.advance(1s);
    world.settle();
    EXPECT_EQ(slider.value(), 0.8);
    world.open();
    EXPECT_EQ(slider.value(), 0.31);
}

TEST(PanelTest, UnfoldedPartsStayAsTheyWere) {
    PanelWorld world;
    world.open();
    world.click("Advanced");
    EXPECT_TRUE(world.preferences.advancedExpanded());
    world.click("Settings");
    world.close();
    world.open();
    EXPECT_TRUE(world.sees("Dimming"));
    EXPECT_TRUE(world.sees("Launch at Login"));
    world.click("Save current settings as a preset");
    EXPECT_FALSE(world.find<QLabel>("Launch at Login"));
    EXPECT_FALSE(world.sees("Break Reminder"));
    EXPECT_TRUE(world.panel->closeInnermost());
    world.settle();
    EXPECT_TRUE(world.sees("Launch at Login"));
    EXPECT_FALSE(world.panel->closeInnermost());
}

TEST(PanelTest, PickerAssignsOnEveryChoiceAndListsOwnPresetsOnlyWhereThereAreSome) {
    PanelWorld world;
    const auto& panel = world.open();
    EXPECT_FALSE(world.sees("Edit this preset"));
    world.click("Preset");
    EXPECT_EQ(menuTitles(*panel.window()).first(), "Built-in");
    EXPECT_FALSE(menuTitles(*panel.window()).contains("Custom"));
    world.state->intensity = 0.3;
    choose(*panel.window(), "Migraine Precision");
    EXPECT_EQ(world.state->intensity, 0.8) << "the same entry again takes its adjustments over again";

    world.customPresets.presets = {ownPreset("One & two")};
    world.click("Preset");
    EXPECT_TRUE(menuTitles(*panel.window()).contains("Custom"));
    choose(*panel.window(), "One && two");
    world.settle();
    EXPECT_EQ(world.state->selectedPreset.get().name, "One & two");
    EXPECT_TRUE(world.sees("Edit this preset"));
}

TEST(PanelTest, DeletionAsksUntilItIsAnswered) {
    PanelWorld world;
    world.customPresets.presets = {ownPreset("Mine")};
    world.state->selectedPreset = ownPreset("Mine");
    world.open();
    world.click("Delete this preset");
    EXPECT_TRUE(world.sees("Delete \"Mine\"?"));
    world.close();
    world.open();
    EXPECT_TRUE(world.sees("Delete \"Mine\"?")) << "still asked when the panel opens again";
    world.click("Cancel");
    EXPECT_EQ(world.customPresets.presets.get().size(), 1U);
}

TEST(PanelTest, CardsKeepTheKeyboardWhateverTheyShowNext) {
    PanelWorld world;
    world.customPresets.presets = {ownPreset("One"), ownPreset("Two")};
    world.open();
    world.panel->activateWindow();
    const auto focused = [] {
        const auto* const button = qobject_cast<QAbstractButton*>(QApplication::focusWidget());
        return button && button->isVisible() ? button->text() : QString();
    };
    for (const char* const name : {"One", "Two"}) {
        world.state->selectedPreset = ownPreset(name);
        world.settle();
        world.click("Delete this preset");
        EXPECT_EQ(focused(), "Cancel") << name;
        world.click("Cancel");
    }
    world.updater.check();
    world.settle();
    EXPECT_EQ(focused(), "Cancel") << "checking";
    world.updateFeed.answer(Error{ErrorCode::Disconnected, "no network"});
    world.settle();
    EXPECT_EQ(focused(), "Close");

    world.slider("Intensity").setFocus();
    world.updater.check();
    world.settle();
    EXPECT_TRUE(world.slider("Intensity").hasFocus()) << "a card that changes leaves the keyboard where it is";
}

TEST(PanelTest, ADeletionIsOfThePresetThatWasAskedAbout) {
    PanelWorld world;
    world.customPresets.presets = {ownPreset("One"), ownPreset("Two")};
    world.state->selectedPreset = ownPreset("One");
    world.open();
    world.click("Delete this preset");
    world.state->selectedPreset = ownPreset("Two");
    world.settle();
    EXPECT_FALSE(world.sees("Delete"));
    world.state->selectedPreset = ownPreset("One");
    world.settle();
    EXPECT_FALSE(world.sees("Delete")) << "nobody asks any more";
}

TEST(PanelTest, EditorSavesUnderATrimmedNameAndNotWithoutOne) {
    PanelWorld world;
    world.state->intensity = 0.42;
    world.open();
    world.click("Save current settings as a preset");
    EXPECT_EQ(world.slider("Intensity").value(), 0.42);
    auto* const name = world.find<QLineEdit>("Preset Name");
    ASSERT_TRUE(name);
    const auto type = [&](const QString& text) {
        name->setText(text);
        emit name->textEdited(text);
        world.settle();
    };
    type("  \t ");
    EXPECT_FALSE(world.find<QAbstractButton>("Save")->isEnabled());
    type("  Evening, softer ");
    world.click("Save");
    ASSERT_EQ(world.customPresets.presets.get().size(), 1U);
    EXPECT_EQ(world.customPresets.presets.get().front().name, "Evening, softer");
}

TEST(PanelTest, ScheduleTakesATimeOnlyOnceItsEditingHasEnded) {
    PanelWorld world;
    world.preferences.setScheduleEnabled(true);
    world.open();
    world.click("Settings");
    auto* const start = world.find<ui::TimeField>("From");
    ASSERT_TRUE(start);
    start->setFocus();
    press(*start, Qt::Key_Up);
    EXPECT_EQ(world.preferences.scheduleStartMinutes(), 1200);
    press(*start, Qt::Key_Return);
    EXPECT_EQ(world.preferences.scheduleStartMinutes(), 1260);
    drag(*start->findChild<QLineEdit*>(), {12, 12}, {12, 12});
    for (const char digit : {'1', '0'}) {
        QKeyEvent typed(QEvent::KeyPress, digit, Qt::NoModifier, QString(QLatin1Char(digit)));
        QApplication::sendEvent(start, &typed);
    }
    press(*start, Qt::Key_Return);
    EXPECT_EQ(world.preferences.scheduleStartMinutes(), 1320) << "what is typed replaces the hour that was clicked";
    EXPECT_EQ(start->minutes(), 1320);
    world.preferences.setScheduleStartMinutes(1500);
    world.settle();
    EXPECT_EQ(start->minutes(), 1439) << "held to the day, as the schedule takes it";
    world.preferences.setScheduleStartMinutes(1320);
    world.preferences.setScheduleEndMinutes(1320);
    world.settle();
    EXPECT_TRUE(world.sees("Both times are the same: the schedule keeps the filter off."));
}

TEST(PanelTest, SunTimesNeedAPlaceThatAPersonCanGive) {
    PanelWorld world;
    world.preferences.setScheduleEnabled(true);
    world.locationService.assume(LocationAuthorization::denied);
    world.open();
    world.click("Settings");
    world.click("Sunset to Sunrise");
    EXPECT_EQ(world.preferences.scheduleMode(), ScheduleMode::sunsetToSunrise);
    EXPECT_TRUE(world.sees("Turn on location access in System Settings to use sunset times."));
    world.click("Open Settings");
    EXPECT_EQ(world.systemSettings.opened, std::vector{SystemSettings::Page::location});

    world.click("Change…");
    const auto type = [&](const char* field, const char* text) { world.find<QLineEdit>(field)->setText(text); };
    type("Latitude", "91");
    type("Longitude", "13.4");
    world.click("Use");
    EXPECT_TRUE(world.sees("Latitude goes from -90 to 90, longitude from -180 to 180 degrees."));
    type("Latitude", "52.5");
    world.click("Use");
    const auto at = [](int hour, int minute) { return ui::timeText({2024, 3, 6, hour, minute, 0}); };
    EXPECT_TRUE(world.sees(ui::filled("Sunset %@ to sunrise %@", at(16, 55), at(5, 42))));
    world.click("Change…");
    type("Latitude", "89");
    world.click("Use");
    EXPECT_TRUE(world.sees("At your place the sun does not rise or set today."));
    EXPECT_FALSE(world.sees("Determining location…")) << "it is known";
}

TEST(PanelTest, LoginSwitchShowsTheTruthAndSaysWhyItCouldNotBeChanged) {
    PanelWorld world;
    world.loginItem.fails = Error{ErrorCode::PermissionDenied, "the folder is read-only"};
    ::testing::internal::CaptureStdout();
    world.open();
    world.click("Settings");
    const auto isOn = [&] { return world.find<QAbstractButton>("Launch at Login")->isChecked(); };
    world.click("Launch at Login");
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "LaunchAtLogin error: the folder is read-only\n");
    EXPECT_FALSE(isOn());
    EXPECT_TRUE(world.sees("the folder is read-only"));
    world.loginItem.fails.reset();
    world.click("Launch at Login");
    EXPECT_TRUE(isOn());
    EXPECT_FALSE(world.sees("the folder is read-only"));
    world.loginItem.held = LoginItemService::Status::requiresApproval;
    world.click("Settings");
    world.click("Settings");
    EXPECT_FALSE(isOn()) << "what the desktop says when the section opens";
}

TEST(PanelTest, WhatWorksIsLookedAtAnewWheneverItComesIntoSight) {
    PanelWorld world;
    world.open();
    world.reports = {{kLoginPort, {}, {{}, Sentence{"broken"}, Sentence{"Mend it"}, "mend --it"}}};
    world.click("Settings");
    EXPECT_FALSE(world.sees("broken")) << "nobody has asked";
    world.click("What Works Here");
    EXPECT_TRUE(world.sees("broken") && world.sees("Mend it"));
    EXPECT_TRUE(world.find<QLabel>("Launch at Login: does not work"));
    world.click("Copy the Command");
    EXPECT_EQ(QGuiApplication::clipboard()->text(), "mend --it");
    world.close();
    world.reports = {{kLoginPort, {}, {"autostart"}}};
    world.open();
    EXPECT_FALSE(world.sees("broken"));
    EXPECT_TRUE(world.find<QLabel>("Launch at Login: works"));
}

TEST(PanelTest, RecorderTakesTheKeysByTheirPlaceTabAndSpaceToo) {
    PanelWorld world;
    world.open();
    world.click("Settings");
    auto* const recorder = world.find<QAbstractButton>("Control Shift E");
    ASSERT_TRUE(recorder);
    const auto pressScan = [&](quint32 scan, Qt::Key key, Qt::KeyboardModifiers modifiers, bool isRepeat = false) {
        QKeyEvent event(QEvent::KeyPress, key, modifiers, scan, 0, 0, {}, isRepeat);
        QApplication::sendEvent(recorder, &event);
        world.settle();
    };
    recorder->click();
    world.settle();
    EXPECT_EQ(recorder->text(), "Press shortcut…");
    pressScan(37, Qt::Key_Control, Qt::ControlModifier);
    pressScan(23, Qt::Key_Tab, Qt::ShiftModifier);
    pressScan(23, Qt::Key_Tab, Qt::ControlModifier, true);
    EXPECT_EQ(recorder->text(), "Press shortcut…") << "a modifier, Shift alone and a repeat are no shortcut";
    pressScan(23, Qt::Key_Tab, Qt::ControlModifier);
    EXPECT_EQ(world.preferences.shortcutKeyCode(), 48);
    EXPECT_EQ(recorder->text(), "⌃⇥");
}

}  // namespace
}  // namespace dravo::testing
