#include "base/data_folder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>
#include <string>

namespace dravo {
namespace {

/// A variable of the environment that gets its old value back.
class Variable {
public:
    explicit Variable(const char* name) : name_(name) {
        if (const char* value = std::getenv(name)) before_ = value;
    }
    ~Variable() { set(before_ ? before_->c_str() : nullptr); }
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;
    void set(const char* value) { value ? ::setenv(name_, value, 1) : ::unsetenv(name_); }

private:
    const char* name_;
    std::optional<std::string> before_;
};

TEST(DataFolderTest, FollowsTheEnvironmentAndFallsBackToTheUserDatabase) {
    Variable home("HOME");
    Variable runtime("XDG_RUNTIME_DIR");
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
