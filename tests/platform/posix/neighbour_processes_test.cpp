#include "platform/posix/neighbour_processes.h"

#include <gtest/gtest.h>

#include <fstream>
#include <set>
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

    std::set<std::string> told;
    for (const auto& finding : findNeighbours(folder.path())) {
        EXPECT_FALSE(finding.works());
        const std::string& name = finding.problem.values.at(0).plain;
        EXPECT_TRUE(told.insert(name).second) << "once for each program: " << name;
        if (name == "wlsunset") EXPECT_EQ(finding.command, "pkill -x wlsunset");
    }
    EXPECT_EQ(told, (std::set<std::string>{"gammastep", "wlsunset"}));
    std::filesystem::remove_all(folder / "21");
    for (const auto& finding : findNeighbours(folder.path()))
        if (finding.problem.values.at(0).plain == "gammastep")
            EXPECT_EQ(finding.command, "systemctl --user disable --now gammastep.service");
}

}  // namespace
}  // namespace dravo::posix
