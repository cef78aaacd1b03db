#pragma once

#include <QObject>
#include <QSocketNotifier>

#include "base/guest_loop.h"

namespace dravo::ui {

/// Runs the toolkit's loop and the program's own inside it, until the program's own is ended.
///
/// Thread: main thread. Lifetime: `guest` outlives it.
class ToolkitLoop : public QObject {
public:
    explicit ToolkitLoop(GuestLoop& guest);

    /// The guest's exit code. The toolkit's own end, by whomever, ends nothing: it is run again.
    int run();

private:
    void turnGuest();

    GuestLoop& guest_;
    bool isTurning_ = false;
    QSocketNotifier notifier_;
};

}  // namespace dravo::ui
