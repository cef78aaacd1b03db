#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <optional>

#include "platform/curl/curl_update_feed.h"
#include "platform/posix/sd_event_loop.h"
#include "support/wait_until.h"

namespace dravo::curl::testing {

inline constexpr const char* kFeed = R"({"version":"1.3.0","link":"https://dravo.example/"})";

/// A feed on a real loop, in an environment without proxies.
class FeedTest : public ::testing::Test {
protected:
    FeedTest() {
        for (const char* const name : {"http_proxy", "https_proxy", "HTTPS_PROXY", "all_proxy", "ALL_PROXY"})
            ::unsetenv(name);
    }

    void useFeed(const CurlUpdateFeed::Options& options) {
        feed = std::make_unique<CurlUpdateFeed>(loop, loop, options);
    }

    /// Fetches `address` and waits for the answer.
    Result<std::string> fetched(const std::string& address) {
        std::optional<Result<std::string>> answer;
        const auto transfer = feed->fetch(address, [&](const Result<std::string>& text) { answer = text; });
        EXPECT_FALSE(answer) << "never inside the call";
        runUntil([&] { return answer.has_value(); });
        return answer.value_or(Error{ErrorCode::Internal, "no answer came"});
    }

    bool runUntil(const std::function<bool()>& condition) {
        const auto deadline = std::chrono::steady_clock::now() + dravo::testing::kPatience;
        while (!condition() && std::chrono::steady_clock::now() < deadline) sd_event_run(loop.event(), 2'000);
        return condition();
    }

    posix::SdEventLoop loop;
    std::unique_ptr<CurlUpdateFeed> feed =
        std::make_unique<CurlUpdateFeed>(loop, loop, CurlUpdateFeed::Options{.userAgent = "Dravo/1.2.0"});
};

}  // namespace dravo::curl::testing
