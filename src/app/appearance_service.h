#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <optional>

#include "base/probe.h"
#include "base/subscription.h"

namespace dravo {

/// How the desktop wants its programs to look.
struct Appearance {
    enum class Scheme { unknown, dark, light };

    Scheme scheme = Scheme::unknown;
    std::optional<std::array<std::uint8_t, 3>> accent;  ///< sRGB
    bool highContrast = false;
    bool reducedMotion = false;

    bool operator==(const Appearance&) const = default;
};

/// Tells the desktop's appearance. Never blocks and never fails: what is not known yet, or never will be, has the
/// values above.
///
/// Thread: main thread.
class AppearanceService : public Probed {
public:
    [[nodiscard]] virtual Appearance appearance() const = 0;

    /// `callback` comes after every change, the first answer of the desktop included.
    [[nodiscard]] virtual Subscription onChange(std::function<void()> callback) = 0;
};

}  // namespace dravo
