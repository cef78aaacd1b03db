#pragma once

#include <filesystem>
#include <functional>
#include <mutex>
#include <optional>

#include "base/localized.h"
#include "platform/gettext/catalogue.h"

namespace dravo::gettext {

/// Texts from the catalogues that come with the program, whatever locales the system has. The language is asked for and
/// its catalogue opened at the first text; nothing is read before. What the catalogue lacks is given in English, and
/// so is everything, with one line on standard error, if it cannot be read.
///
/// Thread: any.
class CatalogueLocalizer : public Localizer {
public:
    /// `folder` holds the catalogues as FOLDER/de/LC_MESSAGES/dravo.mo. `choose` is called once.
    CatalogueLocalizer(std::filesystem::path folder, std::function<InterfaceLocale()> choose);

    /// Where this program's catalogues are: ../share/locale as seen from the executable, built or installed.
    [[nodiscard]] static std::filesystem::path programFolder();

    std::string text(std::string_view key, std::string_view english) const override;
    std::string count(std::string_view key, std::string_view one, std::string_view other,
                      std::uint64_t count) const override;
    InterfaceLocale locale() const override;

private:
    struct Opened {
        InterfaceLocale locale;
        Catalogue catalogue;
    };
    [[nodiscard]] const Opened& opened() const;

    std::filesystem::path folder_;
    std::function<InterfaceLocale()> choose_;
    mutable std::recursive_mutex opening_;  ///< Recursive: what goes wrong at opening is told in words.
    mutable std::optional<Opened> opened_;  ///< Never changes once the opening is over.
};

}  // namespace dravo::gettext
