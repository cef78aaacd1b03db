#pragma once

#include <QWidget>

#include "app/panel_parts.h"

namespace dravo::ui {

/// One part of the panel. It holds no filter logic: it shows what the parts hold whenever `refresh` is called, and
/// changes them by their operations.
///
/// Thread: main thread. Lifetime: `parts` outlives it.
class View : public QWidget {
public:
    explicit View(const PanelParts& parts) : parts_(parts) {}

    /// Shows the present values. Costs nothing where they have not changed; never counts as a person's input.
    virtual void refresh() = 0;

protected:
    /// Once somebody may see it, and once nobody can any more.
    virtual void appeared() {}
    virtual void disappeared() {}

    /// Puts a button at the row's end that opens a page of the desktop's settings, where the desktop has it.
    void addSettingsLink(QWidget& row, SystemSettings::Page page);

    const PanelParts& parts_;

private:
    void showEvent(QShowEvent* event) final;
    void hideEvent(QHideEvent* event) final;
};

}  // namespace dravo::ui
