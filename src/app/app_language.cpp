#include "app/app_language.h"

#include <algorithm>
#include <array>
#include <vector>

#include "base/localized.h"
#include "filter/preferences_store.h"

namespace dravo {

namespace {

struct Row {
    AppLanguage language;
    std::string_view code;
    std::string_view name;
    PluralRule pluralRule;
};

// The rules of the catalogues' headers, as the translators of gettext have settled them.
std::size_t formOfAny(std::uint64_t) { return 0; }
std::size_t formOfUpToOneAndOthers(std::uint64_t n) { return n > 1 ? 1 : 0; }
std::size_t arabicForm(std::uint64_t n) {
    if (n < 3) return static_cast<std::size_t>(n);
    return n % 100 >= 3 && n % 100 <= 10 ? 3 : n % 100 >= 11 ? 4 : 5;
}
std::size_t russianForm(std::uint64_t n) {
    if (n % 10 == 1 && n % 100 != 11) return 0;
    const bool isTeen = n % 100 >= 12 && n % 100 <= 14;
    return n % 10 >= 2 && n % 10 <= 4 && !isTeen ? 1 : 2;
}

// In the order of the enumeration.
constexpr std::array<Row, 11> kRows{{
    {AppLanguage::system, "system", "", formOfOneAndOthers},
    {AppLanguage::english, "en", "English", formOfOneAndOthers},
    {AppLanguage::arabic, "ar", "العربية", arabicForm},
    {AppLanguage::german, "de", "Deutsch", formOfOneAndOthers},
    {AppLanguage::spanish, "es", "Español", formOfOneAndOthers},
    {AppLanguage::french, "fr", "Français", formOfUpToOneAndOthers},
    {AppLanguage::japanese, "ja", "日本語", formOfAny},
    {AppLanguage::portugueseBrazil, "pt-BR", "Português (Brasil)", formOfUpToOneAndOthers},
    {AppLanguage::simplifiedChinese, "zh-Hans", "简体中文", formOfAny},
    {AppLanguage::kazakh, "kk", "Қазақша", formOfOneAndOthers},
    {AppLanguage::russian, "ru", "Русский", russianForm},
}};

/// With hyphens, and in lower case.
std::string normalised(std::string_view code) {
    std::string result(code);
    for (char& c : result) {
        if (c == '_') c = '-';
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    }
    return result;
}

/// "pt" of "pt-br"; empty if there is no such piece.
std::string_view baseOf(std::string_view code) {
    code.remove_prefix(std::min(code.find_first_not_of('-'), code.size()));
    return code.substr(0, code.find('-'));
}

bool isSimplifiedChinese(std::string_view code) {
    return code == "zh" || code.starts_with("zh-hans") || code.starts_with("zh-cn");
}

}  // namespace

std::span<const AppLanguage> AppLanguage::all() {
    static constexpr auto kAll = [] {
        std::array<AppLanguage, kRows.size()> languages{system, system, system, system, system, system,
                                                        system, system, system, system, system};
        std::ranges::transform(kRows, languages.begin(), &Row::language);
        return languages;
    }();
    return kAll;
}

std::optional<AppLanguage> AppLanguage::withCode(std::string_view code) {
    const auto row = std::ranges::find(kRows, code, &Row::code);
    return row == kRows.end() ? std::nullopt : std::optional(row->language);
}

AppLanguage AppLanguage::matching(std::optional<std::string_view> code) {
    if (!code) return system;
    const std::string wanted = normalised(*code);
    for (const Row& row : kRows)
        if (normalised(row.code) == wanted) return row.language;
    const std::string_view base = baseOf(wanted);
    // Simplified characters are no help to readers of traditional ones; any Portuguese is one to readers of Portuguese.
    if (base == "zh" && !isSimplifiedChinese(wanted)) return system;
    if (base == "zh") return simplifiedChinese;
    if (base == "pt") return portugueseBrazil;
    return withCode(base).value_or(system);
}

AppLanguage AppLanguage::current(const PreferencesStore& preferences) {
    return storedAs(preferences.defaults().object(preference::kAppleLanguages));
}

AppLanguage AppLanguage::storedAs(const std::optional<DefaultsValue>& value) {
    const auto* const codes = value ? std::get_if<std::vector<std::string>>(&*value) : nullptr;
    return codes && !codes->empty() ? matching(codes->front()) : AppLanguage(system);
}

void AppLanguage::apply(PreferencesStore& preferences) const {
    UserDefaults& defaults = preferences.defaults();
    if (value_ == system)
        defaults.remove(preference::kAppleLanguages);
    else
        defaults.set(preference::kAppleLanguages, std::vector<std::string>{std::string(code())});
    defaults.flush();
}

std::string_view AppLanguage::code() const { return kRows.at(value_).code; }

PluralRule AppLanguage::pluralRule() const { return kRows.at(value_).pluralRule; }

std::string AppLanguage::displayName() const {
    return value_ == system ? localized("System Default") : std::string(kRows.at(value_).name);
}

}  // namespace dravo
