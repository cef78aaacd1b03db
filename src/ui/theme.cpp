#include "ui/theme.h"

#include <QApplication>
#include <QFontDatabase>
#include <QScreen>
#include <QToolTip>
#include <algorithm>
#include <cmath>

namespace dravo::ui {

namespace {

constexpr double kTextContrast = 4.5;
constexpr double kFillContrast = 3.0;

double linear(double level) { return level <= 0.04045 ? level / 12.92 : std::pow((level + 0.055) / 1.055, 2.4); }

double luminance(const QColor& colour) {
    return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF()) + 0.0722 * linear(colour.blueF());
}

QColor withAlpha(QColor colour, double alpha) {
    colour.setAlphaF(static_cast<float>(alpha));
    return colour;
}

QColor mixed(const QColor& colour, const QColor& goal, double share) {
    return laidOver(withAlpha(goal, share), colour);
}

/// `colour` moved toward white on a dark ground, toward black on a light one, until it has `ratio` against it.
QColor readableOn(const QColor& ground, const QColor& colour, double ratio) {
    const QColor goal = luminance(ground) < 0.18 ? Qt::white : Qt::black;
    for (int share = 0; share < 100; share += 2) {
        const QColor candidate = mixed(colour, goal, share / 100.0);
        if (contrastRatio(candidate, ground) >= ratio) return candidate;
    }
    return goal;
}

/// White or black, the latter tinted with `fill`: what can be read on it.
QColor readableInk(const QColor& fill) {
    // White where it can be read. Else black: its tint is left out where it would cost that.
    if (contrastRatio(Qt::white, fill) >= kTextContrast) return Qt::white;
    const QColor tinted = mixed(fill, Qt::black, 0.88);
    return contrastRatio(tinted, fill) >= kTextContrast ? tinted : QColor(Qt::black);
}

Theme darkTheme() {
    Theme t;
    t.isDark = true;
    t.panel = QColor(0x1c, 0x1b, 0x1f);
    t.raised = QColor(0x2a, 0x29, 0x2e);
    t.sunk = QColor(0x15, 0x14, 0x17);
    t.pressed = withAlpha(Qt::white, 0.14);
    t.text = QColor(0xe9, 0xe6, 0xea);
    t.hairline = withAlpha(Qt::white, 0.10);
    t.accent = QColor(0xe0, 0xa3, 0x6b);
    t.knob = QColor(0xf3, 0xf0, 0xf4);
    t.green = QColor(0x7f, 0xcf, 0x9a);
    t.orange = QColor(0xe8, 0xa4, 0x5f);
    t.red = QColor(0xef, 0x8d, 0x84);
    t.shadow = withAlpha(Qt::black, 0.45);
    t.curveRed = QColor(0xe5, 0x74, 0x6a);
    t.curveGreen = QColor(0x74, 0xc0, 0x8a);
    t.curveBlue = QColor(0x6f, 0x9b, 0xe8);
    return t;
}

Theme lightTheme() {
    Theme t;
    t.isDark = false;
    t.panel = QColor(0xf6, 0xf4, 0xf2);
    t.raised = Qt::white;
    t.sunk = QColor(0xec, 0xea, 0xe7);
    t.pressed = withAlpha(Qt::black, 0.13);
    t.text = QColor(0x1f, 0x1d, 0x21);
    t.hairline = withAlpha(Qt::black, 0.10);
    t.accent = QColor(0xb0, 0x62, 0x2a);
    t.knob = Qt::white;
    t.green = QColor(0x1f, 0x6d, 0x45);
    t.orange = QColor(0x8f, 0x53, 0x10);
    t.red = QColor(0xb3, 0x37, 0x2c);
    t.shadow = withAlpha(Qt::black, 0.30);
    t.curveRed = QColor(0xc9, 0x4f, 0x44);
    t.curveGreen = QColor(0x2f, 0x8a, 0x55);
    t.curveBlue = QColor(0x3f, 0x6f, 0xc8);
    return t;
}

/// The surface on which a text colour has the least contrast.
QColor hardestGround(const Theme& t) { return t.isDark ? t.raised : t.sunk; }

Theme& current() {
    static Theme theme = Theme::of({});
    return theme;
}

struct Typeface {
    QFont font;
    double scale = 1;
};

/// Made once: looking for a family costs more than a start can spare.
Typeface& typeface() {
    static Typeface made = [] {
        QFont font = QFontDatabase::systemFont(QFontDatabase::GeneralFont);
        font.setFamilies({QStringLiteral("Inter"), font.family()});
        return Typeface{font};
    }();
    return made;
}

QString css(const QColor& colour) {
    return QStringLiteral("rgba(%1,%2,%3,%4)")
        .arg(colour.red())
        .arg(colour.green())
        .arg(colour.blue())
        .arg(static_cast<double>(colour.alphaF()), 0, 'f', 3);
}

}  // namespace

Theme Theme::of(const Appearance& appearance) {
    Theme t = appearance.scheme == Appearance::Scheme::light ? lightTheme() : darkTheme();
    t.reducedMotion = appearance.reducedMotion;
    if (appearance.accent) t.accent = QColor((*appearance.accent)[0], (*appearance.accent)[1], (*appearance.accent)[2]);
    t.secondary = withAlpha(t.text, t.isDark ? 0.66 : 0.72);
    if (appearance.highContrast) {
        t.text = t.isDark ? Qt::white : Qt::black;
        t.secondary = withAlpha(t.text, 0.9);
        t.hairline = withAlpha(t.text, 0.55);
        t.pressed = withAlpha(t.text, 0.32);
    }
    t.accent = readableOn(t.panel, t.accent, kFillContrast);
    t.accentText = readableOn(hardestGround(t), t.accent, kTextContrast);
    t.onAccent = readableInk(t.accent);
    return t;
}

QPalette Theme::palette() const {
    QPalette p;
    p.setColor(QPalette::Window, panel);
    p.setColor(QPalette::Base, sunk);
    p.setColor(QPalette::Button, raised);
    p.setColor(QPalette::WindowText, text);
    p.setColor(QPalette::Text, text);
    p.setColor(QPalette::ButtonText, text);
    p.setColor(QPalette::PlaceholderText, laidOver(secondary, sunk));
    p.setColor(QPalette::Link, accentText);
    p.setColor(QPalette::BrightText, green);
    p.setColor(QPalette::LinkVisited, orange);
    p.setColor(QPalette::Midlight, red);
    p.setColor(QPalette::Mid, laidOver(hairline, panel));
    p.setColor(QPalette::Highlight, accent);
    p.setColor(QPalette::HighlightedText, onAccent);
    p.setColor(QPalette::ToolTipBase, raised);
    p.setColor(QPalette::ToolTipText, text);
    return p;
}

QString Theme::styleSheet() const {
    return QStringLiteral(
               "QMenu { background: %1; color: %2; border: 1px solid %3; padding: 5px; }"
               "QMenu::item { padding: 5px 22px 5px 12px; border-radius: 5px; }"
               "QMenu::item:selected { background: %4; }"
               "QMenu::item:disabled { color: %5; }"
               "QMenu::icon { padding-left: 8px; }"
               "QMenu::separator { height: 1px; background: %3; margin: 5px 8px; }"
               "QScrollBar:vertical { background: transparent; width: 8px; margin: %6px 0; }"
               "QScrollBar::handle:vertical { background: %4; border-radius: 3px; min-height: 24px; margin: 1px; }"
               "QScrollBar::add-line, QScrollBar::sub-line { height: 0; }"
               "QScrollBar::add-page, QScrollBar::sub-page { background: transparent; }")
        .arg(css(raised), css(text), css(laidOver(hairline, raised)), css(laidOver(pressed, raised)),
             css(laidOver(secondary, raised)))
        .arg(kPanelRadius);  // the bar ends where the panel's corners begin
}

const Theme& theme() { return current(); }

void setTheme(const Theme& theme) {
    current() = theme;
    QApplication::setPalette(theme.palette());
    QToolTip::setPalette(theme.palette());
    QToolTip::setFont(fontOf(TextStyle::caption));
}

QFont fontOf(TextStyle style) {
    QFont font = typeface().font;
    // Sizes between two pixels are points at 96 dpi: 0.75 points are a pixel.
    const auto pixels = [&](double size) { font.setPointSizeF(size * 0.75 * typeface().scale); };
    switch (style) {
        case TextStyle::headline:
            pixels(15);
            break;
        case TextStyle::title:
        case TextStyle::body:
            pixels(13);
            break;
        case TextStyle::caption:
        case TextStyle::captionStrong:
            pixels(11.5);
            break;
        case TextStyle::caption2:
            pixels(10.5);
            break;
    }
    const bool isStrong =
        style == TextStyle::headline || style == TextStyle::title || style == TextStyle::captionStrong;
    font.setWeight(isStrong ? QFont::DemiBold : QFont::Normal);
    return font;
}

double textScale() {
    const auto* const screen = QGuiApplication::primaryScreen();
    return typeface().scale * (screen ? std::max(screen->logicalDotsPerInch() / 96, 1.0) : 1);
}

int forText(int length) { return static_cast<int>(std::lround(length * textScale())); }

void setTypeface(const QString& family, double scale) {
    typeface().font.setFamilies({family});
    typeface().scale = scale;
}

double contrastRatio(const QColor& one, const QColor& other) {
    const auto [darker, lighter] = std::minmax({luminance(one), luminance(other)});
    return (lighter + 0.05) / (darker + 0.05);
}

QColor laidOver(const QColor& above, const QColor& below) {
    const auto mix = [&](float over, float under) { return over * above.alphaF() + under * (1 - above.alphaF()); };
    return QColor::fromRgbF(mix(above.redF(), below.redF()), mix(above.greenF(), below.greenF()),
                            mix(above.blueF(), below.blueF()));
}

}  // namespace dravo::ui
