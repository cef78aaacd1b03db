#include "platform/pictures/canvas.h"

#include <cmath>
#include <cstdint>
#include <cstring>
#include <numbers>

#include "base/utf8.h"

namespace dravo::pictures {

namespace {

constexpr double kFullTurn = 2 * std::numbers::pi;

}  // namespace

Canvas::Canvas(double width, double height, double scale)
    : surface_(cairo_image_surface_create(CAIRO_FORMAT_RGB24, static_cast<int>(std::lround(width * scale)),
                                          static_cast<int>(std::lround(height * scale)))),
      context_(cairo_create(surface_.get())) {
    cairo_scale(context(), scale, scale);
    // Grey antialiasing: coloured fringes belong to one kind of screen, and a filter would colour them.
    cairo_font_options_t* const options = cairo_font_options_create();
    cairo_font_options_set_antialias(options, CAIRO_ANTIALIAS_GRAY);
    cairo_font_options_set_hint_style(options, CAIRO_HINT_STYLE_NONE);
    cairo_font_options_set_hint_metrics(options, CAIRO_HINT_METRICS_OFF);
    cairo_set_font_options(context(), options);
    cairo_font_options_destroy(options);
}

void Canvas::use(const Ink& ink) { cairo_set_source_rgba(context(), ink.red(), ink.green(), ink.blue(), ink.alpha); }

void Canvas::roundedPath(const Box& box, double radius) {
    constexpr double kQuarter = kFullTurn / 4;
    const double right = box.x + box.width - radius;
    const double bottom = box.y + box.height - radius;
    cairo_new_sub_path(context());
    cairo_arc(context(), right, box.y + radius, radius, -kQuarter, 0);
    cairo_arc(context(), right, bottom, radius, 0, kQuarter);
    cairo_arc(context(), box.x + radius, bottom, radius, kQuarter, 2 * kQuarter);
    cairo_arc(context(), box.x + radius, box.y + radius, radius, 2 * kQuarter, 3 * kQuarter);
    cairo_close_path(context());
}

void Canvas::fill(const Box& box, const Ink& ink) {
    use(ink);
    cairo_rectangle(context(), box.x, box.y, box.width, box.height);
    cairo_fill(context());
}

void Canvas::fillRounded(const Box& box, double radius, const Ink& ink) {
    use(ink);
    roundedPath(box, radius);
    cairo_fill(context());
}

void Canvas::outlineRounded(const Box& box, double radius, const Ink& ink) {
    use(ink);
    cairo_set_line_width(context(), 1);
    roundedPath({box.x + 0.5, box.y + 0.5, box.width - 1, box.height - 1}, radius - 0.5);
    cairo_stroke(context());
}

void Canvas::fillCircle(double x, double y, double radius, const Ink& ink) {
    use(ink);
    cairo_arc(context(), x, y, radius, 0, kFullTurn);
    cairo_fill(context());
}

void Canvas::useFont(double size, Weight weight) {
    cairo_select_font_face(context(), "sans-serif", CAIRO_FONT_SLANT_NORMAL,
                           weight == Weight::Bold ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(context(), size);
}

double Canvas::advance(const std::string& text) {
    cairo_text_extents_t extents;
    cairo_text_extents(context(), text.c_str(), &extents);
    return extents.x_advance;
}

std::string Canvas::shortened(std::string text, double maxWidth) {
    if (maxWidth <= 0 || advance(text) <= maxWidth) return text;
    while (!text.empty() && advance(text + "…") > maxWidth) {
        do {
            const bool continues = continuesCharacter(text.back());
            text.pop_back();
            if (!continues) break;
        } while (!text.empty());
    }
    return text + "…";
}

void Canvas::text(double x, double y, const std::string& text, double size, Weight weight, const Ink& ink,
                  double maxWidth) {
    useFont(size, weight);
    use(ink);
    cairo_move_to(context(), x, y);
    cairo_show_text(context(), shortened(text, maxWidth).c_str());
}

void Canvas::textRight(double x, double y, const std::string& text, double size, Weight weight, const Ink& ink) {
    useFont(size, weight);
    this->text(x - advance(text), y, text, size, weight, ink);
}

void Canvas::picture(const Picture& picture, const Box& box, double radius) {
    const int width = static_cast<int>(picture.width);
    const int height = static_cast<int>(picture.height);
    const Owned<cairo_surface_t, cairo_surface_destroy> source(
        cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height));
    unsigned char* const target = cairo_image_surface_get_data(source.get());
    if (!target) return;
    const auto stride = static_cast<std::size_t>(cairo_image_surface_get_stride(source.get()));
    cairo_surface_flush(source.get());
    for (std::size_t y = 0; y < picture.height; ++y) {
        for (std::size_t x = 0; x < picture.width; ++x) {
            const std::uint8_t* const pixel = picture.pixels.data() + (y * picture.width + x) * 4;
            const std::uint32_t packed = (std::uint32_t{pixel[0]} << 16) | (std::uint32_t{pixel[1]} << 8) | pixel[2];
            std::memcpy(target + y * stride + x * 4, &packed, sizeof packed);
        }
    }
    cairo_surface_mark_dirty(source.get());
    cairo_save(context());
    roundedPath(box, radius);
    cairo_clip(context());
    cairo_translate(context(), box.x, box.y);
    cairo_scale(context(), box.width / width, box.height / height);
    cairo_set_source_surface(context(), source.get(), 0, 0);
    cairo_paint(context());
    cairo_restore(context());
}

Result<Picture> Canvas::picture() {
    cairo_surface_flush(surface_.get());
    const unsigned char* const source = cairo_image_surface_get_data(surface_.get());
    if (!source || cairo_status(context()) != CAIRO_STATUS_SUCCESS) {
        return Error{ErrorCode::Internal,
                     std::string("drawing failed: ") + cairo_status_to_string(cairo_status(context()))};
    }
    Picture result;
    result.width = static_cast<std::uint32_t>(cairo_image_surface_get_width(surface_.get()));
    result.height = static_cast<std::uint32_t>(cairo_image_surface_get_height(surface_.get()));
    result.pixels.reserve(std::size_t{4} * result.width * result.height);
    const auto stride = static_cast<std::size_t>(cairo_image_surface_get_stride(surface_.get()));
    for (std::size_t y = 0; y < result.height; ++y) {
        for (std::size_t x = 0; x < result.width; ++x) {
            std::uint32_t packed = 0;
            std::memcpy(&packed, source + y * stride + x * 4, sizeof packed);
            for (const unsigned shift : {16u, 8u, 0u}) {
                result.pixels.push_back(static_cast<std::uint8_t>((packed >> shift) & 0xff));
            }
            result.pixels.push_back(0xff);
        }
    }
    return result;
}

}  // namespace dravo::pictures
