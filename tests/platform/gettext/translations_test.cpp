// The catalogues that come with the program.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <regex>
#include <set>
#include <vector>

#include "app/app_language.h"
#include "app/interface_locale.h"
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

std::string withoutBlanks(std::string text) {
    std::erase(text, ' ');
    return text;
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

/// A rule for plural forms as a catalogue's header writes it, to compare and to count with.
#define RULE(forms, expression) \
    forms, #expression, []([[maybe_unused]] std::uint64_t n) -> std::size_t { return expression; }

TEST(TranslationsTest, CountAsTheirHeadersDo) {
    const struct {
        AppLanguage language;
        std::size_t forms;
        const char* expression;
        std::size_t (*formFor)(std::uint64_t);
    } rows[] = {
        {AppLanguage::arabic, RULE(6, (n == 0                          ? 0
                                       : n == 1                        ? 1
                                       : n == 2                        ? 2
                                       : n % 100 >= 3 && n % 100 <= 10 ? 3
                                       : n % 100 >= 11                 ? 4
                                                                       : 5))},
        {AppLanguage::german, RULE(2, (n != 1))},
        {AppLanguage::spanish, RULE(2, (n != 1))},
        {AppLanguage::french, RULE(2, (n > 1))},
        {AppLanguage::japanese, RULE(1, (0))},
        {AppLanguage::portugueseBrazil, RULE(2, (n > 1))},
        {AppLanguage::simplifiedChinese, RULE(1, (0))},
        {AppLanguage::kazakh, RULE(2, (n != 1))},
        {AppLanguage::russian, RULE(3, (n % 10 == 1 && n % 100 != 11                                   ? 0
                                        : n % 10 >= 2 && n % 10 <= 4 && (n % 100 < 12 || n % 100 > 14) ? 1
                                                                                                       : 2))},
    };
    EXPECT_EQ(std::size(rows), translated().size());
    for (const auto& [language, forms, expression, formFor] : rows) {
        SCOPED_TRACE(std::string(language.code()));
        std::size_t plurals = 0;
        for (const Entry& entry : entriesOf(folderOf(language))) {
            if (entry.originals.size() == 1) continue;
            ++plurals;
            EXPECT_EQ(entry.forms.size(), forms) << entry.originals[0];
        }
        EXPECT_GT(plurals, 0U);
        const auto header = withoutBlanks(testing::contentOf(pathOf(folderOf(language))));
        const std::string rule = "nplurals=" + std::to_string(forms) + ";plural=" + withoutBlanks(expression) + ";";
        EXPECT_NE(header.find(rule), std::string::npos) << rule;
        for (std::uint64_t n = 0; n < 1000; ++n) ASSERT_EQ(language.pluralRule()(n), formFor(n)) << n;
    }
}

TEST(TranslationsTest, AreNotTornOrTurnedWhereTheyAreDrawn) {
    const struct {
        AppLanguage language;
        std::regex fault;
        const char* reason;
    } rows[] = {
        {AppLanguage::french, std::regex(" [:;?!]|« | »"), "a space that may break, where U+00A0 belongs"},
        {AppLanguage::arabic, std::regex("(^|[^-\\w\u200e\u2066 ]|[^\\w] )--?[\\w%]"),
         "a sign that is drawn behind what it stands before, without U+200E or U+2066"},
    };
    const std::regex percent("(@|d|[0-9]) %($|[^@l0-9])");
    for (const AppLanguage language : translated()) {
        for (const Entry& entry : entriesOf(folderOf(language))) {
            for (const std::string& form : entry.forms) {
                EXPECT_FALSE(std::regex_search(form, percent))
                    << language.code() << ": a space that may break: " << form;
                for (const auto& row : rows)
                    EXPECT_FALSE(row.language == language && std::regex_search(form, row.fault))
                        << language.code() << ": " << row.reason << ": " << form;
            }
        }
    }
}

}  // namespace
}  // namespace dravo::gettext
