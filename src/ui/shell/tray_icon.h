#pragma once

#include <QMenu>
#include <QObject>
#include <QSystemTrayIcon>
#include <memory>

#include "app/status_item.h"
#include "base/observable.h"
#include "base/scheduler.h"
#include "ui/shell/tray_selection.h"

class QDBusMessage;
class QKeyEvent;

namespace dravo::ui {

/// The tray icon, as a StatusNotifierItem where the desktop has a host for it, else as an XEmbed window.
///
/// The toolkit decides between the two once, when the icon is made, so it is made when a host is first seen.
/// Thread: main thread. Lifetime: `scheduler` outlives it.
class TrayIcon : public QObject, public StatusItem {
    Q_OBJECT

public:
    explicit TrayIcon(Scheduler& scheduler);
    ~TrayIcon() override;

    void setSymbol(Symbol symbol) override;
    void setToolTip(const std::string& toolTip) override;
    void setMenu(std::function<std::vector<MenuEntry>()> make) override;
    [[nodiscard]] Subscription onClick(std::function<void(Button)> callback) override;
    [[nodiscard]] bool isShown() const override;

    /// Where the icon is on the screen; empty where the host does not tell.
    [[nodiscard]] QRect geometry() const;

    bool eventFilter(QObject* watched, QEvent* event) override;

private slots:
    void askForNotifierHost();

private:
    void watchForNotifierHosts();
    void lookForTraySelection();
    void ask(const QDBusMessage& question, std::function<void(const QVariantList&)> onAnswer);
    void registerOnceMoreLater();
    void registerIfOurs(const QString& service);
    void appear();
    void fillMenu();
    bool takeKey(const QKeyEvent& key);

    Scheduler& scheduler_;
    Timer lateRegistration_;
    bool isKnownToHost_ = false;  ///< it has passed on a click or opened the menu
    bool isEmbedded_ = false;     ///< icon and menu are windows of ours, not a host's
    TraySelection traySelection_;
    std::unique_ptr<QSystemTrayIcon> icon_;
    QMenu menu_;
    Symbol symbol_ = Symbol::eyeCircle;
    QString toolTip_;
    std::function<std::vector<MenuEntry>()> makeMenu_;
    std::vector<MenuEntry> entries_;  ///< what the menu has now
    SubscriberList<Button> clicks_;
};

}  // namespace dravo::ui
