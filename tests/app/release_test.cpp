#include "app/release.h"

#include <gtest/gtest.h>

#include <vector>

namespace dravo {
namespace {

ReleaseVersion version(const char* text) {
    const auto parsed = ReleaseVersion::parse(text);
    EXPECT_TRUE(parsed) << text;
    return parsed ? *parsed : ReleaseVersion{};
}

TEST(ReleaseVersionTest, AreInTheOrderInWhichPeopleReleaseThem) {
    const char* const rising[] = {
        "0",          "0.0.1",     "0.9",       "0.10.0-alpha", "0.10", "1.0.0-1",   "1.0.0-alpha",   "1.0.0-alpha.1",
        "1.0.0-beta", "1.0-rc2",   "1.0-rc.10", "1.0-rc.10.1",  "1",    "1.0.0.1",   "1.2.0",         "1.10.0",
        "2-dev",      "2.0.0-rc1", "2.0.0",     "10.0",         "11",   "999999999", "999999999.0.1",
    };
    std::vector<ReleaseVersion> versions;
    for (const char* const text : rising) versions.push_back(version(text));
    for (std::size_t i = 0; i < versions.size(); ++i)
        for (std::size_t j = 0; j < versions.size(); ++j)
            EXPECT_EQ(versions[i] <=> versions[j], i <=> j) << rising[i] << " and " << rising[j];
}

TEST(ReleaseVersionTest, AreEqualHoweverTheyAreWritten) {
    EXPECT_EQ(version("1.2"), version("1.2.0.0"));
    EXPECT_EQ(version("1.02"), version("1.2"));
    EXPECT_EQ(version("1.2-rc.1"), version("1.2.0-rc1"));
    EXPECT_EQ(version("1.2+build.7"), version("1.2"));
    EXPECT_EQ(version("1.2-rc1+7"), version("1.2-rc1+8-a"));
}

TEST(ReleaseVersionTest, RefusesWhatIsNone) {
    const std::string tooLong = "1.0-" + std::string(64, 'a');
    const std::string_view rows[] = {
        "",     "v1.0",  "1.",   ".1",           "1..2",  "1.2.3.4.5", "-1",     "1-",
        "1--a", "1-a.",  "1-.a", "1 ",           "1.0\n", "1.0~a",     "1.-2.0", "1000000000",
        "1,2",  "１.２", "1-ä",  "1-1234567890", "+1",    "0x10",      "1e5",    tooLong,
    };
    for (const auto row : rows) EXPECT_FALSE(ReleaseVersion::parse(row)) << row;
}

TEST(ReleaseTest, ReadsWhatAFeedAnnounces) {
    const auto full = decodeRelease(
        R"({"version":"1.2.0","notes":"Übersicht\n\t• faster 👁","link":"https://dravo.example/1.2.0","more":[1]})");
    ASSERT_TRUE(full);
    EXPECT_EQ(full->version, "1.2.0");
    EXPECT_EQ(full->notes, "Übersicht\n\t• faster 👁");
    EXPECT_EQ(full->link, "https://dravo.example/1.2.0");
    const auto brief = decodeRelease(R"( {"version":"2","link":"https://dravo.example/"} )");
    ASSERT_TRUE(brief);
    EXPECT_EQ(brief->notes, "");
}

std::string quoted(const std::string& text) { return '"' + text + '"'; }

/// A feed of these three JSON values.
std::string feed(const std::string& version, const std::string& notes, const std::string& link) {
    return "{\"version\":" + version + ",\"notes\":" + notes + ",\"link\":" + link + "}";
}

TEST(ReleaseTest, RefusesAHostileFeedAndSaysWhatIsWrong) {
    const std::string one = quoted("1.2.0");
    const std::string link = quoted("https://dravo.example/");
    const std::string good = feed(one, quoted("fine"), link);
    ASSERT_TRUE(decodeRelease(good));
    const auto withVersion = [&](const std::string& value) { return feed(value, quoted("fine"), link); };
    const auto withNotes = [&](const std::string& value) { return feed(one, value, link); };
    const auto withLink = [&](const std::string& value) { return feed(one, quoted("fine"), value); };
    const struct {
        const char* name;
        std::string text;
        const char* reason;
    } rows[] = {
        {"empty", "", "JSON"},
        {"cut", good.substr(0, 40), "JSON"},
        {"an array", "[" + good + "]", "object"},
        {"nested to the limit", std::string(65536, '['), "JSON"},
        {"no version", "{\"link\":" + link + "}", "version"},
        {"no link", "{\"version\":" + one + "}", "link"},
        {"version is a number", withVersion("1.2"), "version"},
        {"version is a word", withVersion(quoted("latest")), "version"},
        {"version ends a line", withVersion(quoted("1.2.0\\n")), "version"},
        {"notes are a list", withNotes("[" + one + "]"), "notes"},
        {"notes ring the bell", withNotes(quoted("a\\u0007")), "notes"},
        {"notes hold a terminal's escape", withNotes(quoted("\\u001b[2J")), "notes"},
        {"notes hold a late control", withNotes(quoted("a\\u009bb")), "notes"},
        {"notes turn the writing about", withNotes(quoted("a\\u202eb")), "notes"},
        {"notes isolate", withNotes(quoted("a\\u2066b")), "notes"},
        {"notes are huge", withNotes(quoted(std::string(4097, 'a'))), "notes"},
        {"notes are no UTF-8", withNotes(quoted("a\xff")), "JSON"},
        {"link is not secure", withLink(quoted("http://dravo.example/")), "link"},
        {"link runs something", withLink(quoted("javascript:alert(1)")), "link"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const auto release = decodeRelease(row.text);
        ASSERT_FALSE(release);
        EXPECT_NE(inEnglish(release.error().message).find(row.reason), std::string::npos)
            << inEnglish(release.error().message);
        EXPECT_LT(inEnglish(release.error().message).size(), 200u);
    }
}

}  // namespace
}  // namespace dravo
