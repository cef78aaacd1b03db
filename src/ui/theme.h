#pragma once

#include <QColor>
#include <QFont>
#include <QPalette>
#include <QString>

#include "app/appearance_service.h"

namespace dravo::ui {

/// Text by its role in the panel.
enum class TextStyle { headline, title, body, caption, captionStrong, caption2 };

/// What a text's colour says.
enum class Tone { plain, secondary, accent, green, orange, red };

/// Every colour, size and font of the panel: nothing else names one. Lengths are pixels at scale 1.
///
/// Thread: main thread.
struct Theme {
    static constexpr int kPanelWidth = 320;  ///< For text, as `forText` has it.
    static constexpr int kPadding = 16;
    static constexpr int kBlockGap = 12;
    static constexpr int kGap = 8;
    static constexpr int kSmallGap = 4;
    static constexpr int kPanelRadius = 12;
    static constexpr int kControlRadius = 7;
    static constexpr int kTarget = 24;  ///< The least side of what can be clicked.
    static constexpr int kIcon = 16;
    static constexpr int kSmallIcon = 14;

    // The same in both schemes: nobody tells a program how bright the desktop's bar is.
    static constexpr QRgb kTrayGlyph = qRgb(240, 236, 241);
    static constexpr QRgb kTrayEdge = qRgba(20, 18, 22, 150);

    bool isDark = true;
    bool reducedMotion = false;

    QColor panel;    ///< Behind everything.
    QColor raised;   ///< Buttons, menus.
    QColor sunk;     ///< Fields, the segmented control's groove.
    QColor pressed;  ///< Hovered and pressed icon buttons; the part of a slider beyond its value.
    QColor text;
    QColor secondary;
    QColor hairline;
    QColor accent;      ///< Fills of what is on.
    QColor accentText;  ///< The accent where it is text.
    QColor onAccent;    ///< Text on such a fill.
    QColor knob;
    QColor green;
    QColor orange;
    QColor red;
    QColor shadow;

    /// The channels of a transfer curve.
    QColor curveRed;
    QColor curveGreen;
    QColor curveBlue;

    /// The theme for a desktop's wishes: dark where it has none. A desktop's accent is moved toward black or white
    /// until text in it and on it has 4.5:1, and a fill of it 3:1 against the panel.
    [[nodiscard]] static Theme of(const Appearance& appearance);

    /// Text colours stand under the roles of their tones, so that labels follow a change by themselves.
    [[nodiscard]] QPalette palette() const;

    /// For the toolkit's own menus and scroll bars: set on each, since a style sheet over all windows slows all of
    /// them.
    [[nodiscard]] QString styleSheet() const;
};

/// What is in force; dark until `setTheme`.
[[nodiscard]] const Theme& theme();

/// Puts a theme in force for all windows of the program.
void setTheme(const Theme& theme);

[[nodiscard]] QFont fontOf(TextStyle style);

/// The palette's role for a tone.
[[nodiscard]] QPalette::ColorRole roleOf(Tone tone);

/// How many times larger than at scale 1 text is, where the toolkit does not enlarge everything alike.
[[nodiscard]] double textScale();

/// The pixels of a length that has to hold text; `length` at scale 1.
[[nodiscard]] int forText(int length);

/// Sets all text of panels made from now on in this family, instead of the desktop's, and `scale` times as large: so
/// that pictures are the same on every machine.
void setTypeface(const QString& family, double scale = 1);

/// Where a line of text begins, and its middle; a painter mirrors it by itself where writing goes the other way.
inline constexpr int kLeadingAlignment = Qt::AlignLeft | Qt::AlignVCenter;

/// The contrast ratio of two opaque colours after WCAG 2, 1..21.
[[nodiscard]] double contrastRatio(const QColor& one, const QColor& other);

/// `above` with its opacity laid over the opaque `below`.
[[nodiscard]] QColor laidOver(const QColor& above, const QColor& below);

}  // namespace dravo::ui
