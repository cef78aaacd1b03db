#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "support/private_x_server.h"

namespace dravo::testing {

/// A test on a real X server of its own. Skipped where no server is installed, unless DRAVO_REQUIRE_DESKTOP is set:
/// then the missing server is the fault.
class DesktopTest : public ::testing::Test {
protected:
    /// How many displays are on when the test begins.
    explicit DesktopTest(std::size_t displays = 3) : displayCount_(displays) {}

    void SetUp() override {
        if (PrivateXServer::isInstalled()) {
            server_ = std::make_unique<PrivateXServer>(displayCount_);
            return;
        }
        const char* missing = "Xorg with the dummy driver is not installed (Debian: xserver-xorg-video-dummy)";
        if (std::getenv("DRAVO_REQUIRE_DESKTOP")) FAIL() << missing;
        GTEST_SKIP() << missing;
    }

    [[nodiscard]] PrivateXServer& server() { return *server_; }
    [[nodiscard]] XGamma& displays() { return server_->displays(); }
    /// What a program needs in its environment to reach the server.
    [[nodiscard]] std::map<std::string, std::string> onServer() { return {{"DISPLAY", server_->address()}}; }

private:
    std::size_t displayCount_;
    std::unique_ptr<PrivateXServer> server_;
};

}  // namespace dravo::testing
