#pragma once

#include <QLabel>

#include "ui/icons.h"
#include "ui/theme.h"

namespace dravo::ui {

/// The width in pixels of the longest part of `text` that cannot be broken.
[[nodiscard]] int longestWordOf(const QString& text, const QFontMetrics& metrics);

/// Plain text in one of the panel's styles. It is read as it stands: never as markup.
class Label : public QLabel {
    Q_OBJECT

public:
    Label(const QString& text, TextStyle style, Tone tone = Tone::plain);

    void setTone(Tone tone);
    /// Breaks the text into lines where the panel ends.
    Label* wrapped();
    [[nodiscard]] int longestWord() const { return longestWordOf(text(), fontMetrics()); }
    /// The least width in pixels in which the text needs no more than two lines.
    [[nodiscard]] int twoLineWidth() const;
    /// The toolkit's would be that of a much narrower label, and with it the whole panel's higher than the panel.
    [[nodiscard]] QSize minimumSizeHint() const override;
};

/// A figure that changes while one looks at it: its digits are all equally wide, so that nothing jiggles.
class FigureLabel : public Label {
    Q_OBJECT

public:
    FigureLabel(TextStyle style, Tone tone);

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    [[nodiscard]] bool needsCells() const;
    [[nodiscard]] int cellOf(QChar character) const;
};

/// An icon that says nothing by itself: the text beside it does.
class IconMark : public QWidget {
    Q_OBJECT

public:
    IconMark(Icon icon, int side, Tone tone);
    [[nodiscard]] QSize sizeHint() const override { return {side_, side_}; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    Icon icon_;
    int side_;
    Tone tone_;
};

/// A line across the whole panel, beyond its padding.
class Divider : public QWidget {
    Q_OBJECT

public:
    Divider();
    [[nodiscard]] QSize sizeHint() const override { return {1, 1}; }

protected:
    void paintEvent(QPaintEvent* event) override;
};

}  // namespace dravo::ui
