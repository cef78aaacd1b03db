#include "platform/gettext/catalogue_localizer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>

#include "platform/gettext/compiled_catalogue.h"
#include "support/temporary_folder.h"

namespace dravo::gettext {
namespace {

using namespace std::string_literals;

class CatalogueLocalizerTest : public ::testing::Test {
protected:
    void write(const char* language, const std::string& bytes) {
        const auto folder = folder_ / language / "LC_MESSAGES";
        std::filesystem::create_directories(folder);
        std::ofstream(folder / "dravo.mo", std::ios::binary) << bytes;
    }

    testing::TemporaryFolder folder_;
};

TEST_F(CatalogueLocalizerTest, AsksForTheLanguageAtTheFirstTextAndOnlyThen) {
    write("de", compiledCatalogue({{"", ""}, {"Off", "Aus"}, {"hours\4%lld hour", "eine\0viele"s}}));
    int asked = 0;
    const CatalogueLocalizer texts(folder_.path(), [&] {
        ++asked;
        return InterfaceLocale{"de", "de_AT", "de_CH"};
    });
    EXPECT_EQ(asked, 0);
    EXPECT_EQ(texts.text("Off", "Off"), "Aus");
    EXPECT_EQ(texts.text("On", "On"), "On");
    EXPECT_EQ(texts.count("minutes", "%lld minute", "%lld minutes", 2), "%lld minutes");
    EXPECT_EQ(texts.count("hours", "%lld hour", "%lld hours", 1), "eine");
    EXPECT_EQ(texts.count("hours", "%lld hour", "%lld hours", 2), "viele");
    EXPECT_EQ(texts.locale().times, "de_CH");
    EXPECT_EQ(asked, 1);
}

TEST_F(CatalogueLocalizerTest, SpeaksEnglishWhereTheCatalogueCannotBeReadAndSaysSoOnce) {
    write("de", "no catalogue");
    for (const bool isEnglish : {true, false}) {
        // Who looks for the choice and who complains about a file ask for texts of their own.
        CatalogueLocalizer texts(folder_.path(), [&] {
            EXPECT_EQ(localized("Off"), "Off");
            return InterfaceLocale{isEnglish ? "en" : "de", "", ""};
        });
        const InstalledLocalizer installed(texts);
        ::testing::internal::CaptureStderr();
        EXPECT_EQ(localized("tray.off", "Filter off"), "Filter off");
        EXPECT_EQ(localized("tray.on", "Filter on"), "Filter on");
        const std::string said = ::testing::internal::GetCapturedStderr();
        EXPECT_EQ(std::ranges::count(said, '\n'), isEnglish ? 0 : 1) << said;
    }
}

}  // namespace
}  // namespace dravo::gettext
