#pragma once

class QCoreApplication;

namespace dravo::ui {

/// Gives the toolkit's own texts (file dialogs) in the interface's language, as far as the system has them.
///
/// Thread: main thread, once the application is there and before its first window.
void setToolkitLanguage(QCoreApplication& application);

}  // namespace dravo::ui
