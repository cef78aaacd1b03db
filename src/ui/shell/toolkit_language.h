#pragma once

class QCoreApplication;

namespace dravo::ui {

/// Gives the toolkit the interface's language: its direction, and the texts that are its own (file dialogs), as far as
/// the system has them.
///
/// Thread: main thread, once the application is there and before its first window.
void setToolkitLanguage(QCoreApplication& application);

}  // namespace dravo::ui
