#include "app/app_language.h"

#include <gtest/gtest.h>

#include <map>
#include <sstream>

#include "app/interface_locale.h"
#include "base/localized.h"
#include "filter/preferences_store.h"
#include "support/memory/memory_user_defaults.h"

namespace dravo {
namespace {

using Strings = std::vector<std::string>;

TEST(AppLanguageTest, UnderstandsACodeWhateverItsFormAndRegion) {
    using Codes = std::vector<std::string_view>;
    const std::pair<AppLanguage, Codes> rows[] = {
        {AppLanguage::system, {"", "_", "system", "it", "eng", "-zh", "zh-Hant", "zh-TW", "zh_HK"}},
        {AppLanguage::english, {"en", "en-GB", "en_US", "EN"}},
        {AppLanguage::arabic, {"ar-EG"}},
        {AppLanguage::portugueseBrazil, {"pt_BR", "PT-br", "pt-PT"}},
        {AppLanguage::simplifiedChinese, {"zh-hans", "zh-Hans-CN", "zh_CN", "zh"}},
        {AppLanguage::russian, {"-ru"}},
    };
    for (const auto& [meant, codes] : rows)
        for (const auto code : codes) EXPECT_EQ(AppLanguage::matching(code).code(), meant.code()) << code;
    EXPECT_EQ(AppLanguage::matching(std::nullopt), AppLanguage::system);
}

TEST(AppLanguageTest, ListsElevenInTheirOrderOfWhichOnlyTheSystemsIsTranslated) {
    struct Shouting : Localizer {
        std::string text(std::string_view, std::string_view) const override { return "!"; }
    } shouting;
    Strings names;
    for (const AppLanguage language : AppLanguage::all()) {
        const std::string name = language.displayName();
        names.push_back(name);
        installLocalizer(&shouting);
        EXPECT_EQ(language.displayName() == name, language != AppLanguage::system) << name;
        installLocalizer(nullptr);
    }
    EXPECT_EQ(names, (Strings{"System Default", "English", "العربية", "Deutsch", "Español", "Français", "日本語",
                              "Português (Brasil)", "简体中文", "Қазақша", "Русский"}));
}

TEST(AppLanguageTest, StoresAChoiceAndForgetsItForTheSystems) {
    memory::MemoryUserDefaults defaults;
    PreferencesStore preferences(defaults);
    for (const AppLanguage language : AppLanguage::all()) {
        AppLanguage(AppLanguage::german).apply(preferences);
        const int flushes = defaults.flushes();
        language.apply(preferences);
        const auto stored = defaults.object(preference::kAppleLanguages);
        if (language == AppLanguage::system)
            EXPECT_EQ(stored, std::nullopt);
        else
            EXPECT_EQ(stored, DefaultsValue(Strings{std::string(language.code())}));
        EXPECT_EQ(defaults.flushes(), flushes + 1);
        EXPECT_EQ(AppLanguage::current(preferences), language) << language.code();
    }
}

TEST(AppLanguageTest, ReadsWhatItCannotUnderstandAsTheSystems) {
    for (const auto& [stored, read] : {std::pair<DefaultsValue, AppLanguage>{Strings{}, AppLanguage::system},
                                       {std::string("de"), AppLanguage::system},
                                       {true, AppLanguage::system},
                                       {Strings{"it", "de"}, AppLanguage::system},
                                       {Strings{"de-CH", "fr"}, AppLanguage::german}}) {
        memory::MemoryUserDefaults defaults({{std::string(preference::kAppleLanguages), stored}});
        EXPECT_EQ(AppLanguage::current(PreferencesStore(defaults)), read) << stored.index();
    }
}

/// Of "NAME=value NAME=value".
std::map<std::string, std::string> variablesOf(const std::string& environment) {
    std::map<std::string, std::string> variables;
    std::istringstream words(environment);
    for (std::string word; words >> word;) variables[word.substr(0, word.find('='))] = word.substr(word.find('=') + 1);
    return variables;
}

TEST(InterfaceLocaleTest, FollowsTheChoiceAndTheEnvironment) {
    const struct {
        const char* name;
        AppLanguage choice;
        std::string environment;
        const char* locales;  ///< texts, numbers, times
    } rows[] = {
        {"nothing set", AppLanguage::system, "", "en en_US_POSIX en_US_POSIX"},
        {"C", AppLanguage::system, "LANG=C.UTF-8 LANGUAGE=de", "en en_US_POSIX en_US_POSIX"},
        {"one language", AppLanguage::system, "LANG=de_AT.UTF-8", "de de_AT de_AT"},
        {"a modifier", AppLanguage::system, "LANG=fr_FR@euro", "fr fr_FR fr_FR"},
        {"simplified Chinese", AppLanguage::system, "LANG=zh_CN.UTF-8", "zh_CN zh_CN zh_CN"},
        {"traditional Chinese", AppLanguage::system, "LANG=zh_TW.UTF-8", "en zh_TW zh_TW"},
        {"European Portuguese", AppLanguage::system, "LANG=pt_PT", "pt_BR pt_PT pt_PT"},
        {"one that we do not speak", AppLanguage::system, "LANG=it_IT", "en it_IT it_IT"},
        {"a list of languages", AppLanguage::system, "LANG=it_IT LANGUAGE=it::nn:kk_KZ:de", "kk it_IT it_IT"},
        {"a list that helps nobody", AppLanguage::system, "LANG=ru_RU LANGUAGE=it", "ru ru_RU ru_RU"},
        {"categories of their own", AppLanguage::system,
         "LANG=en_US LC_NUMERIC=de_DE.utf8 LC_TIME=en_GB LC_MESSAGES=es_ES", "es de_DE en_GB"},
        {"one for all", AppLanguage::system, "LC_ALL=ja_JP LC_TIME=en_GB LANG=de_DE", "ja ja_JP ja_JP"},
        {"an empty one", AppLanguage::system, "LC_ALL= LANG=de_DE", "de de_DE de_DE"},
        {"another than the system's", AppLanguage::arabic, "LANG=de_AT LANGUAGE=fr", "ar ar ar"},
        {"the system's, with its region", AppLanguage::german, "LANG=de_AT LC_TIME=en_GB", "de de_AT de"},
        {"Brazilian on a European system", AppLanguage::portugueseBrazil, "LANG=pt_PT", "pt_BR pt_BR pt_BR"},
        {"simplified on a traditional system", AppLanguage::simplifiedChinese, "LANG=zh_TW", "zh_CN zh_CN zh_CN"},
        {"English on no system", AppLanguage::english, "", "en en en"},
        {"a name that only begins alike", AppLanguage::english, "LANG=enm_GB", "en en en"},
    };
    for (const auto& row : rows) {
        const auto variables = variablesOf(row.environment);
        const auto locale = interfaceLocaleFor(row.choice, [&](const char* name) {
            const auto found = variables.find(name);
            return found == variables.end() ? nullptr : found->second.c_str();
        });
        EXPECT_EQ(locale.language + " " + locale.numbers + " " + locale.times, row.locales) << row.name;
    }
}

}  // namespace
}  // namespace dravo
