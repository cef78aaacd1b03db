#include <QApplication>
#include <cstdlib>
#include <memory>
#include <string_view>

#include "app/desktop_shell.h"
#include "ui/controls/accessibility.h"
#include "ui/controls/button.h"
#include "ui/shell/panel_window.h"
#include "ui/shell/toolkit_language.h"
#include "ui/shell/toolkit_loop.h"
#include "ui/shell/tray_icon.h"
#include "ui/texts.h"
#include "ui/theme.h"
#include "ui/views/menu_bar_view.h"

namespace dravo::ui {

namespace {

std::function<void()> onServerLoss;

// When its connection breaks, the toolkit prints a line and calls exit(1).
void endOfProcess() {
    if (onServerLoss) onServerLoss();
}

/// Sets an environment variable for as long as it lives.
class PassingVariable {
public:
    PassingVariable(const char* name, const char* value)
        : name_(name), before_(qgetenv(name)), wasSet_(qEnvironmentVariableIsSet(name)) {
        qputenv(name, value);
    }
    ~PassingVariable() {
        if (wasSet_) {
            qputenv(name_, before_);
        } else {
            qunsetenv(name_);
        }
    }
    PassingVariable(const PassingVariable&) = delete;
    PassingVariable& operator=(const PassingVariable&) = delete;

private:
    const char* name_;
    QByteArray before_;
    bool wasSet_;
};

class Toolkit {
public:
    Toolkit() {
        // A platform theme would load a second toolkit for a look that we do not use.
        const PassingVariable noDesktop("XDG_CURRENT_DESKTOP", "none");
        // With two screens the toolkit forgets the desktop's bars otherwise.
        const PassingVariable bars("QT_RELY_ON_NET_WORKAREA_ATOM", "1");
        application_ = std::make_unique<QApplication>(count_, words_);
        QApplication::setQuitOnLastWindowClosed(false);
        QApplication::setApplicationName(QStringLiteral("Dravo"));
        QApplication::setDesktopFileName(QStringLiteral("dravo"));
        setToolkitLanguage(*application_);
        adoptInterfaceLocale();
        installAccessibility();
        KeyboardFocus::watchInput();
    }

private:
    int count_ = 1;
    char name_[6] = "dravo";
    char* words_[2] = {name_, nullptr};
    std::unique_ptr<QApplication> application_;
};

class Shell : public DesktopShell {
public:
    explicit Shell(const DesktopShellParts& parts)
        : parts_(parts.panel),
          loop_(parts.loop),
          tray_(parts.panel.scheduler),
          window_(parts.panel.scheduler, {[this] { return tray_.geometry(); }, [this] { adoptAppearance(); },
                                          [this] { return makeContent(); }}) {
        adoptAppearance();
        appearance_ = parts_.appearance.onChange([this] { adoptAppearance(); });
        onServerLoss = parts.onServerLoss;
        static_cast<void>(std::atexit(endOfProcess));
    }
    ~Shell() override { onServerLoss = nullptr; }

    int run() override { return loop_.run(); }
    StatusItem& statusItem() override { return tray_; }
    Popover& popover() override { return window_; }
    std::string shortTime(WallTime instant) const override {
        return timeText(parts_.calendar.fields(instant)).toStdString();
    }

private:
    // Never from dark to light under the eyes of the person: the panel asks again before it shows.
    void adoptAppearance() {
        const auto wanted = Theme::of(parts_.appearance.appearance());
        if (window_.isShown() && theme().isDark && !wanted.isDark) return;
        setTheme(wanted);
    }

    PanelWindow::Content makeContent() {
        auto* const view = new MenuBarView(parts_);
        return {view, [view] { view->refresh(); }, [view] { return view->closeInnermost(); }};
    }

    const PanelParts parts_;
    Toolkit toolkit_;
    ToolkitLoop loop_;
    TrayIcon tray_;
    PanelWindow window_;
    Subscription appearance_;
};

}  // namespace

}  // namespace dravo::ui

/// The only name that the program looks up in this module.
extern "C" __attribute__((visibility("default"))) dravo::DesktopShell* dravoDesktop(
    const char* version, const dravo::DesktopShellParts& parts) {
    if (std::string_view(version) != DRAVO_VERSION) return nullptr;
    return new dravo::ui::Shell(parts);
}
