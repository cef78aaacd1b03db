#pragma once

#include <vector>

#include "app/port_report.h"
#include "ui/controls/button.h"
#include "ui/controls/label.h"
#include "ui/views/view.h"

namespace dravo::ui {

/// What works on this desktop and what does not, unfolded from a row of the settings. It looks whenever it comes into
/// sight unfolded.
class DoctorView : public View {
public:
    explicit DoctorView(const PanelParts& parts);
    void refresh() override {}

protected:
    void appeared() override;
    void disappeared() override { examination_.reset(); }

private:
    void unfold(bool isUnfolded);
    void look();
    void show(const std::vector<PortReport>& reports);

    DisclosureButton* header_;
    Label* waiting_;
    QWidget* list_;
    std::vector<PortReport> shown_;
    Subscription examination_;
};

}  // namespace dravo::ui
