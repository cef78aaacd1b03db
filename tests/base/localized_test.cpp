#include "base/localized.h"

#include <gtest/gtest.h>

namespace dravo {
namespace {

TEST(LocalizedTest, SpeaksEnglishWithoutALocalizer) {
    EXPECT_EQ(localized("tray.off", "Filter off"), "Filter off");
    EXPECT_EQ(localized(textKey("Off")), "Off");
    EXPECT_EQ(localized(TextKey{}), "");
    EXPECT_EQ(localizedCount("n", "%lld day", "%lld days", 1), "%lld day");
    EXPECT_EQ(localizedCount("n", "%lld day", "%lld days", 0), "%lld days");
}

TEST(LocalizedTest, NeverLooksUpTheEmptyText) {
    // A catalogue's header has the empty text for its id.
    struct Header : Localizer {
        std::string text(std::string_view, std::string_view) const override { return "Content-Type: text/plain"; }
    } header;
    installLocalizer(&header);
    EXPECT_EQ(localized(""), "");
    installLocalizer(nullptr);
}

TEST(LocalizedTest, FillsPlaceholdersInTheirOrderOrByNumber) {
    const struct {
        const char* text;
        const char* filledText;
    } rows[] = {
        {"from %@ to %@", "from %@ to 2"},
        {"%2$@ before %1$@, %2$@", "2 before %@, 2"},
        {"%lld min", "%@ min"},
        {"100% of %@", "100% of %@"},
        {"%3$@ %0$@ %ld %", "%3$@ %0$@ %ld %"},
        {"%@, %@ and %@", "%@, 2 and %@"},
        {"", ""},
        {"%1", "%1"},
    };
    for (const auto& row : rows) EXPECT_EQ(filled(row.text, {"%@", "2"}), row.filledText);
}

}  // namespace
}  // namespace dravo
