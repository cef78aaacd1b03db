#include "ui/shell/toolkit_platform.h"

#include <QCoreApplication>
#include <QDir>
#include <algorithm>
#include <string>

namespace dravo::ui {

Finding probeToolkitPlatform() {
    const QString pattern = QStringLiteral("libq%1*.so").arg(QLatin1String(kToolkitPlatform));
    const auto folders = QCoreApplication::libraryPaths();
    const bool isInstalled = std::ranges::any_of(folders, [&](const QString& folder) {
        return !QDir(folder + QStringLiteral("/platforms")).entryList({pattern}).isEmpty();
    });
    if (!isInstalled) {
        constexpr TextKey kMissing = textKey("the toolkit's plug-in %@ is missing");
        constexpr TextKey kInstall = textKey("Install Qt's package with it");
        return {{}, Sentence{kMissing, {kToolkitPlatform}}, Sentence{kInstall}};
    }
    if (qEnvironmentVariableIsEmpty("DISPLAY")) return {{}, Sentence{textKey("no X server: DISPLAY is not set")}};
    return {std::string("Qt, ") + kToolkitPlatform};
}

}  // namespace dravo::ui
