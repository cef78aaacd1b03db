#include "platform/gettext/catalogue.h"

#include <gtest/gtest.h>

#include "platform/gettext/compiled_catalogue.h"

namespace dravo::gettext {
namespace {

using namespace std::string_literals;

const std::map<std::string, std::string> kGerman{
    {"", "Content-Type: text/plain; charset=UTF-8\nLanguage: de\n"},
    {"Off", "Aus"},
    {"tray.off\4Filter off", "Filter aus"},
    {"schedule.off\4Off", "Nie"},
    {"minutes\4%lld minute\0%lld minutes"s, "keine\0eine\0viele"s},
    {"short\4%lld h\0%lld h"s, "%lld Std."},
};

TEST(CatalogueTest, FindsTextsByKeyAndEnglishInEitherByteOrder) {
    for (const bool isBigEndian : {false, true}) {
        const auto catalogue = Catalogue::parse(compiledCatalogue(kGerman, isBigEndian));
        ASSERT_TRUE(catalogue);
        EXPECT_EQ(catalogue->text("Off", "Off"), "Aus");
        EXPECT_EQ(catalogue->text("schedule.off", "Off"), "Nie");
        EXPECT_EQ(catalogue->text("tray.off", "Filter off"), "Filter aus");
        EXPECT_EQ(catalogue->text("tray.off", "Filter is off"), std::nullopt);
        EXPECT_EQ(catalogue->text("", "Filter off"), std::nullopt);
        EXPECT_EQ(catalogue->text("On", "On"), std::nullopt);
        EXPECT_EQ(catalogue->text("minutes", "%lld minute"), "keine");
        EXPECT_EQ(catalogue->text("minutes", "%lld minute", 2), "viele");
        EXPECT_EQ(catalogue->text("short", "%lld h", 1), std::nullopt) << "a form that is missing";
    }
    EXPECT_EQ(Catalogue().text("Off", "Off"), std::nullopt);
}

TEST(CatalogueTest, RefusesADamagedFileAtAnyByte) {
    const std::string whole = compiledCatalogue(kGerman);
    for (std::size_t length = 0; length < whole.size() - 1; ++length)
        EXPECT_FALSE(Catalogue::parse(whole.substr(0, length))) << length;
    EXPECT_FALSE(Catalogue::parse("# not compiled\nmsgid \"Off\"\nmsgstr \"Aus\"\n"));
    // Whatever else is wrong with it, nothing outside is read.
    for (std::size_t i = 0; i < whole.size(); ++i) {
        std::string damaged = whole;
        damaged[i] = static_cast<char>(~damaged[i]);
        if (const auto catalogue = Catalogue::parse(damaged)) {
            static_cast<void>(catalogue->text("tray.off", "Filter off"));
            static_cast<void>(catalogue->text("minutes", "%lld minute", 2));
        }
    }
}

}  // namespace
}  // namespace dravo::gettext
