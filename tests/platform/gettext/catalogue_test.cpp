#include "platform/gettext/catalogue.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "platform/gettext/catalogue_localizer.h"
#include "support/temporary_folder.h"

namespace dravo::gettext {
namespace {

const std::filesystem::path kCatalogues = DRAVO_TRANSLATIONS;

TEST(CatalogueTest, FindsTextsByKeyAndEnglishAndByTheirForm) {
    const auto catalogue = Catalogue::parse(testing::contentOf(kCatalogues / "de/LC_MESSAGES/dravo.mo"));
    ASSERT_TRUE(catalogue);
    EXPECT_EQ(catalogue->text("Cancel", "Cancel"), "Abbrechen");
    EXPECT_EQ(catalogue->text("status.off", "off"), "aus");
    EXPECT_EQ(catalogue->text("status.off", "off now"), std::nullopt);
    EXPECT_EQ(catalogue->text("off", "off"), std::nullopt) << "a text with a key is found by it alone";
    EXPECT_EQ(catalogue->text("status.every", "every %lld minute", 0), "alle %lld Minute");
    EXPECT_EQ(catalogue->text("status.every", "every %lld minute", 1), "alle %lld Minuten");
    EXPECT_EQ(catalogue->text("status.every", "every %lld minute", 2), std::nullopt) << "a form that is missing";
    EXPECT_EQ(Catalogue().text("Cancel", "Cancel"), std::nullopt);
}

TEST(CatalogueTest, RefusesADamagedFileAndNeverReadsOutsideOfIt) {
    const std::string whole = testing::contentOf(kCatalogues / "ja/LC_MESSAGES/dravo.mo");
    for (std::size_t length = 0; length < whole.size() - 1; length += length < 64 ? 1 : 997)
        EXPECT_FALSE(Catalogue::parse(whole.substr(0, length))) << length;
    EXPECT_FALSE(Catalogue::parse("# not compiled\nmsgid \"Off\"\nmsgstr \"Aus\"\n"));
    for (std::size_t i = 0; i < whole.size(); i += i < 4096 ? 1 : 997) {
        std::string damaged = whole;
        damaged[i] = static_cast<char>(~damaged[i]);
        if (const auto catalogue = Catalogue::parse(damaged)) {
            static_cast<void>(catalogue->text("status.off", "off"));
            static_cast<void>(catalogue->text("status.every", "every %lld minute", 2));
        }
    }
}

TEST(CatalogueLocalizerTest, AsksForTheLanguageAtTheFirstTextAndOnlyThen) {
    int asked = 0;
    const CatalogueLocalizer texts(kCatalogues, [&] {
        ++asked;
        return InterfaceLocale{"de", "de_AT", "de_CH"};
    });
    EXPECT_EQ(asked, 0);
    EXPECT_EQ(texts.text("Cancel", "Cancel"), "Abbrechen");
    EXPECT_EQ(texts.text("Never seen", "Never seen"), "Never seen");
    EXPECT_EQ(texts.count("status.every", "every %lld minute", "every %lld minutes", 2), "alle %lld Minuten");
    EXPECT_EQ(texts.count("never.seen", "%lld day", "%lld days", 2), "%lld days");
    EXPECT_EQ(texts.locale().times, "de_CH");
    EXPECT_EQ(asked, 1);
}

TEST(CatalogueLocalizerTest, SpeaksEnglishWhereTheCatalogueCannotBeReadAndSaysSoOnce) {
    testing::TemporaryFolder folder;
    std::filesystem::create_directories(folder / "de/LC_MESSAGES");
    std::ofstream(folder / "de/LC_MESSAGES/dravo.mo") << "no catalogue";
    for (const bool isEnglish : {true, false}) {
        // Who looks for the choice and who complains about a file ask for texts of their own.
        CatalogueLocalizer texts(folder.path(), [&] {
            EXPECT_EQ(localized("Cancel"), "Cancel");
            return InterfaceLocale{isEnglish ? "en" : "de", "", ""};
        });
        const InstalledLocalizer installed(texts);
        ::testing::internal::CaptureStderr();
        EXPECT_EQ(localized("Cancel"), "Cancel");
        EXPECT_EQ(localized("status.off", "off"), "off");
        const std::string said = ::testing::internal::GetCapturedStderr();
        EXPECT_EQ(std::ranges::count(said, '\n'), isEnglish ? 0 : 1) << said;
    }
}

}  // namespace
}  // namespace dravo::gettext
