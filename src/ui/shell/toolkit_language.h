#pragma once

class QCoreApplication;

namespace dravo::ui {

/// Makes the toolkit's own texts (file dialogs) come in the interface's language: in the system's translation, or
/// where there is none, the most visible ones in ours.
///
/// Thread: main thread, once the application is there and before its first window.
void setToolkitLanguage(QCoreApplication& application);

}  // namespace dravo::ui
