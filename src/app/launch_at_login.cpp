#include "app/launch_at_login.h"

#include <cstdio>

namespace dravo {

void LaunchAtLogin::setEnabled(bool enabled) {
    const auto done = enabled ? service_.registerItem() : service_.unregisterItem();
    if (done) return;
    std::printf("LaunchAtLogin error: %s\n", done.error().message.c_str());
    std::fflush(stdout);
}

}  // namespace dravo
