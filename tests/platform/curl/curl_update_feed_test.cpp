#include "platform/curl/curl_update_feed.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <optional>

#include "support/child_process.h"
#include "support/environment_variable.h"
#include "support/run_until.h"

namespace dravo::curl {
namespace {

using dravo::testing::EnvironmentVariable;
using dravo::testing::runUntil;

constexpr const char* kFeed = R"({"version":"1.3.0","link":"https://dravo.example/"})";

std::string answerWith(const std::string& body, const std::string& status = "200 OK", const std::string& header = "") {
    return "HTTP/1.1 " + status + "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n" + header + "\r\n" +
           body;
}

/// A feed on a real loop, for a person whose home is `folder_` and whose proxy does not answer.
class CurlUpdateFeedTest : public ::testing::Test {
protected:
    /// Fetches `address` and waits for the answer.
    Result<std::string> fetched(const std::string& address) {
        std::optional<Result<std::string>> answer;
        const auto transfer = feed_.fetch(address, [&](const Result<std::string>& text) { answer = text; });
        EXPECT_FALSE(answer) << "never inside the call";
        runUntil(loop_, [&] { return answer.has_value(); });
        return answer.value_or(Error{ErrorCode::Internal, "no answer came"});
    }

    /// What is found under the name of curl from here on.
    void standIn(const std::string& script) {
        dravo::testing::writeProgram(folder_ / "curl", script);
        path_.set(folder_.path().string() + ":/usr/bin:/bin");
    }

    dravo::testing::TemporaryFolder folder_;
    EnvironmentVariable path_{"PATH"};
    EnvironmentVariable home_{"HOME", folder_.path()};
    EnvironmentVariable proxy_{"https_proxy", "http://127.0.0.1:1"};
    EnvironmentVariable authorities_{"CURL_CA_BUNDLE"};
    posix::SdEventLoop loop_;
    CurlUpdateFeed feed_{loop_, loop_, "Dravo/1.2.0"};
};

/// The real curl, and a server over TLS whose certificate nobody has signed but itself.
class SecureFeedTest : public CurlUpdateFeedTest {
protected:
    /// What is fetched from a server that sends exactly these bytes.
    Result<std::string> fetchedFrom(const std::string& answer) {
        std::ofstream(folder_ / "page", std::ios::binary) << answer;
        return fetched("https://127.0.0.1:" + port_ + "/page");
    }

    dravo::testing::ChildProcess server_{"/bin/sh",
                                         {.arguments = {"-ec", R"(cd "$1"
                openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -days 2 -subj /CN=127.0.0.1 \
                    -addext subjectAltName=IP:127.0.0.1 -keyout key -out certificate
                exec openssl s_server -HTTP -accept 127.0.0.1:0 -cert certificate -key key)",
                                                        "sh", folder_.path()},
                                          .environment = {{"PATH", "/usr/bin:/bin"}}}};
    std::string port_ = server_.announced("ACCEPT 127.0.0.1:");
};

TEST_F(SecureFeedTest, TakesWhatATrustedServerSaysAndNothingElse) {
    // What a person allows curl in general is not allowed to us.
    std::ofstream(folder_ / ".curlrc") << "insecure\n";
    authorities_.set(nullptr);
    EXPECT_EQ(fetchedFrom(answerWith(kFeed)).error().code, ErrorCode::PermissionDenied);

    authorities_.set(folder_ / "certificate");
    EXPECT_EQ(fetchedFrom(answerWith(kFeed)).value(), kFeed) << "this machine is asked without the proxy";
    const std::string largest(kMaxFeedBytes, '\n');
    EXPECT_EQ(fetchedFrom(answerWith(largest)).value(), largest);

    const auto sentOnTo = [](const std::string& address) {
        return answerWith("", "302 Found", "Location: " + address + "\r\n");
    };
    const struct {
        const char* name;
        std::string answer;
        ErrorCode code;
    } rows[] = {
        {"nothing at all", "", ErrorCode::Disconnected},
        {"announces too much", "HTTP/1.1 200 OK\r\nContent-Length: 65537\r\n\r\n{}", ErrorCode::InvalidInput},
        {"sends too much unannounced", "HTTP/1.1 200 OK\r\n\r\n" + std::string(kMaxFeedBytes + 2000, 'x'),
         ErrorCode::InvalidInput},
        {"is not there", answerWith(kFeed, "404 Not Found"), ErrorCode::InvalidInput},
        {"has no content", "HTTP/1.1 204 No Content\r\n\r\n", ErrorCode::InvalidInput},
        {"sends on to nowhere", answerWith(kFeed, "302 Found"), ErrorCode::InvalidInput},
        {"sends on in circles", sentOnTo("/page"), ErrorCode::Internal},
        {"sends on to http", sentOnTo("http://127.0.0.1/"), ErrorCode::PermissionDenied},
    };
    for (const auto& row : rows) {
        const auto text = fetchedFrom(row.answer);
        ASSERT_FALSE(text) << row.name;
        EXPECT_EQ(text.error().code, row.code) << row.name << ": " << inEnglish(text.error().message);
    }
    EXPECT_EQ(fetched("https://dravo.example/feed").error().code, ErrorCode::Disconnected) << "the proxy is dead";
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
    path_.set(folder_ / "nowhere");
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
    ASSERT_TRUE(runUntil(loop_, [&] { return ticks >= 20 && std::filesystem::exists(folder_ / "pid"); }));
    const int pid = std::stoi(dravo::testing::contentOf(folder_ / "pid"));
    EXPECT_EQ(::kill(pid, 0), 0);
    transfer.reset();
    EXPECT_EQ(::kill(pid, 0), -1) << "neither running nor waiting to be reaped";
    sd_event_run(loop_.event(), 0);
    EXPECT_FALSE(isAnswered);
}

}  // namespace
}  // namespace dravo::curl
