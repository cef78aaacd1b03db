#pragma once

#include <QAbstractButton>
#include <QApplication>
#include <QLayout>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "app/filter_control.h"
#include "app/keyboard_shortcut_manager.h"
#include "app/launch_at_login.h"
#include "support/filter_world.h"
#include "support/memory/memory_services.h"
#include "ui/controls/adjustment_slider.h"
#include "ui/controls/layout.h"
#include "ui/texts.h"
#include "ui/theme.h"
#include "ui/views/menu_bar_view.h"

namespace dravo::testing {

/// The panel's content over a machine in memory, in a window of the toolkit's that nobody sees. `open` shows it.
struct PanelWorld : FilterWorld {
    explicit PanelWorld(DefaultsValues stored = {{std::string(preference::kHasSeenOnboarding), true}})
        : FilterWorld(std::move(stored)) {
        start();
        const auto examine = [this](Examination::Told onDone) { return examination.run(std::move(onDone)); };
        control.emplace(FilterControlParts{*state, preferences, customPresets, breakTimer, locationProvider, displays,
                                           grayscaleSwitch, scheduler, calendar, [] { return Result<void>(); }, [] {},
                                           [] { return Result<void>(); }, examine});
        parts.emplace(PanelParts{*state,           preferences,   customPresets,   breakTimer, notifier,
                                 locationProvider, applicator,    grayscaleSwitch, displays,   *control,
                                 shortcutManager,  launchAtLogin, scheduler,       calendar,   appearance,
                                 systemSettings,   updater,       [] {},           [] {},      examine});
        ui::setTheme(ui::Theme::of({}));
    }

    ui::MenuBarView& open() {
        if (!panel) panel = std::make_unique<ui::MenuBarView>(*parts);
        panel->refresh();
        panel->show();
        settle();
        return *panel;
    }
    void close() {
        panel->hide();
        settle();
    }
    /// Lets the program's loop and the toolkit's do what is due now.
    void settle() {
        scheduler.advance({});
        QApplication::processEvents();
        ui::measureAnew(*panel);
        panel->resize(panel->width(), panel->heightForWidth(panel->width()));
        QApplication::processEvents();
    }

    /// The control of this class and accessible name that can be seen; null if there is none.
    template <typename Control>
    [[nodiscard]] Control* find(const QString& name) const {
        for (auto* const found : panel->findChildren<Control*>()) {
            const bool isNamed = found->accessibleName() == name || textOf(found) == name;
            if (isNamed && found->isVisible()) return found;
        }
        return nullptr;
    }
    [[nodiscard]] bool sees(const QString& text) const { return find<QLabel>(text) || find<QAbstractButton>(text); }
    /// `name` in English.
    void click(const char* name) {
        auto* const button = find<QAbstractButton>(ui::text(name));
        ASSERT_TRUE(button) << name;
        button->click();
        settle();
    }
    [[nodiscard]] ui::AdjustmentSlider& slider(const QString& name) const { return *find<ui::AdjustmentSlider>(name); }

    static QString textOf(const QWidget* part) {
        const auto* const label = qobject_cast<const QLabel*>(part);
        const auto* const button = qobject_cast<const QAbstractButton*>(part);
        return label ? label->text() : button ? button->text() : QString();
    }

    memory::MemoryHotKeys hotKeys;
    memory::MemoryLoginItem loginItem;
    memory::MemoryAppearance appearance;
    memory::MemorySystemSettings systemSettings;
    memory::MemoryUpdateFeed updateFeed;
    Updater updater{updateFeed, scheduler, "1.2.0", std::string("https://dravo.example/feed.json")};
    KeyboardShortcutManager shortcutManager{hotKeys, preferences, scheduler};
    LaunchAtLogin launchAtLogin{loginItem};
    std::optional<FilterControl> control;
    std::optional<PanelParts> parts;
    std::vector<PortReport> reports;  ///< What an examination finds.
    const Examination examination{scheduler, {{kDisplaysPort, [this](const Examination::Told& told) {
                                                   told(reports);
                                                   return Subscription();
                                               }}}};
    std::unique_ptr<ui::MenuBarView> panel;
};

}  // namespace dravo::testing
