#include "desktop/filter_run_test.h"

namespace dravo::testing {
namespace {

using LostServerTest = FilterRunTest;

TEST_F(LostServerTest, EndsTheRunPlainlyAndKeepsTheFile) {
    const Run run = startAndSettle();
    const std::string saved = contentOf(savedTables());
    preferOther();
    server().kill();
    EXPECT_EQ(run->waitForExit(), ExitStatus::exited(3));
    EXPECT_TRUE(run->standardError().ends_with("dravo: the display server is gone\n")) << run->standardError();
    EXPECT_EQ(contentOf(savedTables()), saved);
}

TEST(NoServerTest, IsSaidByTheRunAndByEveryCommandThatNeedsOne) {
    const TestHome home;
    for (const char* display : {"", ":9999", "nonsense", "no.such.host.invalid:0"}) {
        for (const char* command : {"--headless", "displays", "restore"}) {
            const auto [status, out, said] = runProgram(home, {command}, {{"DISPLAY", display}});
            EXPECT_EQ(status, ExitStatus::exited(3)) << command << " on '" << display << "'";
            EXPECT_EQ(std::ranges::count(said, '\n'), 1) << said;
            EXPECT_NE(said.find(display), std::string::npos) << said;
        }
    }
    EXPECT_FALSE(std::filesystem::exists(home.path() / ".dravo/original_gamma.json"));
}

}  // namespace
}  // namespace dravo::testing
