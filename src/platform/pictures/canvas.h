#pragma once

#include <cairo.h>

#include <string>

#include "base/owned.h"
#include "base/result.h"
#include "pictures/picture.h"

namespace dravo::pictures {

/// A colour as written in style sheets, with an opacity.
struct Ink {
    unsigned rgb = 0;
    double alpha = 1;

    // As the drawing library takes them, 0..1.
    [[nodiscard]] double red() const { return (rgb >> 16 & 0xff) / 255.0; }
    [[nodiscard]] double green() const { return (rgb >> 8 & 0xff) / 255.0; }
    [[nodiscard]] double blue() const { return (rgb & 0xff) / 255.0; }
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
    /// Draws with this from now on.
    void use(const Ink& ink);

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
    void roundedPath(const Box& box, double radius);
    void useFont(double size, Weight weight);
    [[nodiscard]] double advance(const std::string& text);
    [[nodiscard]] std::string shortened(std::string text, double maxWidth);

    Owned<cairo_surface_t, cairo_surface_destroy> surface_;
    Owned<cairo_t, cairo_destroy> context_;
};

}  // namespace dravo::pictures
