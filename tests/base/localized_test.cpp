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

TEST(LocalizedTest, WhatIsFilledInKeepsItsDirectionAmongLettersThatRunTheOtherWay) {
    struct Arabic : Localizer {
        InterfaceLocale locale() const override { return {.language = "ar", .isRightToLeft = true}; }
    } arabic;
    for (const bool isRightToLeft : {true, false}) {
        const Localizer english;
        const InstalledLocalizer installed(isRightToLeft ? static_cast<const Localizer&>(arabic) : english);
        for (const char* const value :
             {"/home/x/a.toml", "-0.5", "--json", ".bad", "20:00-07:00", "2026-11-24 07:00", "\"id\""})
            EXPECT_EQ(filled("%@", {value}), isRightToLeft ? "\u2068" + std::string(value) + "\u2069" : value);
        // A percent sign joins its figure, and an id can be copied as it stands.
        for (const char* const value : {"", "45", "6.5", "16:12", "warm-rose", "HDMI-1", "No such file", "شاشة"})
            EXPECT_EQ(filled("%@%", {value}), std::string(value) + "%");
        EXPECT_EQ(inEnglish({textKey("at %@"), {"/home"}}), "at /home") << "programs read it";
        EXPECT_EQ(saidBy("dravo", "x"), isRightToLeft ? "\u200fdravo: x\n" : "dravo: x\n");
    }
}

}  // namespace
}  // namespace dravo
