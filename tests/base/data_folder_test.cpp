#include "base/data_folder.h"

#include <gtest/gtest.h>

#include "support/environment_variable.h"

namespace dravo {
namespace {

TEST(DataFolderTest, FollowsTheEnvironmentAndFallsBackToTheUserDatabase) {
    testing::EnvironmentVariable home("HOME");
    testing::EnvironmentVariable runtime("XDG_RUNTIME_DIR");
    testing::EnvironmentVariable settings("XDG_CONFIG_HOME");
    home.set("/home/somebody");
    runtime.set("/run/user/7");
    settings.set("/etc/somebody");
    EXPECT_EQ(DataFolder::ofThisUser().home, "/home/somebody/.dravo");
    EXPECT_EQ(DataFolder::ofThisUser().runtime, "/run/user/7/dravo");
    EXPECT_EQ(DataFolder::ofThisUser().settings, "/etc/somebody");

    for (const char* unusable : {static_cast<const char*>(nullptr), "", "relative/path"}) {
        settings.set(unusable);
        EXPECT_EQ(DataFolder::ofThisUser().settings.filename(), ".config");
        home.set(unusable);
        runtime.set(unusable);
        EXPECT_TRUE(DataFolder::ofThisUser().home.is_absolute());
        EXPECT_EQ(DataFolder::ofThisUser().home.filename(), ".dravo");
        EXPECT_TRUE(DataFolder::ofThisUser().runtime.empty());
    }
}

}  // namespace
}  // namespace dravo
