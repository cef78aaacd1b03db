#include "ui/theme.h"

#include <QApplication>
#include <QFontDatabase>
#include <QScreen>
#include <QToolTip>
#include <algorithm>
#include <cmath>
#include <utility>

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

struct Shade {
    QRgb colour;
    double opacity = 1;
};

struct Token {
    QColor Theme::*colour;
    Shade dark;
    Shade light;
};

constexpr Token kTokens[] = {
    {&Theme::panel, {0x1c1b1f}, {0xf6f4f2}},
    {&Theme::raised, {0x2a292e}, {0xffffff}},
    {&Theme::sunk, {0x151417}, {0xeceae7}},
    {&Theme::pressed, {0xffffff, 0.14}, {0x000000, 0.13}},
    {&Theme::text, {0xe9e6ea}, {0x1f1d21}},
    {&Theme::secondary, {0xe9e6ea, 0.66}, {0x1f1d21, 0.72}},
    {&Theme::hairline, {0xffffff, 0.10}, {0x000000, 0.10}},
    {&Theme::accent, {0xe0a36b}, {0xb0622a}},
    {&Theme::knob, {0xf3f0f4}, {0xffffff}},
    {&Theme::green, {0x7fcf9a}, {0x1f6d45}},
    {&Theme::orange, {0xe8a45f}, {0x8f5310}},
    {&Theme::red, {0xef8d84}, {0xb3372c}},
    {&Theme::shadow, {0x000000, 0.45}, {0x000000, 0.30}},
    {&Theme::curveRed, {0xe5746a}, {0xc94f44}},
    {&Theme::curveGreen, {0x74c08a}, {0x2f8a55}},
    {&Theme::curveBlue, {0x6f9be8}, {0x3f6fc8}},
};

struct Lettering {
    double pixels;
    QFont::Weight weight;
};

/// In the order of `TextStyle`.
constexpr Lettering kLettering[] = {
    {15, QFont::DemiBold}, {13, QFont::DemiBold},   {13, QFont::Normal},
    {11.5, QFont::Normal}, {11.5, QFont::DemiBold}, {10.5, QFont::Normal},
};

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
    Theme t;
    t.isDark = appearance.scheme != Appearance::Scheme::light;
    t.reducedMotion = appearance.reducedMotion;
    for (const auto& [colour, dark, light] : kTokens) {
        const Shade& shade = t.isDark ? dark : light;
        t.*colour = withAlpha(QColor(shade.colour), shade.opacity);
    }
    if (appearance.accent) t.accent = QColor((*appearance.accent)[0], (*appearance.accent)[1], (*appearance.accent)[2]);
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
    const std::pair<QPalette::ColorRole, QColor> colours[] = {
        {QPalette::Window, panel},          {QPalette::Base, sunk},
        {QPalette::Button, raised},         {QPalette::Text, text},
        {QPalette::ButtonText, text},       {QPalette::Mid, laidOver(hairline, panel)},
        {QPalette::Highlight, accent},      {QPalette::HighlightedText, onAccent},
        {QPalette::ToolTipBase, raised},    {QPalette::ToolTipText, text},
        {roleOf(Tone::plain), text},        {roleOf(Tone::secondary), laidOver(secondary, sunk)},
        {roleOf(Tone::accent), accentText}, {roleOf(Tone::green), green},
        {roleOf(Tone::orange), orange},     {roleOf(Tone::red), red},
    };
    for (const auto& [role, colour] : colours) p.setColor(role, colour);
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

QPalette::ColorRole roleOf(Tone tone) {
    constexpr QPalette::ColorRole kRoles[] = {QPalette::WindowText, QPalette::PlaceholderText, QPalette::Link,
                                              QPalette::BrightText, QPalette::LinkVisited,     QPalette::Midlight};
    return kRoles[static_cast<std::size_t>(tone)];
}

QFont fontOf(TextStyle style) {
    QFont font = typeface().font;
    const auto& [pixels, weight] = kLettering[static_cast<std::size_t>(style)];
    // Sizes between two pixels are points at 96 dpi: 0.75 points are a pixel.
    font.setPointSizeF(pixels * 0.75 * typeface().scale);
    font.setWeight(weight);
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
