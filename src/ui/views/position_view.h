#pragma once

#include "ui/controls/button.h"
#include "ui/controls/fields.h"
#include "ui/controls/label.h"
#include "ui/views/view.h"

namespace dravo::ui {

/// Sunset and sunrise at the person's place, or what is missing for it, and where the place comes from: the desktop's
/// location service, the time zone, or the person.
class PositionView : public View {
public:
    explicit PositionView(const PanelParts& parts);
    void refresh() override;

protected:
    void disappeared() override { isChoosing_ = false; }

private:
    [[nodiscard]] QWidget* makeRow(Icon icon, Label*& label, TextStyle style);
    [[nodiscard]] QWidget* makeChoice();
    void setChoosing(bool isChoosing);
    void take(LocationSource source);
    void takeTyped();
    [[nodiscard]] QString sourceText(bool isDenied) const;

    QWidget* timesRow_;
    QWidget* deniedRow_;
    QWidget* waitingRow_;
    Label* times_ = nullptr;
    Label* denied_ = nullptr;
    Label* waiting_ = nullptr;
    Label* source_ = nullptr;
    PushButton* change_ = nullptr;
    QWidget* choice_;
    TextField* latitude_ = nullptr;
    TextField* longitude_ = nullptr;
    Label* complaint_ = nullptr;
    bool isChoosing_ = false;
};

}  // namespace dravo::ui
