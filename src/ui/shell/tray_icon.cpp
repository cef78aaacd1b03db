#include "ui/shell/tray_icon.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusServiceWatcher>
#include <QDBusVariant>
#include <QIcon>
#include <QKeyEvent>
#include <QKeySequence>
#include <algorithm>
#include <chrono>
#include <utility>

#include "ui/shell/tray_symbols.h"
#include "ui/texts.h"
#include "ui/theme.h"

namespace dravo::ui {

namespace {

const QString kWatcher = QStringLiteral("org.kde.StatusNotifierWatcher");
const QString kWatcherPath = QStringLiteral("/StatusNotifierWatcher");

// Longer than a host takes to get ready once its name is there.
constexpr std::chrono::seconds kHostStart{2};

QDBusMessage questionForWatcher(const QString& property) {
    auto question = QDBusMessage::createMethodCall(
        kWatcher, kWatcherPath, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
    question << kWatcher << property;
    return question;
}

/// The toolkit's own window for an icon that is embedded in a bar.
constexpr const char* kEmbeddedWindow = "QSystemTrayIconSys";

Qt::Key keyOf(const MenuEntry& entry) { return static_cast<Qt::Key>(entry.key - 'a' + Qt::Key_A); }

/// What a property's answer holds; invalid where there is none.
QVariant propertyIn(const QVariantList& answer) {
    return answer.isEmpty() ? QVariant() : answer.first().value<QDBusVariant>().variant();
}

}  // namespace

TrayIcon::TrayIcon(Scheduler& scheduler) : scheduler_(scheduler), traySelection_([this] { appear(); }) {
    connect(&menu_, &QMenu::aboutToShow, this, [this] {
        isKnownToHost_ = true;
        fillMenu();
        menu_.setStyleSheet(theme().styleSheet());
        menu_.setFont(fontOf(TextStyle::body));
    });
    menu_.installEventFilter(this);
    watchForNotifierHosts();
}

TrayIcon::~TrayIcon() {
    // The toolkit frees the entries that a bus menu shows only when they are taken out of it.
    menu_.clear();
}

void TrayIcon::watchForNotifierHosts() {
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        lookForTraySelection();
        return;
    }
    auto* const watcher = new QDBusServiceWatcher(kWatcher, bus, QDBusServiceWatcher::WatchForRegistration, this);
    connect(watcher, &QDBusServiceWatcher::serviceRegistered, this, [this] {
        askForNotifierHost();
        registerOnceMoreLater();
    });
    bus.connect(kWatcher, kWatcherPath, kWatcher, QStringLiteral("StatusNotifierHostRegistered"), this,
                SLOT(askForNotifierHost()));
    askForNotifierHost();
}

void TrayIcon::askForNotifierHost() {
    if (icon_) return;
    ask(questionForWatcher(QStringLiteral("IsStatusNotifierHostRegistered")), [this](const QVariantList& answer) {
        if (propertyIn(answer).toBool()) {
            appear();
            registerOnceMoreLater();
        } else {
            lookForTraySelection();
        }
    });
}

void TrayIcon::ask(const QDBusMessage& question, std::function<void(const QVariantList&)> onAnswer) {
    auto* const call = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(question), this);
    connect(call, &QDBusPendingCallWatcher::finished, this, [call, answer = std::move(onAnswer)] {
        call->deleteLater();
        answer(call->reply().type() == QDBusMessage::ReplyMessage ? call->reply().arguments() : QVariantList());
    });
}

// A host may say that it is there before it listens: it misses what registers in between, and never looks again. To
// register twice is to register once.
void TrayIcon::registerOnceMoreLater() {
    isKnownToHost_ = false;
    lateRegistration_ = scheduler_.after(kHostStart, [this] {
        if (isKnownToHost_) return;
        ask(questionForWatcher(QStringLiteral("RegisteredStatusNotifierItems")), [this](const QVariantList& answer) {
            for (const QString& item : propertyIn(answer).toStringList())
                registerIfOurs(item.section(QLatin1Char('/'), 0, 0));
        });
    });
}

void TrayIcon::registerIfOurs(const QString& service) {
    auto whose = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("GetConnectionUnixProcessID"));
    whose << service;
    ask(whose, [service](const QVariantList& answer) {
        if (answer.isEmpty() || answer.first().toLongLong() != QCoreApplication::applicationPid()) return;
        auto registration = QDBusMessage::createMethodCall(kWatcher, kWatcherPath, kWatcher,
                                                           QStringLiteral("RegisterStatusNotifierItem"));
        registration << service;
        QDBusConnection::sessionBus().send(registration);
    });
}

void TrayIcon::lookForTraySelection() {
    if (traySelection_.hasOwner()) appear();
}

void TrayIcon::appear() {
    if (icon_) return;
    icon_ = std::make_unique<QSystemTrayIcon>();
    connect(icon_.get(), &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
        isKnownToHost_ = true;
        if (reason == QSystemTrayIcon::Trigger) clicks_.deliver(Button::left);
        if (reason == QSystemTrayIcon::MiddleClick) clicks_.deliver(Button::middle);
    });
    icon_->setIcon(trayIconOf(symbol_));
    icon_->setToolTip(toolTip_);
    icon_->setContextMenu(&menu_);
    icon_->show();
    for (QWidget* const window : QApplication::topLevelWidgets()) {
        if (!window->inherits(kEmbeddedWindow)) continue;
        isEmbedded_ = true;
        window->installEventFilter(this);
    }
    fillMenu();
}

bool TrayIcon::eventFilter(QObject* watched, QEvent* event) {
    if (watched == &menu_) return event->type() == QEvent::KeyPress && takeKey(*static_cast<QKeyEvent*>(event));
    // The toolkit passes on the second of two quick clicks only where it is the left button's.
    const bool isSecondClick = event->type() == QEvent::MouseButtonDblClick;
    if (!isSecondClick || static_cast<QMouseEvent*>(event)->button() != Qt::MiddleButton) return false;
    clicks_.deliver(Button::middle);
    return true;
}

// An open menu has the keyboard, yet the toolkit looks for shortcuts in the active window.
bool TrayIcon::takeKey(const QKeyEvent& key) {
    const auto isIts = [&](const MenuEntry& entry) { return entry.key != 0 && key.key() == keyOf(entry); };
    const auto entry = std::ranges::find_if(entries_, isIts);
    if (entry == entries_.end() || (key.modifiers() & ~Qt::ControlModifier)) return false;
    menu_.close();
    scheduler_.post(entry->action);
    return true;
}

void TrayIcon::setSymbol(Symbol symbol) {
    symbol_ = symbol;
    if (!icon_) return;
    icon_->setIcon(trayIconOf(symbol));
    fillMenu();  // a host may show what it was told last
}

void TrayIcon::setToolTip(const std::string& toolTip) {
    toolTip_ = toQt(toolTip);
    if (icon_) icon_->setToolTip(toolTip_);
}

void TrayIcon::setMenu(std::function<std::vector<MenuEntry>()> make) {
    makeMenu_ = std::move(make);
    fillMenu();
}

Subscription TrayIcon::onClick(std::function<void(Button)> callback) { return clicks_.add(std::move(callback)); }

bool TrayIcon::isShown() const { return icon_ && QSystemTrayIcon::isSystemTrayAvailable(); }

QRect TrayIcon::geometry() const { return icon_ ? icon_->geometry() : QRect(); }

void TrayIcon::fillMenu() {
    if (!makeMenu_ || !icon_) return;
    std::vector<MenuEntry> entries = makeMenu_();
    const bool isSame = std::ranges::equal(entries, entries_, {}, &MenuEntry::title, &MenuEntry::title);
    entries_ = std::move(entries);
    // Entries made anew are other entries to a host, and a click on one of the old, in a menu that is open, is lost.
    if (isSame) return;
    menu_.clear();
    for (std::size_t i = 0; i < entries_.size(); ++i) {
        const auto& entry = entries_[i];
        if (entry.title.empty()) {
            menu_.addSeparator();
            continue;
        }
        QString title = toQt(entry.title);
        // A host heeds no shortcut, but a letter of the title.
        if (!isEmbedded_ && entry.key != 0) {
            const auto place = title.indexOf(QLatin1Char(entry.key), 0, Qt::CaseInsensitive);
            if (place >= 0) title.insert(place, QLatin1Char('&'));
        }
        auto* const action = menu_.addAction(title);
        if (isEmbedded_ && entry.key != 0) action->setShortcut(Qt::CTRL | keyOf(entry));
        // A menu that is rebuilt by what its entry does must not do so below it.
        connect(action, &QAction::triggered, this, [this, i] { scheduler_.post(entries_[i].action); });
    }
}

}  // namespace dravo::ui
