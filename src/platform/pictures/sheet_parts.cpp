#include "platform/pictures/sheet_parts.h"

namespace dravo::pictures {

namespace {

void drawCurve(Canvas& canvas, const Box& box, const std::vector<float>& channel, const Ink& ink) {
    if (channel.size() < 2) return;
    cairo_t* const context = canvas.context();
    const double step = box.width / static_cast<double>(channel.size() - 1);
    for (std::size_t i = 0; i < channel.size(); ++i) {
        cairo_line_to(context, box.x + static_cast<double>(i) * step,
                      box.y + box.height * (1 - static_cast<double>(channel[i])));
    }
    canvas.use(ink);
    cairo_set_line_width(context, 1.8);
    cairo_set_line_join(context, CAIRO_LINE_JOIN_ROUND);
    cairo_set_line_cap(context, CAIRO_LINE_CAP_ROUND);
    // Light adds up: where curves lie on each other the line turns white instead of hiding two of them.
    cairo_set_operator(context, CAIRO_OPERATOR_SCREEN);
    cairo_stroke(context);
    cairo_set_operator(context, CAIRO_OPERATOR_OVER);
}

}  // namespace

void drawCard(Canvas& canvas, const Box& box) {
    canvas.fillRounded(box, kCardRadius, kCard);
    canvas.outlineRounded(box, kCardRadius, kHairline);
}

void drawCurves(Canvas& canvas, const Box& box, const GammaTable& table) {
    constexpr double kInset = 8;
    const Box plot{box.x + kInset, box.y + kInset, box.width - 2 * kInset, box.height - 2 * kInset};
    canvas.fillRounded(box, kPictureRadius, kSunk);
    for (const double quarter : {0.25, 0.5, 0.75}) {
        canvas.fill({plot.x, plot.y + plot.height * quarter, plot.width, 0.6}, {0xffffff, 0.05});
        canvas.fill({plot.x + plot.width * quarter, plot.y, 0.6, plot.height}, {0xffffff, 0.05});
    }
    drawCurve(canvas, plot, table.blue, {0x6f9be8});
    drawCurve(canvas, plot, table.green, {0x74c08a});
    drawCurve(canvas, plot, table.red, {0xe5746a});
}

}  // namespace dravo::pictures
