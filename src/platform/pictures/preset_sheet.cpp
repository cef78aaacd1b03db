#include <algorithm>
#include <cmath>

#include "base/localized.h"
#include "platform/pictures/sheet_parts.h"
#include "platform/pictures/sheets.h"
#include "platform/pictures/test_card.h"

namespace dravo::pictures {

namespace {

constexpr std::size_t kColumns = 3;
constexpr double kPictureWidth = 352;
constexpr double kPictureHeight = kPictureWidth * kTestCardHeight / kTestCardWidth;
constexpr double kCurvesHeight = 84;
constexpr double kCardWidth = kPictureWidth + 2 * kCardPadding;
constexpr double kCardHeight = kPictureHeight + kCurvesHeight + 2 * kCardPadding + 70;
constexpr double kHeaderHeight = 84;
constexpr double kSheetWidth =
    2 * kOuterPadding + kCardWidth * static_cast<double>(kColumns) + kGap * static_cast<double>(kColumns - 1);

unsigned packed(const Rgb& colour) {
    unsigned result = 0;
    for (const double level : {colour.red, colour.green, colour.blue}) {
        result = result << 8 | static_cast<unsigned>(std::lround(std::clamp(level, 0.0, 1.0) * 255));
    }
    return result;
}

void drawCell(Canvas& canvas, double x, double y, const PresetCell& cell, const Picture& testCard) {
    Picture filtered = testCard;
    applyTable(filtered, cell.table);
    drawCard(canvas, {x, y, kCardWidth, kCardHeight});
    const double left = x + kCardPadding;
    canvas.picture(filtered, {left, y + kCardPadding, kPictureWidth, kPictureHeight}, kPictureRadius);

    const double nameLine = y + kCardPadding + kPictureHeight + 27;
    canvas.fillCircle(left + 7, nameLine - 5, 7, {cell.swatch ? packed(*cell.swatch) : 0x8e8e93u});
    canvas.text(left + 22, nameLine, cell.name, 15, Weight::Bold, kText, kPictureWidth - 150);
    canvas.textRight(left + kPictureWidth, nameLine, cell.id, 11.5, Weight::Normal, kSecondaryText);
    canvas.text(left, nameLine + 22, cell.note, 11.5, Weight::Normal, kSecondaryText, kPictureWidth);
    drawCurves(canvas, {left, nameLine + 35, kPictureWidth, kCurvesHeight}, cell.table);
}

void drawHeader(Canvas& canvas) {
    canvas.text(kOuterPadding, kOuterPadding + 24, "Dravo", 24, Weight::Bold, kText);
    canvas.text(
        kOuterPadding, kOuterPadding + 50,
        localized("picture.presets_note",
                  "One bright screen under every preset, and what becomes of each level of red, green and blue."),
        13, Weight::Normal, kSecondaryText);
}

}  // namespace

Result<Picture> drawPresetSheet(std::span<const PresetCell> cells) {
    const auto testCard = drawTestCard(kPictureWidth * kSheetScale / kTestCardWidth);
    if (!testCard) return testCard.error();
    const std::size_t rows = (cells.size() + kColumns - 1) / kColumns;
    const double height =
        kHeaderHeight + kOuterPadding + static_cast<double>(rows) * (kCardHeight + kGap) + kOuterPadding - kGap;
    Canvas canvas(kSheetWidth, height, kSheetScale);
    canvas.fill({0, 0, kSheetWidth, height}, kBackground);
    drawHeader(canvas);
    for (std::size_t i = 0; i < cells.size(); ++i) {
        const std::size_t row = i / kColumns;
        drawCell(canvas, kOuterPadding + static_cast<double>(i % kColumns) * (kCardWidth + kGap),
                 kHeaderHeight + kOuterPadding + static_cast<double>(row) * (kCardHeight + kGap), cells[i], *testCard);
    }
    return canvas.picture();
}

}  // namespace dravo::pictures
