#include "app/launch_at_login.h"

#include <gtest/gtest.h>

#include "support/memory/memory_login_item.h"

namespace dravo {
namespace {

using Status = LoginItemService::Status;

TEST(LaunchAtLoginTest, IsOnOnlyWhereTheDesktopReallyStartsUs) {
    memory::MemoryLoginItem desktop;
    const LaunchAtLogin launchAtLogin(desktop);
    const std::pair<Status, bool> rows[] = {{Status::notRegistered, false},
                                            {Status::enabled, true},
                                            {Status::requiresApproval, false},
                                            {Status::notFound, false}};
    for (const auto& [status, isOn] : rows) {
        desktop.held = status;
        EXPECT_EQ(launchAtLogin.isEnabled(), isOn);
    }
}

TEST(LaunchAtLoginTest, SaysARefusalInOneLineAndLeavesIt) {
    memory::MemoryLoginItem desktop;
    LaunchAtLogin launchAtLogin(desktop);
    ::testing::internal::CaptureStdout();
    EXPECT_TRUE(launchAtLogin.setEnabled(true));
    EXPECT_TRUE(launchAtLogin.isEnabled());
    desktop.fails = Error{ErrorCode::PermissionDenied, "the folder is read-only"};
    EXPECT_FALSE(launchAtLogin.setEnabled(false));
    EXPECT_TRUE(launchAtLogin.isEnabled());
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "LaunchAtLogin error: the folder is read-only\n");
}

}  // namespace
}  // namespace dravo
