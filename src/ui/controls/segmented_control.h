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
    SegmentedControl(const QStringList& titles, const QString& name, QWidget* parent = nullptr);

    void setChoice(int index);
    /// `handler` gets the index of every segment that a person chooses, also the present one.
    void onChoice(std::function<void(int)> handler) { onChoice_ = std::move(handler); }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    std::vector<Button*> segments_;
    std::function<void(int)> onChoice_;
};

}  // namespace dravo::ui
