// The catalogues that come with the program.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <filesystem>
#include <set>
#include <vector>

#include "app/app_language.h"
#include "app/interface_locale.h"
#include "platform/gettext/catalogue.h"
#include "platform/gettext/catalogue_localizer.h"
#include "support/temporary_folder.h"

namespace dravo::gettext {
namespace {

const std::filesystem::path kFolder = DRAVO_TRANSLATIONS;

std::filesystem::path pathOf(const std::string& language) { return kFolder / language / "LC_MESSAGES" / "dravo.mo"; }

struct Entry {
    std::vector<std::string> originals;  ///< One, or singular and plural; without the context.
    std::vector<std::string> forms;
};

std::vector<std::string> split(std::string_view text) {
    std::vector<std::string> parts;
    for (;;) {
        const auto end = text.find('\0');
        parts.emplace_back(text.substr(0, end));
        if (end == std::string_view::npos) return parts;
        text.remove_prefix(end + 1);
    }
}

/// Every entry of a compiled catalogue but its header, read independently of the program.
std::vector<Entry> entriesOf(const std::string& language) {
    const std::string bytes = testing::contentOf(pathOf(language));
    const auto number = [&](std::size_t offset) {
        std::uint32_t value = 0;
        std::memcpy(&value, bytes.data() + offset, sizeof value);
        return std::size_t{value};
    };
    const auto text = [&](std::size_t row) { return std::string_view(bytes).substr(number(row + 4), number(row)); };
    std::vector<Entry> entries;
    for (std::size_t i = 1; i < number(8); ++i) {
        std::string_view id = text(number(12) + 8 * i);
        id.remove_prefix(std::min(id.find('\4') + 1, id.size()));
        entries.push_back({split(id), split(text(number(16) + 8 * i))});
    }
    return entries;
}

std::multiset<std::string> placeholdersOf(std::string_view text) {
    std::multiset<std::string> found;
    for (auto place = text.find('%'); place != std::string_view::npos; place = text.find('%', place + 1)) {
        const std::string_view rest = text.substr(place);
        for (const std::string_view form : {"%@", "%lld", "%1$@", "%2$@", "%3$@"})
            if (rest.starts_with(form)) found.emplace(form);
    }
    return found;
}

std::vector<AppLanguage> translated() {
    std::vector<AppLanguage> languages;
    for (const AppLanguage language : AppLanguage::all())
        if (language != AppLanguage::system && language != AppLanguage::english) languages.push_back(language);
    return languages;
}

std::string folderOf(AppLanguage language) {
    return interfaceLocaleFor(language, [](const char*) { return nullptr; }).language;
}

TEST(TranslationsTest, ThereIsOneForEachLanguageOfTheListAndNoOther) {
    std::set<std::string> wanted;
    std::set<std::string> found;
    for (const AppLanguage language : translated()) wanted.insert(folderOf(language));
    for (const auto& entry : std::filesystem::directory_iterator(kFolder)) found.insert(entry.path().filename());
    EXPECT_EQ(found, wanted);
}

TEST(TranslationsTest, KeepThePlaceholders) {
    for (const AppLanguage language : translated()) {
        for (const auto& [originals, forms] : entriesOf(folderOf(language))) {
            const auto wanted = placeholdersOf(originals.back());
            for (const std::string& form : forms) {
                auto found = placeholdersOf(form);
                // "One minute" and "two minutes" may be words.
                if (forms.size() > 2 && found.empty()) found = wanted;
                EXPECT_EQ(found, wanted) << language.code() << ": " << form;
            }
        }
    }
}

TEST(TranslationsTest, HaveThePluralFormsOfTheirLanguage) {
    const struct {
        AppLanguage language;
        std::size_t forms;
        std::array<std::size_t, 8> used;  ///< for 0, 1, 2, 5, 11, 21, 100, 103
    } rows[] = {
        {AppLanguage::arabic, 6, {0, 1, 2, 3, 4, 4, 5, 3}},
        {AppLanguage::german, 2, {1, 0, 1, 1, 1, 1, 1, 1}},
        {AppLanguage::spanish, 2, {1, 0, 1, 1, 1, 1, 1, 1}},
        {AppLanguage::french, 2, {0, 0, 1, 1, 1, 1, 1, 1}},
        {AppLanguage::japanese, 1, {}},
        {AppLanguage::portugueseBrazil, 2, {0, 0, 1, 1, 1, 1, 1, 1}},
        {AppLanguage::simplifiedChinese, 1, {}},
        {AppLanguage::kazakh, 2, {1, 0, 1, 1, 1, 1, 1, 1}},
        {AppLanguage::russian, 3, {2, 0, 1, 2, 2, 0, 2, 1}},
    };
    constexpr std::array<std::uint64_t, 8> kNumbers{0, 1, 2, 5, 11, 21, 100, 103};
    EXPECT_EQ(std::size(rows), translated().size());
    for (const auto& [language, forms, used] : rows) {
        const auto catalogue = Catalogue::parse(testing::contentOf(pathOf(folderOf(language))));
        ASSERT_TRUE(catalogue) << language.code();
        std::size_t plurals = 0;
        for (const Entry& entry : entriesOf(folderOf(language))) {
            if (entry.originals.size() == 1) continue;
            ++plurals;
            EXPECT_EQ(entry.forms.size(), forms) << language.code() << ": " << entry.originals[0];
        }
        EXPECT_GT(plurals, 0U);
        const auto& shown = catalogue->plurals();
        for (std::size_t i = 0; i < kNumbers.size(); ++i)
            EXPECT_EQ(shown.formFor(kNumbers[i]), used[i]) << language.code() << " " << kNumbers[i];
    }
}

TEST(TranslationsTest, AreFoundByTheProgramWhateverTheSystemsLocales) {
    const std::pair<const char*, const char*> rows[] = {
        {"de", "Abbrechen"}, {"zh_CN", "取消"}, {"en", "Cancel"}, {"xx", "Cancel"}};
    for (const auto& [language, cancel] : rows) {
        const CatalogueLocalizer texts(kFolder, [name = std::string(language)] {
            return InterfaceLocale{name, "", ""};
        });
        EXPECT_EQ(texts.text("Cancel", "Cancel"), cancel) << language;
    }
}

}  // namespace
}  // namespace dravo::gettext
