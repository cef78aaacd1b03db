#pragma once

#include <QWidget>

#include "display/gamma_table.h"

namespace dravo::ui {

/// The three curves of a transfer table: what goes in from left to right, what comes out upward.
class CurveView : public QWidget {
    Q_OBJECT

public:
    explicit CurveView(const QString& name);

    void setTable(const GammaTable& table);
    [[nodiscard]] QSize sizeHint() const override { return {288, 64}; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    GammaTable table_;
};

}  // namespace dravo::ui
