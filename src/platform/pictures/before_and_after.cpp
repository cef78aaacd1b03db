#include "base/localized.h"
#include "platform/pictures/sheet_parts.h"
#include "platform/pictures/sheets.h"
#include "platform/pictures/test_card.h"

namespace dravo::pictures {

namespace {

constexpr double kHalfWidth = 528;
constexpr double kHalfHeight = kHalfWidth * kTestCardHeight / kTestCardWidth;
constexpr double kWholeWidth = 2 * kHalfWidth + 2 * kOuterPadding + 2 * kCardPadding + kGap;
constexpr double kRowHeader = 34;
constexpr double kSmallCurves = 84;
constexpr double kRowHeight = kRowHeader + kHalfHeight + kSmallCurves + 3 * kCardPadding;
constexpr double kFlatRowHeight = kRowHeader + kCardPadding;
constexpr double kTitleHeight = 84;

double rowHeight(const DisplayCell& cell) { return cell.table ? kRowHeight : kFlatRowHeight; }

void drawRow(Canvas& canvas, double y, const DisplayCell& cell, const Picture& testCard) {
    drawCard(canvas, {kOuterPadding, y, kWholeWidth - 2 * kOuterPadding, rowHeight(cell)});
    const double left = kOuterPadding + kCardPadding;
    const double right = left + kHalfWidth + kGap;
    canvas.text(left, y + 27, cell.name, 15, Weight::Bold, kText, 240);
    canvas.textRight(right + kHalfWidth, y + 27, cell.note, 11.5, Weight::Normal, kSecondaryText);
    if (!cell.table) return;
    const double top = y + kRowHeader + kCardPadding / 2;
    Picture filtered = testCard;
    applyTable(filtered, *cell.table);
    canvas.picture(testCard, {left, top, kHalfWidth, kHalfHeight}, kPictureRadius);
    canvas.picture(filtered, {right, top, kHalfWidth, kHalfHeight}, kPictureRadius);
    const double curves = top + kHalfHeight + kCardPadding;
    drawCurves(canvas, {left, curves, kHalfWidth, kSmallCurves}, GammaTable::identity());
    drawCurves(canvas, {right, curves, kHalfWidth, kSmallCurves}, *cell.table);
}

}  // namespace

Result<Picture> drawBeforeAndAfter(std::span<const DisplayCell> cells) {
    const auto testCard = drawTestCard(kHalfWidth * kSheetScale / kTestCardWidth);
    if (!testCard) return testCard.error();
    double height = kTitleHeight + kOuterPadding;
    for (const DisplayCell& cell : cells) height += rowHeight(cell) + kGap;
    height += kOuterPadding - kGap;
    Canvas canvas(kWholeWidth, height, kSheetScale);
    canvas.fill({0, 0, kWholeWidth, height}, kBackground);
    canvas.text(kOuterPadding, kOuterPadding + 24, localized("picture.displays", "Without and with the filter"), 24,
                Weight::Bold, kText);
    canvas.text(kOuterPadding, kOuterPadding + 50,
                localized("picture.displays_note",
                          "A screenshot does not show what a transfer table does. This picture is computed from the "
                          "tables that the display server holds now: left as sent, right as shown."),
                13, Weight::Normal, kSecondaryText, kWholeWidth - 2 * kOuterPadding);
    double y = kTitleHeight + kOuterPadding;
    for (const DisplayCell& cell : cells) {
        drawRow(canvas, y, cell, *testCard);
        y += rowHeight(cell) + kGap;
    }
    return canvas.picture();
}

}  // namespace dravo::pictures
