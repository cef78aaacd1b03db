#include "app/launch_at_login.h"

#include <cstdio>

#include "base/localized.h"

namespace dravo {

Result<void> LaunchAtLogin::setEnabled(bool enabled) {
    auto done = enabled ? service_.registerItem() : service_.unregisterItem();
    if (!done) {
        std::printf("LaunchAtLogin error: %s\n", localized(done.error().message).c_str());
        std::fflush(stdout);
    }
    return done;
}

}  // namespace dravo
