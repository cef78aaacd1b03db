#include "app/app_language.h"

#include <gtest/gtest.h>

#include <set>

#include "base/localized.h"
#include "filter/model/preferences_store.h"
#include "platform/memory/memory_user_defaults.h"

namespace dravo {
namespace {

using Strings = std::vector<std::string>;

TEST(AppLanguageTest, UnderstandsACodeWhateverItsFormAndRegion) {
    const struct {
        std::optional<std::string_view> code;
        AppLanguage meant;
    } rows[] = {
        {std::nullopt, AppLanguage::system},
        {"", AppLanguage::system},
        {"_", AppLanguage::system},
        {"system", AppLanguage::system},
        {"it", AppLanguage::system},
        {"eng", AppLanguage::system},
        {"en", AppLanguage::english},
        {"en-GB", AppLanguage::english},
        {"en_US", AppLanguage::english},
        {"EN", AppLanguage::english},
        {"ar-EG", AppLanguage::arabic},
        {"de_AT", AppLanguage::german},
        {"es-419", AppLanguage::spanish},
        {"fr_CA", AppLanguage::french},
        {"ja_JP", AppLanguage::japanese},
        {"pt_BR", AppLanguage::portugueseBrazil},
        {"PT-br", AppLanguage::portugueseBrazil},
        {"pt-PT", AppLanguage::portugueseBrazil},
        {"zh-hans", AppLanguage::simplifiedChinese},
        {"zh-Hans-CN", AppLanguage::simplifiedChinese},
        {"zh_CN", AppLanguage::simplifiedChinese},
        {"zh", AppLanguage::simplifiedChinese},
        {"-zh", AppLanguage::system},
        {"zh-Hant", AppLanguage::system},
        {"zh-TW", AppLanguage::system},
        {"zh_HK", AppLanguage::system},
        {"kk-KZ", AppLanguage::kazakh},
        {"-ru", AppLanguage::russian},
    };
    for (const auto& row : rows)
        EXPECT_EQ(AppLanguage::matching(row.code).code(), row.meant.code()) << row.code.value_or("none");
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
