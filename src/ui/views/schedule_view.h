#pragma once

#include "ui/controls/fields.h"
#include "ui/controls/label.h"
#include "ui/controls/segmented_control.h"
#include "ui/controls/toggle_row.h"
#include "ui/views/view.h"

namespace dravo::ui {

class PositionView;

/// When the filter goes on and off by itself.
class ScheduleView : public View {
public:
    explicit ScheduleView(const PanelParts& parts);
    void refresh() override;

protected:
    void appeared() override;

private:
    [[nodiscard]] QWidget* makeTimesRow();
    [[nodiscard]] int shownMinutes(std::int64_t stored) const;
    [[nodiscard]] QString nextChangeText() const;
    void setMode(ScheduleMode mode);

    ToggleRow* header_;
    QWidget* content_;
    SegmentedControl* mode_;
    TimeField* start_ = nullptr;
    TimeField* end_ = nullptr;
    QWidget* timesRow_;
    Label* neverOn_;
    PositionView* position_;
    Label* nextChange_;
};

}  // namespace dravo::ui
