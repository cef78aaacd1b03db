#include "app/updater_bridge.h"

namespace dravo {

UpdaterBridge& UpdaterBridge::shared() {
    static UpdaterBridge bridge;
    return bridge;
}

}  // namespace dravo
