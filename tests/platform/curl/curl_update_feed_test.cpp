#include "platform/curl/curl_update_feed.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>

#include "platform/posix/sd_event_loop.h"
#include "support/child_process.h"
#include "support/environment_variable.h"
#include "support/temporary_folder.h"

namespace dravo::curl {
namespace {

using dravo::testing::ChildProcess;
using dravo::testing::EnvironmentVariable;

constexpr const char* kFeed = R"({"version":"1.3.0","link":"https://dravo.example/"})";

std::string answerWith(const std::string& body, const std::string& status = "200 OK", const std::string& header = "") {
    return "HTTP/1.1 " + status + "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n" + header + "\r\n" +
           body;
}

std::string sentOnTo(const std::string& address) {
    return answerWith("", "302 Found", "Location: " + address + "\r\n");
}

/// A feed on a real loop, for a person whose home is `folder_`.
class CurlUpdateFeedTest : public ::testing::Test {
protected:
    CurlUpdateFeedTest() {
        for (auto* const variable : {&authorities_, &proxy_, &anyProxy_, &noProxy_}) variable->set(nullptr);
        home_.set(folder_.path().string());
    }

    /// Fetches `address` and waits for the answer.
    Result<std::string> fetched(const std::string& address) {
        std::optional<Result<std::string>> answer;
        const auto transfer = feed_.fetch(address, [&](const Result<std::string>& text) { answer = text; });
        EXPECT_FALSE(answer) << "never inside the call";
        runUntil([&] { return answer.has_value(); });
        return answer.value_or(Error{ErrorCode::Internal, "no answer came"});
    }

    bool runUntil(const std::function<bool()>& condition) {
        const auto deadline = std::chrono::steady_clock::now() + dravo::testing::kPatience;
        while (!condition() && std::chrono::steady_clock::now() < deadline) sd_event_run(loop_.event(), 2'000);
        return condition();
    }

    /// What is found under the name of curl from here on.
    void standIn(const std::string& script) {
        const auto program = folder_ / "curl";
        std::ofstream(program) << "#!/bin/sh\n" << script << '\n';
        std::filesystem::permissions(program, std::filesystem::perms::owner_all);
        path_.set(folder_.path().string() + ":/usr/bin:/bin");
    }

    dravo::testing::TemporaryFolder folder_;
    EnvironmentVariable path_{"PATH"};
    EnvironmentVariable home_{"HOME"};
    EnvironmentVariable authorities_{"CURL_CA_BUNDLE"};
    EnvironmentVariable proxy_{"https_proxy"};
    EnvironmentVariable anyProxy_{"ALL_PROXY"};
    EnvironmentVariable noProxy_{"no_proxy"};
    posix::SdEventLoop loop_;
    CurlUpdateFeed feed_{loop_, loop_, "Dravo/1.2.0"};
};

/// The real curl, and a server over TLS whose certificate nobody has signed but itself.
class SecureFeedTest : public CurlUpdateFeedTest {
protected:
    void SetUp() override {
        for (const char* const needed : {"/usr/bin/openssl", "/usr/bin/curl"}) {
            if (std::filesystem::exists(needed)) continue;
            if (std::getenv("DRAVO_REQUIRE_DESKTOP")) FAIL() << needed << " is not installed";
            GTEST_SKIP() << needed << " is not installed";
        }
        server_ = std::make_unique<ChildProcess>("/bin/sh",
                                                 ChildProcess::Options{.arguments = {"-ec", R"(cd "$1"
                openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -days 2 -subj /CN=127.0.0.1 \
                    -addext subjectAltName=IP:127.0.0.1 -keyout key -out certificate
                exec openssl s_server -HTTP -accept 127.0.0.1:0 -cert certificate -key key)",
                                                                                     "sh", folder_.path()},
                                                                       .environment = {{"PATH", "/usr/bin:/bin"}}});
        constexpr std::string_view kAnnouncement = "ACCEPT 127.0.0.1:";
        ASSERT_TRUE(dravo::testing::waitUntil([&] {
            const auto said = server_->standardOutput();
            const auto found = said.find(kAnnouncement);
            if (found == said.npos || said.find('\n', found) == said.npos) return false;
            port_ = said.substr(found + kAnnouncement.size(), said.find('\n', found) - found - kAnnouncement.size());
            return true;
        })) << server_->standardError();
        serve("feed", answerWith(kFeed));
    }

    void trustTheServer() { authorities_.set((folder_ / "certificate").string()); }
    /// Answers requests for /`page` with exactly these bytes.
    void serve(const std::string& page, const std::string& answer) {
        std::ofstream(folder_ / page, std::ios::binary) << answer;
    }
    [[nodiscard]] std::string address(const std::string& page = "feed", const std::string& host = "127.0.0.1") const {
        return "https://" + host + ":" + port_ + "/" + page;
    }

    std::unique_ptr<ChildProcess> server_;
    std::string port_;
};

TEST_F(SecureFeedTest, TakesWhatATrustedServerSaysAndOnlyUnderItsOwnName) {
    // What a person allows curl in general is not allowed to us.
    std::ofstream(folder_ / ".curlrc") << "insecure\nurl = \"" << address("other") << "\"\n";
    const auto stranger = fetched(address());
    ASSERT_FALSE(stranger) << *stranger;
    EXPECT_EQ(stranger.error().code, ErrorCode::PermissionDenied) << inEnglish(stranger.error().message);

    trustTheServer();
    serve("elsewhere", sentOnTo("/feed"));
    for (const char* const page : {"feed", "elsewhere"}) EXPECT_EQ(fetched(address(page)).value(), kFeed);
    const auto otherName = fetched(address("feed", "localhost"));
    ASSERT_FALSE(otherName);
    EXPECT_EQ(otherName.error().code, ErrorCode::PermissionDenied);

    // A proxy is asked for others, not for this machine.
    proxy_.set("http://127.0.0.1:1");
    EXPECT_TRUE(fetched(address()));
    EXPECT_EQ(fetched("https://dravo.example/feed").error().code, ErrorCode::Disconnected);
}

TEST_F(SecureFeedTest, TakesUpToTheLargestSizeAndUpToThePromisedLength) {
    trustTheServer();
    const std::string largest(kMaxFeedBytes, '\n');
    serve("largest", answerWith(largest));
    EXPECT_EQ(fetched(address("largest")).value(), largest);
    serve("liar", "HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\n" + std::string(kFeed));
    EXPECT_EQ(fetched(address("liar")).value(), std::string(kFeed, 10));
}

TEST_F(SecureFeedTest, RefusesWhatIsNoProperAnswer) {
    trustTheServer();
    const struct {
        const char* name;
        std::string answer;
        ErrorCode code;
    } rows[] = {
        {"nothing at all", "", ErrorCode::Disconnected},
        {"promises more than it sends", "HTTP/1.1 200 OK\r\nContent-Length: 500\r\n\r\n{}", ErrorCode::Disconnected},
        {"cuts a chunk", "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\nff\r\n{}", ErrorCode::Disconnected},
        {"announces too much", "HTTP/1.1 200 OK\r\nContent-Length: 65537\r\n\r\n{}", ErrorCode::InvalidInput},
        {"sends too much unannounced", "HTTP/1.1 200 OK\r\n\r\n" + std::string(kMaxFeedBytes + 2000, 'x'),
         ErrorCode::InvalidInput},
        {"is not there", answerWith(kFeed, "404 Not Found"), ErrorCode::InvalidInput},
        {"is ill", answerWith(kFeed, "503 Service Unavailable"), ErrorCode::InvalidInput},
        {"has no content", "HTTP/1.1 204 No Content\r\n\r\n", ErrorCode::InvalidInput},
        {"sends on to nowhere", answerWith(kFeed, "302 Found"), ErrorCode::InvalidInput},
        {"sends on in circles", sentOnTo("/page"), ErrorCode::Internal},
        {"speaks HTTP 0.9", "{\"version\":\"9\"}", ErrorCode::Internal},
        {"sends on to http", sentOnTo("http://127.0.0.1/"), ErrorCode::PermissionDenied},
        {"sends on to a file", sentOnTo("file:///etc/hostname"), ErrorCode::PermissionDenied},
        {"sends on to another protocol", sentOnTo("gopher://127.0.0.1/"), ErrorCode::PermissionDenied},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        serve("page", row.answer);
        const auto text = fetched(address("page"));
        ASSERT_FALSE(text) << *text;
        EXPECT_EQ(text.error().code, row.code) << inEnglish(text.error().message);
        EXPECT_FALSE(text.error().message.empty());
    }
    server_.reset();
    EXPECT_EQ(fetched(address()).error().code, ErrorCode::Disconnected);
}

TEST_F(CurlUpdateFeedTest, SaysWhatIsWrongWithTheProgram) {
    const struct {
        const char* script;
        ErrorCode code;
    } rows[] = {
        {"kill -9 $$", ErrorCode::Disconnected},       {"exec yes", ErrorCode::InvalidInput},
        {"exit 0", ErrorCode::InvalidInput},           {"exit 2", ErrorCode::Internal},
        {"exec >&-; exit 6", ErrorCode::Disconnected},
    };
    for (const auto& [script, code] : rows) {
        standIn(script);
        const auto text = fetched("https://dravo.example/feed");
        ASSERT_FALSE(text) << script;
        EXPECT_EQ(text.error().code, code) << script << ": " << inEnglish(text.error().message);
    }
    path_.set((folder_ / "nowhere").string());
    const auto text = fetched("https://dravo.example/feed");
    ASSERT_FALSE(text);
    EXPECT_EQ(text.error().code, ErrorCode::Unsupported);
    EXPECT_NE(inEnglish(text.error().message).find("curl"), std::string::npos);
}

TEST_F(CurlUpdateFeedTest, TheLoopRunsOnWhileAServerDawdlesUntilItIsGivenUp) {
    standIn("echo $$ >\"$HOME/new\"; mv \"$HOME/new\" \"$HOME/pid\"; exec sleep 1000");
    bool isAnswered = false;
    auto transfer = feed_.fetch("https://dravo.example/feed", [&](const auto&) { isAnswered = true; });
    int ticks = 0;
    const auto ticking = loop_.every(std::chrono::milliseconds{1}, [&] { ++ticks; });
    ASSERT_TRUE(runUntil([&] { return ticks >= 20 && std::filesystem::exists(folder_ / "pid"); }));
    const int pid = std::stoi(dravo::testing::contentOf(folder_ / "pid"));
    EXPECT_EQ(::kill(pid, 0), 0);
    transfer.reset();
    EXPECT_EQ(::kill(pid, 0), -1) << "neither running nor waiting to be reaped";
    sd_event_run(loop_.event(), 0);
    EXPECT_FALSE(isAnswered);
}

}  // namespace
}  // namespace dravo::curl
