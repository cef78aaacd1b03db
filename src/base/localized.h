#pragma once

#include <string>
#include <string_view>

namespace dravo {

/// Looks texts up by key. The base class answers with the English default: what a machine without translations shows.
///
/// Thread: main thread.
class Localizer {
public:
    virtual ~Localizer() = default;
    [[nodiscard]] virtual std::string text(std::string_view key, std::string_view english) const {
        static_cast<void>(key);
        return std::string(english);
    }
};

/// The text for `key`, in the language of the localizer that the composition root installed, else `english`.
[[nodiscard]] std::string localized(std::string_view key, std::string_view english);

/// For texts whose key is the English text itself.
[[nodiscard]] inline std::string localized(std::string_view english) { return localized(english, english); }

/// Installs the process's localizer; null goes back to English. Lifetime: `localizer` outlives its installation.
void installLocalizer(const Localizer* localizer);

}  // namespace dravo
