#include "platform/gettext/catalogue_localizer.h"

#include <utility>

#include "base/files.h"
#include "base/report.h"

namespace dravo::gettext {

namespace {

constexpr std::size_t kLargestCatalogue = 4 << 20;

Result<Catalogue> read(const std::filesystem::path& path) {
    auto bytes = readFile(path, kLargestCatalogue);
    if (!bytes) return bytes.error();
    auto catalogue = Catalogue::parse(std::move(*bytes));
    if (!catalogue) return Error{ErrorCode::InvalidInput, path.string() + ": " + inEnglish(catalogue.error().message)};
    return catalogue;
}

}  // namespace

CatalogueLocalizer::CatalogueLocalizer(std::filesystem::path folder, std::function<InterfaceLocale()> choose)
    : folder_(std::move(folder)), choose_(std::move(choose)) {}

std::filesystem::path CatalogueLocalizer::programFolder() {
    std::error_code ignored;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", ignored);
    return program.parent_path().parent_path() / "share" / "locale";
}

std::string CatalogueLocalizer::text(std::string_view key, std::string_view english) const {
    return std::string(opened().catalogue.text(key, english).value_or(english));
}

std::string CatalogueLocalizer::count(std::string_view key, std::string_view one, std::string_view other,
                                      std::uint64_t count) const {
    const Opened& shown = opened();
    const auto found = shown.catalogue.text(key, one, shown.locale.pluralRule(count));
    return found ? std::string(*found) : Localizer::count(key, one, other, count);
}

InterfaceLocale CatalogueLocalizer::locale() const { return opened().locale; }

const CatalogueLocalizer::Opened& CatalogueLocalizer::opened() const {
    const std::lock_guard lock(opening_);
    if (opened_) return *opened_;
    // In place before anything is read: a complaint about a file asks for texts, too.
    opened_.emplace();
    opened_->locale = choose_();
    if (opened_->locale.language == InterfaceLocale{}.language) return *opened_;
    auto catalogue = read(folder_ / opened_->locale.language / "LC_MESSAGES" / "dravo.mo");
    if (catalogue)
        opened_->catalogue = std::move(*catalogue);
    else
        reportOnce("no-translation", catalogue.error().message);
    return *opened_;
}

}  // namespace dravo::gettext
