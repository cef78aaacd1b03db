#include "platform/posix/neighbour_processes.h"

#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <string>

#include "support/temporary_folder.h"

namespace dravo::posix {
namespace {

TEST(NeighbourProcessesTest, NamesThoseThatTintAndHowEachIsStopped) {
    const dravo::testing::TemporaryFolder folder;
    const auto process = [&](const char* number, const char* name, const char* group) {
        std::filesystem::create_directory(folder / number);
        std::ofstream(folder / number / "comm") << name << '\n';
        std::ofstream(folder / number / "cgroup") << "0::" << group << '\n';
    };
    EXPECT_TRUE(findNeighbours(folder.path()).empty());
    EXPECT_TRUE(findNeighbours(folder / "absent").empty());
    process("1", "systemd", "/init.scope");
    process("20", "gammastep", "/user.slice/user@1000.service/app.slice/gammastep.service");
    process("21", "gammastep", "/user.slice/session-2.scope");
    process("22", "wlsunset", "/user.slice/user@1000.service");
    process("bus", "redshift", "/");
    std::filesystem::create_directory(folder / "23");  // it has just ended

    const auto commands = [&] {
        std::map<std::string, std::string> told;
        for (const auto& finding : findNeighbours(folder.path())) {
            EXPECT_FALSE(finding.works());
            const bool isNew = told.emplace(finding.problem.values.at(0).plain, finding.command).second;
            EXPECT_TRUE(isNew) << "once for each program";
        }
        return told;
    };
    EXPECT_EQ(commands().size(), 2U);
    EXPECT_EQ(commands()["wlsunset"], "pkill -x wlsunset");
    std::filesystem::remove_all(folder / "21");
    EXPECT_EQ(commands()["gammastep"], "systemctl --user disable --now gammastep.service");
}

}  // namespace
}  // namespace dravo::posix
