#pragma once

#include <QWidget>
#include <functional>
#include <string>

#include "base/result.h"

namespace dravo::ui {

/// Lets the person choose a file of presets, and gives its text, or why it cannot be read. Nothing is called if the
/// person chooses none.
void askForPresetsToRead(QWidget* panel, std::function<void(const Result<std::string>&)> onRead);

/// Lets the person choose where `text` goes and writes it; an error is for the caller to tell.
void askForFileToWrite(QWidget* panel, const std::string& text, std::function<void(const Error&)> onError);

}  // namespace dravo::ui
