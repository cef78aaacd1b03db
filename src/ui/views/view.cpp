#include "ui/views/view.h"

#include <QLayout>
#include <QShowEvent>

#include "ui/controls/button.h"
#include "ui/texts.h"

namespace dravo::ui {

void View::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    if (!event->spontaneous()) appeared();
}

void View::hideEvent(QHideEvent* event) {
    QWidget::hideEvent(event);
    if (!event->spontaneous()) disappeared();
}

void View::addSettingsLink(QWidget& row, SystemSettings::Page page) {
    if (!parts_.systemSettings.offers(page)) return;
    row.layout()->addWidget(new PushButton(text("Open Settings"), PushButton::Kind::link,
                                           [this, page] { parts_.systemSettings.open(page); }));
}

}  // namespace dravo::ui
