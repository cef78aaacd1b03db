#pragma once

#include <gtest/gtest.h>

#include "support/private_x_server.h"

namespace dravo::testing {

/// A test on a real X server of its own.
class DesktopTest : public ::testing::Test {
protected:
    /// How many displays are on when the test begins.
    explicit DesktopTest(std::size_t displays = 3) : server_(displays) {}

    [[nodiscard]] PrivateXServer& server() { return server_; }
    [[nodiscard]] XGamma& displays() { return server_.displays(); }
    /// What a program needs in its environment to reach the server.
    [[nodiscard]] Environment onServer() const { return {{"DISPLAY", server_.address()}}; }

private:
    PrivateXServer server_;
};

}  // namespace dravo::testing
