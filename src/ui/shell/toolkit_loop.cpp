#include "ui/shell/toolkit_loop.h"

#include <QAbstractEventDispatcher>
#include <QCoreApplication>

namespace dravo::ui {

ToolkitLoop::ToolkitLoop(GuestLoop& guest) : guest_(guest), notifier_(guest.descriptor(), QSocketNotifier::Read) {
    connect(&notifier_, &QSocketNotifier::activated, this, [this] { turnGuest(); });
    connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::aboutToBlock, this,
            [this] { turnGuest(); });
}

int ToolkitLoop::run() {
    while (!guest_.exitCode()) QCoreApplication::exec();
    return *guest_.exitCode();
}

void ToolkitLoop::turnGuest() {
    // A callback of the guest may run a loop of the toolkit inside itself.
    if (isTurning_) return;
    isTurning_ = true;
    const bool didSomething = guest_.turn();
    isTurning_ = false;
    if (guest_.exitCode()) QCoreApplication::exit();
    // There may be more, and what ran may have left work for the toolkit, which is about to wait.
    if (didSomething) QAbstractEventDispatcher::instance()->wakeUp();
}

}  // namespace dravo::ui
