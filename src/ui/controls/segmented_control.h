#pragma once

#include <QWidget>
#include <functional>
#include <vector>

#include "ui/controls/button.h"

namespace dravo::ui {

/// A choice between a few, all of them in sight. It shows what it is told.
class SegmentedControl : public QWidget {
    Q_OBJECT

public:
    /// `onChoice` gets the index of every segment that a person chooses, also the present one.
    SegmentedControl(const QStringList& titles, const QString& name, const std::function<void(int)>& onChoice);

    void setChoice(int index);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    std::vector<Button*> segments_;
};

}  // namespace dravo::ui
