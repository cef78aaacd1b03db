#pragma once

#include <cairo.h>

#include <memory>
#include <string>

#include "base/result.h"
#include "pictures/picture.h"

namespace dravo::pictures {

/// A colour as written in style sheets, with an opacity.
struct Ink {
    unsigned rgb = 0;
    double alpha = 1;
};

struct Box {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;
};

enum class Weight { Normal, Bold };

/// A drawing surface in units that are independent of its resolution.
///
/// Failures of the drawing library are kept inside and told by `picture()`.
class Canvas {
public:
    /// `scale` pixels for one unit.
    Canvas(double width, double height, double scale);

    [[nodiscard]] cairo_t* context() { return context_.get(); }

    void fill(const Box& box, const Ink& ink);
    void fillRounded(const Box& box, double radius, const Ink& ink);
    void outlineRounded(const Box& box, double radius, const Ink& ink);
    void fillCircle(double x, double y, double radius, const Ink& ink);

    /// One line of text whose baseline starts at `x`, `y`; shortened with an ellipsis to `maxWidth` if that is above 0.
    void text(double x, double y, const std::string& text, double size, Weight weight, const Ink& ink,
              double maxWidth = 0);
    /// The same, ending at `x`.
    void textRight(double x, double y, const std::string& text, double size, Weight weight, const Ink& ink);

    /// `picture` scaled into `box` with rounded corners.
    void picture(const Picture& picture, const Box& box, double radius);

    /// What was drawn, without alpha.
    /// Errors: `Internal`.
    [[nodiscard]] Result<Picture> picture();

private:
    struct Deleter {
        void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
        void operator()(cairo_t* context) const { cairo_destroy(context); }
    };

    void use(const Ink& ink);
    void roundedPath(const Box& box, double radius);
    void useFont(double size, Weight weight);
    [[nodiscard]] double advance(const std::string& text);
    [[nodiscard]] std::string shortened(std::string text, double maxWidth);

    std::unique_ptr<cairo_surface_t, Deleter> surface_;
    std::unique_ptr<cairo_t, Deleter> context_;
};

}  // namespace dravo::pictures
