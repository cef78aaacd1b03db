#include "ui/theme.h"

#include <gtest/gtest.h>

#include <optional>
#include <vector>

namespace dravo::ui {
namespace {

std::vector<Appearance> everyAppearance() {
    std::vector<Appearance> all;
    for (const auto scheme : {Appearance::Scheme::dark, Appearance::Scheme::light}) {
        for (const bool highContrast : {false, true}) {
            all.push_back({scheme, std::nullopt, highContrast, false});
            for (int red = 0; red <= 255; red += 51)
                for (int green = 0; green <= 255; green += 51)
                    for (int blue = 0; blue <= 255; blue += 51) {
                        const std::array<std::uint8_t, 3> accent{static_cast<std::uint8_t>(red),
                                                                 static_cast<std::uint8_t>(green),
                                                                 static_cast<std::uint8_t>(blue)};
                        all.push_back({scheme, accent, highContrast, false});
                    }
        }
    }
    return all;
}

TEST(ThemeTest, TextCanBeReadOnEverySurfaceWhateverTheDesktopsAccent) {
    constexpr double kText = 4.5;
    constexpr double kFill = 3.0;
    for (const auto& appearance : everyAppearance()) {
        const Theme t = Theme::of(appearance);
        const std::string where = t.accent.name().toStdString() + (t.isDark ? " dark" : " light");
        for (const QColor& surface : {t.panel, t.raised, t.sunk}) {
            for (const QColor& ink : {t.text, t.secondary, t.accentText, t.green, t.orange, t.red})
                EXPECT_GE(contrastRatio(laidOver(ink, surface), surface), kText)
                    << ink.name(QColor::HexArgb).toStdString() << " on " << surface.name().toStdString() << ", "
                    << where;
        }
        // The pale ground of a break, and a control under the pointer.
        QColor tint = t.green;
        tint.setAlphaF(0.1F);
        EXPECT_GE(contrastRatio(t.text, laidOver(tint, t.panel)), kText) << where;
        EXPECT_GE(contrastRatio(t.text, laidOver(t.pressed, t.raised)), kText) << where;
        EXPECT_GE(contrastRatio(t.onAccent, t.accent), kText) << where;
        EXPECT_GE(contrastRatio(t.accent, t.panel), kFill) << where;
    }
}

TEST(ThemeTest, StartsDarkWhileNobodyTells) {
    EXPECT_TRUE(Theme::of({}).isDark);
    EXPECT_EQ(Theme::of({}).panel, Theme::of({Appearance::Scheme::dark, {}, false, false}).panel);
}

TEST(ThemeTest, HighContrastHasVisibleEdges) {
    for (const auto scheme : {Appearance::Scheme::dark, Appearance::Scheme::light}) {
        const Theme t = Theme::of({scheme, {}, true, false});
        EXPECT_GE(contrastRatio(laidOver(t.hairline, t.panel), t.panel), 3);
        EXPECT_GE(contrastRatio(laidOver(t.pressed, t.panel), t.panel), 2);
    }
}

}  // namespace
}  // namespace dravo::ui
