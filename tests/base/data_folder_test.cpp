#include "base/data_folder.h"

#include <gtest/gtest.h>

#include "support/environment_variable.h"

namespace dravo {
namespace {

TEST(DataFolderTest, FollowsTheEnvironmentAndFallsBackToTheUserDatabase) {
    testing::EnvironmentVariable home("HOME");
    testing::EnvironmentVariable runtime("XDG_RUNTIME_DIR");
    home.set("/home/somebody");
    runtime.set("/run/user/7");
    EXPECT_EQ(DataFolder::ofThisUser().home, "/home/somebody/.dravo");
    EXPECT_EQ(DataFolder::ofThisUser().runtime, "/run/user/7/dravo");

    for (const char* unusable : {static_cast<const char*>(nullptr), "", "relative/path"}) {
        home.set(unusable);
        runtime.set(unusable);
        EXPECT_TRUE(DataFolder::ofThisUser().home.is_absolute());
        EXPECT_EQ(DataFolder::ofThisUser().home.filename(), ".dravo");
        EXPECT_TRUE(DataFolder::ofThisUser().runtime.empty());
    }
}

}  // namespace
}  // namespace dravo
