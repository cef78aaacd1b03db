#include "ui/views/view.h"

#include <QLayout>

#include "ui/controls/button.h"
#include "ui/texts.h"

namespace dravo::ui {

void View::addSettingsLink(QWidget& row, SystemSettings::Page page) {
    if (!parts_.systemSettings.offers(page)) return;
    row.layout()->addWidget(new PushButton(text("Open Settings"), PushButton::Kind::link,
                                           [this, page] { parts_.systemSettings.open(page); }));
}

}  // namespace dravo::ui
