#pragma once

namespace dravo {

/// A colour with components 0..1.
struct Rgb {
    double red = 0;
    double green = 0;
    double blue = 0;
    bool operator==(const Rgb&) const = default;
};

}  // namespace dravo
