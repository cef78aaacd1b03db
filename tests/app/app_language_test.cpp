#include "app/app_language.h"

#include <gtest/gtest.h>

#include <set>

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
        {AppLanguage::german, {"de_AT"}},
        {AppLanguage::spanish, {"es-419"}},
        {AppLanguage::french, {"fr_CA"}},
        {AppLanguage::japanese, {"ja_JP"}},
        {AppLanguage::portugueseBrazil, {"pt_BR", "PT-br", "pt-PT"}},
        {AppLanguage::simplifiedChinese, {"zh-hans", "zh-Hans-CN", "zh_CN", "zh"}},
        {AppLanguage::kazakh, {"kk-KZ"}},
        {AppLanguage::russian, {"-ru"}},
    };
    for (const auto& [meant, codes] : rows)
        for (const auto code : codes) EXPECT_EQ(AppLanguage::matching(code).code(), meant.code()) << code;
    EXPECT_EQ(AppLanguage::matching(std::nullopt), AppLanguage::system);
}

TEST(AppLanguageTest, TakesOnlyItsOwnCodesLiterally) {
    for (const AppLanguage language : AppLanguage::all()) EXPECT_EQ(AppLanguage::withCode(language.code()), language);
    for (const char* const other : {"", "System", "EN", "pt", "pt_BR", "zh-hans", "zh-Hans-CN"})
        EXPECT_EQ(AppLanguage::withCode(other), std::nullopt) << other;
}

TEST(AppLanguageTest, ListsElevenOfWhichOnlyTheSystemsIsTranslated) {
    struct Shouting : Localizer {
        std::string text(std::string_view, std::string_view) const override { return "!"; }
    } shouting;
    std::set<std::string> names;
    for (const AppLanguage language : AppLanguage::all()) {
        const std::string name = language.displayName();
        names.insert(name);
        installLocalizer(&shouting);
        EXPECT_EQ(language.displayName() == name, language != AppLanguage::system) << name;
        installLocalizer(nullptr);
    }
    EXPECT_EQ(names.size(), 11U);
    EXPECT_EQ(AppLanguage::all().front().displayName(), "System Default");
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

}  // namespace
}  // namespace dravo
