#include <unistd.h>

#include <QApplication>
#include <QDBusConnection>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "app/desktop_shell.h"
#include "ui/controls/accessibility.h"
#include "ui/controls/button.h"
#include "ui/shell/popover_window.h"
#include "ui/shell/toolkit_language.h"
#include "ui/shell/toolkit_loop.h"
#include "ui/shell/toolkit_platform.h"
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

/// Where the session bus is, in every place in which a program looks. Left to look itself, the toolkit would at last
/// start a bus of its own, which inherits our blocked signals and outlives us.
QByteArray sessionBusAddress() {
    const QByteArray told = qgetenv("DBUS_SESSION_BUS_ADDRESS");
    if (!told.isEmpty()) return told;
    const QByteArray folder = qgetenv("XDG_RUNTIME_DIR");
    return folder.isEmpty() ? "disabled:" : "unix:path=" + folder.toPercentEncoding("/", "~") + "/bus";
}

/// The process's environment as the toolkit is to see it, for as long as this lives. Another thread that reads the
/// environment meanwhile finds one or the other, whole.
class ToolkitEnvironment {
public:
    ToolkitEnvironment() {
        for (char** variable = environ; *variable; ++variable)
            if (isForTheToolkit(*variable)) variables_.push_back(*variable);
        // A platform theme would load a second toolkit for a look that we do not use.
        variables_.push_back(noDesktop_);
        // With two screens the toolkit forgets the desktop's bars otherwise.
        variables_.push_back(bars_);
        variables_.push_back(bus_.data());
        variables_.push_back(nullptr);
        environ = variables_.data();
    }
    ~ToolkitEnvironment() { environ = processes_; }
    ToolkitEnvironment(const ToolkitEnvironment&) = delete;
    ToolkitEnvironment& operator=(const ToolkitEnvironment&) = delete;

private:
    // Platform, theme, style and input plug-ins are chosen here; a wrong one of them ends the process. A panel without
    // a size, or one that no memory can hold, helps nobody.
    static bool isForTheToolkit(std::string_view variable) {
        constexpr std::string_view kScale = "QT_SCALE_FACTOR=";
        if (variable.starts_with(kScale)) {
            const double factor = QByteArray(variable.data() + kScale.size()).toDouble();
            return factor >= 0.25 && factor <= 8;
        }
        for (const std::string_view ours : {"QT_QPA_", "QT_STYLE_OVERRIDE=", "XDG_CURRENT_DESKTOP=",
                                            "QT_RELY_ON_NET_WORKAREA_ATOM=", "DBUS_SESSION_BUS_ADDRESS="})
            if (variable.starts_with(ours)) return false;
        return true;
    }

    char** processes_ = environ;
    char noDesktop_[25] = "XDG_CURRENT_DESKTOP=none";
    char bars_[31] = "QT_RELY_ON_NET_WORKAREA_ATOM=1";
    QByteArray bus_ = "DBUS_SESSION_BUS_ADDRESS=" + sessionBusAddress();
    std::vector<char*> variables_;
};

/// What the toolkit complains about while it starts, in one line: when it gives up, right before it ends the process,
/// it is the reason; else it is printed as ever.
class ToolkitComplaints {
public:
    explicit ToolkitComplaints(std::function<void(const std::string&)> onFailure) {
        saidSoFar.clear();
        tellFailure = std::move(onFailure);
        qInstallMessageHandler(hear);
    }
    ~ToolkitComplaints() {
        qInstallMessageHandler(nullptr);
        if (!saidSoFar.empty()) qWarning("%s", saidSoFar.c_str());
    }
    ToolkitComplaints(const ToolkitComplaints&) = delete;
    ToolkitComplaints& operator=(const ToolkitComplaints&) = delete;

private:
    static void hear(QtMsgType type, const QMessageLogContext&, const QString& text) {
        if (type != QtFatalMsg || saidSoFar.empty())
            saidSoFar += (saidSoFar.empty() ? "" : "; ") + text.section('\n', 0, 0).toStdString();
        if (type == QtFatalMsg) tellFailure(saidSoFar);
    }

    static inline std::string saidSoFar;
    static inline std::function<void(const std::string&)> tellFailure;
};

class Toolkit {
public:
    explicit Toolkit(std::function<void(const std::string&)> onFailure) {
        const ToolkitEnvironment environment;
        const ToolkitComplaints complaints(std::move(onFailure));
        application_ = std::make_unique<QApplication>(count_, words_);
        QDBusConnection::sessionBus();  // the address is read once
        QApplication::setQuitOnLastWindowClosed(false);
        QApplication::setApplicationName(QStringLiteral("Dravo"));
        QApplication::setDesktopFileName(QStringLiteral("dravo"));
        setToolkitLanguage(*application_);
        adoptInterfaceLocale();
        installAccessibility();
        KeyboardFocus::watchInput();
    }

private:
    char name_[6] = "dravo";
    char platform_[10] = "-platform";
    std::string chosen_ = kToolkitPlatform;
    char* words_[4] = {name_, platform_, chosen_.data(), nullptr};
    int count_ = 3;
    std::unique_ptr<QApplication> application_;
};

class Shell : public DesktopShell {
public:
    explicit Shell(const DesktopShellParts& parts)
        : parts_(parts.panel),
          toolkit_(parts.onFailure),
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

    PopoverWindow::Content makeContent() {
        auto* const view = new MenuBarView(parts_);
        return {view, [view] { view->refresh(); }, [view] { return view->closeInnermost(); }};
    }

    const PanelParts parts_;
    Toolkit toolkit_;
    ToolkitLoop loop_;
    TrayIcon tray_;
    PopoverWindow window_;
    Subscription appearance_;
};

}  // namespace

}  // namespace dravo::ui

// The only names that the program looks up in this module.
extern "C" __attribute__((visibility("default"))) dravo::DesktopShell* dravoDesktop(
    const char* version, const dravo::DesktopShellParts& parts) {
    if (std::string_view(version) != DRAVO_VERSION) return nullptr;
    return new dravo::ui::Shell(parts);
}

extern "C" __attribute__((visibility("default"))) void dravoDesktopProbe(const char* version,
                                                                         std::optional<dravo::Finding>& finding) {
    if (std::string_view(version) == DRAVO_VERSION) finding = dravo::ui::probeToolkitPlatform();
}
