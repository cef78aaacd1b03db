#include "app/interface_locale.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "base/split.h"

namespace dravo {

namespace {

/// A language without a region whose forms are those of programs that nobody translated.
constexpr std::string_view kUntranslated = "en_US_POSIX";

std::string_view valueOf(const Environment& environment, const char* name) {
    const char* const value = environment(name);
    return value ? std::string_view(value) : std::string_view{};
}

/// The locale that the environment names for a category, "de_AT" of "de_AT.UTF-8@euro"; empty for none and for "C".
std::string_view localeFor(const char* category, const Environment& environment) {
    for (const char* const name : {"LC_ALL", category, "LANG"}) {
        std::string_view value = valueOf(environment, name);
        if (value.empty()) continue;
        value = value.substr(0, value.find_first_of(".@"));
        return value == "C" || value == "POSIX" ? std::string_view{} : value;
    }
    return {};
}

/// The first language of the system's that we speak.
AppLanguage systemLanguage(const Environment& environment) {
    const std::string_view locale = localeFor("LC_MESSAGES", environment);
    // Who asks for no locale gets no translation, whatever the list of languages says.
    if (locale.empty()) return AppLanguage::english;
    for (const auto entry : splitAt(':', valueOf(environment, "LANGUAGE"))) {
        const auto language = AppLanguage::matching(entry.substr(0, entry.find_first_of(".@")));
        if (language != AppLanguage::system) return language;
    }
    const auto language = AppLanguage::matching(locale);
    return language == AppLanguage::system ? AppLanguage(AppLanguage::english) : language;
}

/// The folder of the language's catalogue, which is also ICU's name for it.
std::string catalogueOf(AppLanguage language) {
    if (language == AppLanguage::simplifiedChinese) return "zh_CN";
    std::string name(language.code());
    std::ranges::replace(name, '-', '_');
    return name;
}

/// Whether the system's locale is the language with a region, and so tells more than the language alone.
bool isRegionOf(AppLanguage language, std::string_view locale) {
    const std::string name = catalogueOf(language);
    return locale == name || locale.starts_with(name + "_");
}

}  // namespace

InterfaceLocale interfaceLocaleFor(AppLanguage choice, const Environment& environment) {
    const bool isSystems = choice == AppLanguage::system;
    const AppLanguage language = isSystems ? systemLanguage(environment) : choice;
    const auto formsOf = [&](const char* category) {
        const std::string_view locale = localeFor(category, environment);
        if (isSystems) return std::string(locale.empty() ? kUntranslated : locale);
        return isRegionOf(language, locale) ? std::string(locale) : catalogueOf(language);
    };
    return {catalogueOf(language), formsOf("LC_NUMERIC"), formsOf("LC_TIME"), language.pluralRule(),
            language == AppLanguage::arabic};
}

}  // namespace dravo
