#include "platform/pictures/test_card.h"

#include <array>
#include <cmath>
#include <initializer_list>

#include "platform/pictures/canvas.h"

namespace dravo::pictures {

namespace {

struct Stop {
    double at;
    Ink ink;
};

void fillGradient(Canvas& canvas, const Box& box, double toX, double toY, std::initializer_list<Stop> stops) {
    cairo_pattern_t* const pattern = cairo_pattern_create_linear(box.x, box.y, toX, toY);
    for (const auto& [at, ink] : stops)
        cairo_pattern_add_color_stop_rgb(pattern, at, ink.red(), ink.green(), ink.blue());
    cairo_set_source(canvas.context(), pattern);
    cairo_rectangle(canvas.context(), box.x, box.y, box.width, box.height);
    cairo_fill(canvas.context());
    cairo_pattern_destroy(pattern);
}

void drawShadow(Canvas& canvas, const Box& box, double radius) {
    constexpr int kLayers = 12;
    for (int i = kLayers; i > 0; --i) {
        const double spread = i;
        canvas.fillRounded({box.x - spread, box.y - spread + 4, box.width + 2 * spread, box.height + 2 * spread},
                           radius + spread, {0x20304a, 0.016});
    }
}

void drawPaper(Canvas& canvas, const Box& box) {
    constexpr double kMargin = 36;
    constexpr double kTextSize = 15;
    constexpr double kLeading = 26;
    constexpr std::array kLines = {
        "Most of the light of a screen comes from its white:",
        "pages, forms and letters, open for hours a day.",
        "",
        "A filter lets through what the eye can bear and keeps",
        "back the rest. Black ink should stay black, and the",
        "words should stay as easy to read as before.",
        "",
        "Small print and thin lines show it first: a good filter",
        "takes the glare away and leaves the shapes alone.",
    };
    drawShadow(canvas, box, 6);
    canvas.fillRounded(box, 6, {0xffffff});
    canvas.text(box.x + kMargin, box.y + 68, "White paper, black ink", 27, Weight::Bold, {0x111111});
    canvas.fill({box.x + kMargin, box.y + 86, box.width - 2 * kMargin, 2}, {0x3a6ea8});
    double y = box.y + 126;
    for (const char* const line : kLines) {
        canvas.text(box.x + kMargin, y, line, kTextSize, Weight::Normal, {0x222222});
        y += *line ? kLeading : kLeading * 0.6;
    }
    canvas.text(box.x + kMargin, y + 14, "A link", kTextSize, Weight::Normal, {0x1558d6});
    canvas.text(box.x + kMargin + 70, y + 14, "a warning", kTextSize, Weight::Normal, {0xc4261d});
    canvas.text(box.x + kMargin + 166, y + 14, "a success", kTextSize, Weight::Normal, {0x15803d});
    canvas.text(box.x + kMargin, y + 44, "Grey on white, in the smallest size that is still in use.", 11,
                Weight::Normal, {0x777777});
    for (int i = 0; i < 8; ++i) {  // hairlines, ever closer
        canvas.fill({box.x + kMargin, y + 66 + i * (3 + 0.5 * i), box.width - 2 * kMargin, 1}, {0x000000, 0.75});
    }
}

void drawHill(Canvas& canvas, const Box& box, double height, double phase, const Ink& ink) {
    cairo_t* const context = canvas.context();
    cairo_move_to(context, box.x, box.y + box.height);
    for (double x = 0; x <= box.width; x += 2) {
        const double wave = std::sin(x / 47 + phase) * 9 + std::sin(x / 19 + 2 * phase) * 3;
        cairo_line_to(context, box.x + x, box.y + box.height - height - wave);
    }
    cairo_line_to(context, box.x + box.width, box.y + box.height);
    cairo_close_path(context);
    canvas.use(ink);
    cairo_fill(context);
}

void drawLandscape(Canvas& canvas, const Box& box) {
    drawShadow(canvas, box, 6);
    cairo_save(canvas.context());
    cairo_rectangle(canvas.context(), box.x, box.y, box.width, box.height);
    cairo_clip(canvas.context());
    fillGradient(canvas, box, box.x, box.y + box.height,
                 {{0, 0x3f8fe0}, {0.45, 0xa9d6f7}, {0.7, 0xfff3d6}, {0.85, 0xffc98a}});
    const double sunX = box.x + box.width * 0.68;
    const double sunY = box.y + box.height * 0.55;
    for (const double radius : {58.0, 46.0, 36.0}) canvas.fillCircle(sunX, sunY, radius, {0xfff6cf, 0.25});
    canvas.fillCircle(sunX, sunY, 27, {0xfffdf2});
    drawHill(canvas, box, 74, 0.4, {0x7fa6a3});
    drawHill(canvas, box, 50, 2.1, {0x4d8a66});
    drawHill(canvas, box, 26, 4.0, {0x2c5a3a});
    cairo_restore(canvas.context());
}

void drawColours(Canvas& canvas, const Box& box) {
    constexpr std::array<unsigned, 8> kColours = {0xff0000, 0xff8000, 0xffff00, 0x00ff00,
                                                  0x00ffff, 0x0000ff, 0x8000ff, 0xff00ff};
    constexpr double kRows = 3;
    const double height = box.height / kRows;
    const double width = box.width / kColours.size();
    drawShadow(canvas, box, 2);
    // Each field reaches to the right edge and is painted over by the next: no seam shines through between them.
    for (std::size_t i = 0; i < kColours.size(); ++i) {
        const double offset = static_cast<double>(i) * width;
        canvas.fill({box.x + offset, box.y, box.width - offset, height}, {kColours[i]});
    }
    constexpr int kGreys = 11;
    const double step = box.width / kGreys;
    for (unsigned i = 0; i < kGreys; ++i) {
        const unsigned grey = i * 255 / (kGreys - 1);
        canvas.fill({box.x + i * step, box.y + height, box.width - i * step, height}, {grey << 16 | grey << 8 | grey});
    }
    const Box ramp{box.x, box.y + 2 * height, box.width, height};
    fillGradient(canvas, ramp, box.x + box.width, ramp.y, {{0, 0x000000}, {1, 0xffffff}});
}

}  // namespace

Result<Picture> drawTestCard(double scale) {
    Canvas canvas(kTestCardWidth, kTestCardHeight, scale);
    fillGradient(canvas, {0, 0, kTestCardWidth, kTestCardHeight}, kTestCardWidth, kTestCardHeight,
                 {{0, 0xbfe0ff}, {0.5, 0xffffff}, {1, 0xffdcb0}});
    drawPaper(canvas, {44, 44, 486, 512});
    drawLandscape(canvas, {570, 44, 346, 270});
    drawColours(canvas, {570, 354, 346, 202});
    return canvas.picture();
}

}  // namespace dravo::pictures
