#include "display/table_json.h"

#include <gtest/gtest.h>

#include <limits>

namespace dravo {
namespace {

std::string entry(const std::string& red, const std::string& green, const std::string& blue) {
    return R"({"red":)" + red + R"(,"green":)" + green + R"(,"blue":)" + blue + "}";
}

TEST(TableJsonTest, WritesTheShortestNumbers) {
    const GammaTable table{
        {0, 1.0F / 255, 1}, {0.1F, 0.5F, 0.7F}, {1e-7F, 2.0F, std::numeric_limits<float>::quiet_NaN()}};
    const std::string text = R"({"red":[0,0.003921569,1],"green":[0.1,0.5,0.7],"blue":[1e-07,1,0]})";
    EXPECT_EQ(encodeTable(table), text);
    EXPECT_EQ(encodeTables({{{DisplayId{4294967295U}, table}, {DisplayId{7}, {}}}, true}),
              R"({"7":{"red":[],"green":[],"blue":[]},"4294967295":)" + text + R"(,"grayscale":true})");
    EXPECT_EQ(encodeTables({}), "{}");
}

TEST(TableJsonTest, ReadsProfilesBackWhateverTheirPathsAre) {
    SavedTables tables;
    tables.profiles = {{DisplayId{1}, {"/home/j\xC3\xBCrg/a \"b\"\\c\n.icc", "icc"}}, {DisplayId{9}, {}}};
    const auto decoded = decodeTables(encodeTables(tables));
    ASSERT_TRUE(decoded);
    EXPECT_EQ(*decoded, tables);
}

TEST(TableJsonTest, TakesWhatAPersonMayHaveEdited) {
    const std::string good = entry("[0,1]", "[0,0.5]", "[0,0.25]");
    const auto decoded =
        decodeTables("{\n \"+42\": " + good + ", \"abc\": " + good + ", \"\": " + good + ", \"-1\": " + good +
                     ", \"4294967296\": " + good + ", \"1.0\": " + good + ", \"++3\": " + good +
                     ", \"0\": {\"note\":[{}],\"blue\":[-3,9,18446744073709551616],\"green\":[0.5,1e-60,1,1]," +
                     "\"red\":[0,1,0.5,1]}, \"6\": " + entry("[0,1]", "[0]", "[0,1]") + "}");
    ASSERT_TRUE(decoded) << inEnglish(decoded.error().message);
    const std::map<DisplayId, GammaTable> expected{{DisplayId{42}, {{0, 1}, {0, 0.5F}, {0, 0.25F}}},
                                                   {DisplayId{0}, {{0, 1, 0.5F}, {0.5F, 0, 1}, {0, 1, 1}}}};
    EXPECT_EQ(decoded->own, expected);
    const auto twice = decodeTables(R"({"5":)" + good + R"(,"5":)" + entry("[1,1]", "[1,1]", "[1,1]") + "}");
    ASSERT_TRUE(twice);
    EXPECT_EQ(twice->own.at(DisplayId{5}).red, (std::vector<float>{1, 1}));
    EXPECT_TRUE(decodeTables("{}")->own.empty());
}

struct DamageRow {
    const char* name;
    std::string text;
    const char* said;  ///< A part of the message that helps to mend the file.
};

TEST(TableJsonTest, RefusesTheWholeOfADamagedText) {
    const std::string good = R"({"1":)" + entry("[0,1]", "[0,1]", "[0,1]") + ",";
    const DamageRow rows[] = {
        {"empty", "", "line 1"},
        {"array", "[]", "not an object"},
        {"cut off", good, "line 1, column"},
        {"second line", "{\n\"1\": nonsense}", "line 2, column"},
        {"bad UTF-8", "{\"\xff\xfe\":1}", "line 1"},
        {"trailing text", "{} x", "line 1"},
        {"entry is null", good + R"("2":null})", "display 2 is not an object"},
        {"channel missing", good + R"("2":{"red":[],"green":[]}})", "no array \"blue\""},
        {"channel is a number", good + R"("2":)" + entry("[0,1]", "3", "[0,1]") + "}", "no array \"green\""},
        {"level is a text", good + R"("2":)" + entry("[0,\"1\"]", "[0,1]", "[0,1]") + "}", "in \"red\""},
        {"broken entry of nobody", good + R"("x\n":[]})", "no display's is not an object"},
        {"too large for the type", good + R"("2":)" + entry("[0,1e39]", "[0,1]", "[0,1]") + "}", "1e39"},
        {"infinity", good + R"("2":)" + entry("[0,Infinity]", "[0,1]", "[0,1]") + "}", "line 1"},
        {"profiles are a list", R"({"profiles":[]})", "profiles are not an object"},
        {"profile without a path", R"({"profiles":{"1":{"source":"icc"}}})", "no text \"path\""},
        {"deep", std::string(200000, '['), "line 1"},
        {"deep and closed", "{\"1\":" + std::string(200000, '[') + std::string(200000, ']') + "}", "not an object"},
    };
    for (const auto& row : rows) {
        const auto decoded = decodeTables(row.text);
        ASSERT_FALSE(decoded) << row.name;
        EXPECT_EQ(decoded.error().code, ErrorCode::InvalidInput) << row.name;
        EXPECT_NE(inEnglish(decoded.error().message).find(row.said), std::string::npos)
            << row.name << ": " << inEnglish(decoded.error().message);
        EXPECT_EQ(inEnglish(decoded.error().message).find('\n'), std::string::npos) << row.name;
    }
}

}  // namespace
}  // namespace dravo
