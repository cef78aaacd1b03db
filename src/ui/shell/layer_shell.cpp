#include "ui/shell/layer_shell.h"

#include <dlfcn.h>

#include <QFileInfo>
#include <QLibrary>

namespace dravo::ui {

namespace {

/// Beside the module that this is in. Without it nothing is amiss.
LayerModuleEntry findModule() {
    Dl_info ours{};
    if (!::dladdr(reinterpret_cast<const void*>(&standOnLayer), &ours)) return nullptr;
    const QString file =
        QFileInfo(QString::fromLocal8Bit(ours.dli_fname)).path() + QLatin1String("/dravo-layer-shell.so");
    if (!QFileInfo::exists(file)) return nullptr;
    return reinterpret_cast<LayerModuleEntry>(QLibrary::resolve(file, kLayerModuleEntry));
}

}  // namespace

bool standOnLayer(QWindow* window, const LayerPlace& place) {
    static const LayerModuleEntry entry = findModule();
    return entry && entry(window, place);
}

}  // namespace dravo::ui
