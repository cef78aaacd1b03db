#pragma once

#include <optional>

#include "support/process_under_test.h"
#include "support/x_windows.h"

namespace dravo::testing {

/// A desktop's bar with a tray, and nothing else in it: at the bottom for icons that are windows, at the top for those
/// that a program describes over the session bus.
class TrayHost {
public:
    enum class Kind { xembed, notifier };

    /// `session`: DISPLAY and the session bus.
    TrayHost(Kind kind, Environment session);

    /// Where our icon is to be clicked; nothing while it is not there.
    [[nodiscard]] std::optional<Place> iconPlace(const XWindows& windows) const;

private:
    Kind kind_;
    TestHome home_;
    std::optional<ChildProcess> settings_;
    std::optional<ChildProcess> bar_;
};

}  // namespace dravo::testing
