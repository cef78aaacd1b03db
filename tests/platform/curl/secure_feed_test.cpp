#include <filesystem>
#include <fstream>
#include <optional>

#include "feed_fixture.h"
#include "feed_server.h"
#include "support/child_process.h"
#include "support/temporary_folder.h"

namespace dravo::curl {
namespace {

using dravo::testing::ChildProcess;
using testing::answerWith;
using testing::FeedServer;
using testing::FeedTest;
using testing::kFeed;

constexpr const char* kOpenssl = "/usr/bin/openssl";

/// A feed over TLS, whose certificate nobody has signed but itself.
class SecureFeedTest : public FeedTest {
protected:
    void SetUp() override {
        if (!std::filesystem::exists(kOpenssl)) {
            if (std::getenv("DRAVO_REQUIRE_DESKTOP")) FAIL() << "openssl is not installed";
            GTEST_SKIP() << "openssl is not installed";
        }
        ChildProcess request(kOpenssl, {.arguments = {"req", "-x509", "-newkey", "ec", "-pkeyopt",
                                                      "ec_paramgen_curve:prime256v1", "-nodes", "-days", "2", "-subj",
                                                      "/CN=127.0.0.1", "-addext", "subjectAltName=IP:127.0.0.1",
                                                      "-keyout", folder_ / "key", "-out", certificate()}});
        ASSERT_EQ(request.waitForExit(), dravo::testing::ExitStatus::exited(0)) << request.standardError();
    }

    std::string certificate() const { return folder_ / "certificate"; }

    /// Answers every request for /feed, over TLS, with these bytes.
    void serve(const std::string& answer) {
        std::ofstream(folder_ / "feed") << answer;
        server_.emplace("/bin/sh",
                        ChildProcess::Options{.arguments = {"-c",
                                                            "cd \"$1\" && exec \"$2\" s_server -HTTP -accept "
                                                            "127.0.0.1:0 -cert certificate -key key",
                                                            "sh", folder_.path(), kOpenssl}});
        constexpr std::string_view kAnnouncement = "ACCEPT 127.0.0.1:";
        ASSERT_TRUE(dravo::testing::waitUntil([&] {
            const auto said = server_->standardOutput();
            const auto found = said.find(kAnnouncement);
            if (found == said.npos || said.find('\n', found) == said.npos) return false;
            port_ = said.substr(found + kAnnouncement.size(), said.find('\n', found) - found - kAnnouncement.size());
            return true;
        })) << server_->standardError();
    }
    std::string address(const std::string& host = "127.0.0.1") const {
        return "https://" + host + ":" + port_ + "/feed";
    }

    dravo::testing::TemporaryFolder folder_;
    std::optional<ChildProcess> server_;
    std::string port_;
};

TEST_F(SecureFeedTest, RefusesACertificateThatNobodyTrustedHasSigned) {
    serve(answerWith(kFeed));
    const FeedServer leading("HTTP/1.1 301 Moved\r\nContent-Length: 0\r\nLocation: " + address() + "\r\n\r\n");
    for (const auto& asked : {address(), leading.address()}) {
        const auto text = fetched(asked);
        ASSERT_FALSE(text) << *text;
        EXPECT_EQ(text.error().code, ErrorCode::PermissionDenied) << text.error().message;
    }
}

TEST_F(SecureFeedTest, TakesWhatATrustedServerSaysAndOnlyUnderItsOwnName) {
    serve(answerWith(kFeed));
    useFeed({.authorities = certificate()});
    const FeedServer leading("HTTP/1.1 301 Moved\r\nContent-Length: 0\r\nLocation: " + address() + "\r\n\r\n");
    for (const auto& asked : {address(), leading.address()}) {
        const auto text = fetched(asked);
        ASSERT_TRUE(text) << text.error().message;
        EXPECT_EQ(*text, kFeed);
    }
    const auto otherName = fetched(address("localhost"));
    ASSERT_FALSE(otherName);
    EXPECT_EQ(otherName.error().code, ErrorCode::PermissionDenied);
}

TEST_F(SecureFeedTest, ATrustedServerLeadsNobodyAwayFromSafetyNorInCircles) {
    FeedServer plain(answerWith(kFeed));
    serve("HTTP/1.1 302 Found\r\nContent-Length: 0\r\nLocation: " + plain.address() + "\r\n\r\n");
    useFeed({.authorities = certificate()});
    const auto text = fetched(address());
    ASSERT_FALSE(text) << *text;
    EXPECT_EQ(text.error().code, ErrorCode::PermissionDenied) << text.error().message;
    EXPECT_TRUE(plain.requests().empty());

    serve("HTTP/1.1 302 Found\r\nContent-Length: 0\r\nLocation: /feed\r\n\r\n");
    EXPECT_FALSE(fetched(address()));
}

TEST_F(SecureFeedTest, AServerWithoutEncryptionIsNoSecureOne) {
    FeedServer plain(answerWith(kFeed));
    const auto text = fetched("https://127.0.0.1:" + std::to_string(plain.port()) + "/feed");
    ASSERT_FALSE(text);
    EXPECT_EQ(text.error().code, ErrorCode::PermissionDenied) << text.error().message;
}

}  // namespace
}  // namespace dravo::curl
