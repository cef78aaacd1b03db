#pragma once

#include "app/login_item_service.h"

namespace dravo {

/// Starting at login, as a switch.
///
/// Thread: main thread. Lifetime: `service` outlives it.
class LaunchAtLogin {
public:
    explicit LaunchAtLogin(LoginItemService& service) : service_(service) {}

    /// What the desktop says now. Only what really starts counts as on.
    [[nodiscard]] bool isEnabled() const { return service_.status() == LoginItemService::Status::enabled; }

    /// Nothing is tried again. Errors: those of the service, said in one line on standard output, too.
    Result<void> setEnabled(bool enabled);

private:
    LoginItemService& service_;
};

}  // namespace dravo
