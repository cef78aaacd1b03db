#include "platform/curl/curl_update_feed.h"

#include "app/updater.h"
#include "feed_fixture.h"
#include "feed_server.h"

namespace dravo::curl {
namespace {

using testing::answerWith;
using testing::FeedServer;
using testing::FeedTest;
using testing::kFeed;

class CurlUpdateFeedTest : public FeedTest {};

TEST_F(CurlUpdateFeedTest, FetchesTheTextAndTellsNothingAboutThePerson) {
    FeedServer server(answerWith(kFeed));
    for (int round = 0; round < 2; ++round) {
        const auto text = fetched(server.address());
        ASSERT_TRUE(text) << text.error().message;
        EXPECT_EQ(*text, kFeed);
    }
    // The second time it might return the cookie of the first.
    for (const auto& request : server.requests()) {
        EXPECT_EQ(request, "GET /feed HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(server.port()) +
                               "\r\nUser-Agent: Dravo/1.2.0\r\nAccept: */*\r\n\r\n");
    }
}

TEST_F(CurlUpdateFeedTest, TakesUpToTheLargestSizeAndUpToThePromisedLength) {
    const std::string largest(kMaxFeedBytes, 'x');
    const std::string lie = "HTTP/1.1 200 OK\r\nContent-Length: 10\r\nConnection: close\r\n\r\n";
    const std::pair<std::string, std::string> rows[] = {{answerWith(largest), largest},
                                                        {lie + kFeed, std::string(kFeed, 10)}};
    for (const auto& [answer, taken] : rows) EXPECT_EQ(fetched(FeedServer(answer).address()).value(), taken);
}

TEST_F(CurlUpdateFeedTest, RefusesWhatIsNoProperAnswer) {
    const std::string tooMuch(kMaxFeedBytes + 1, 'x');
    std::string headers;
    for (int line = 0; line < 10'000; ++line) headers += "X-Padding: 0123456789\r\n";
    const auto sentOnTo = [](const std::string& address) {
        return "HTTP/1.1 302 Found\r\nContent-Length: 0\r\nLocation: " + address + "\r\n\r\n";
    };
    const struct {
        const char* name;
        std::string answer;
        ErrorCode code;
    } rows[] = {
        {"nothing at all", "", ErrorCode::Disconnected},
        {"promises more than it sends", "HTTP/1.1 200 OK\r\nContent-Length: 500\r\n\r\n{}", ErrorCode::Disconnected},
        {"cuts a chunk", "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\nff\r\n{}", ErrorCode::Disconnected},
        {"announces too much", "HTTP/1.1 200 OK\r\nContent-Length: 65537\r\n\r\n{}", ErrorCode::InvalidInput},
        {"sends too much unannounced", "HTTP/1.1 200 OK\r\n\r\n" + tooMuch, ErrorCode::InvalidInput},
        {"headers without end", "HTTP/1.1 200 OK\r\n" + headers + "\r\n{}", ErrorCode::InvalidInput},
        {"is not there", answerWith(kFeed, "404 Not Found"), ErrorCode::InvalidInput},
        {"is ill", answerWith(kFeed, "503 Service Unavailable"), ErrorCode::InvalidInput},
        {"has no content", "HTTP/1.1 204 No Content\r\n\r\n", ErrorCode::InvalidInput},
        {"sends on to nowhere", answerWith(kFeed, "302 Found"), ErrorCode::InvalidInput},
        {"speaks another protocol", "SSH-2.0-OpenSSH_9.2\r\n", ErrorCode::Internal},
        {"speaks HTTP 0.9", "{\"version\":\"9\"}", ErrorCode::Internal},
        {"sends on to http", sentOnTo("http://dravo.example/"), ErrorCode::PermissionDenied},
        {"sends on to this machine", sentOnTo("http://127.0.0.1/"), ErrorCode::PermissionDenied},
        {"sends on to a file", sentOnTo("file:///etc/hostname"), ErrorCode::PermissionDenied},
        {"sends on to another protocol", sentOnTo("gopher://127.0.0.1/"), ErrorCode::PermissionDenied},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        FeedServer server(row.answer);
        const auto text = fetched(server.address());
        ASSERT_FALSE(text) << *text;
        EXPECT_EQ(text.error().code, row.code) << text.error().message;
        EXPECT_FALSE(text.error().message.empty());
    }
    const std::string nobody = FeedServer(answerWith(kFeed)).address();
    EXPECT_EQ(fetched(nobody).error().code, ErrorCode::Disconnected);
}

TEST_F(CurlUpdateFeedTest, SaysPlainlyThatTheLibraryIsMissing) {
    useFeed({.libraries = {"libdravo-has-no-such-library.so.4"}});
    FeedServer server(answerWith(kFeed));
    const auto text = fetched(server.address());
    ASSERT_FALSE(text);
    EXPECT_EQ(text.error().code, ErrorCode::Unsupported);
    EXPECT_NE(text.error().message.find("libcurl"), std::string::npos);
    // Some other library under the name.
    useFeed({.libraries = {"libm.so.6"}});
    EXPECT_FALSE(fetched(server.address()));
    EXPECT_TRUE(server.requests().empty());
}

TEST_F(CurlUpdateFeedTest, TheLoopRunsOnWhileAServerDawdlesUntilItIsGivenUp) {
    FeedServer slow([](const FeedServer::Connection& connection) {
        connection.send("HTTP/1.1 200 OK\r\nContent-Length: 60000\r\n\r\n");
        connection.hold();
    });
    bool isAnswered = false;
    auto transfer = feed->fetch(slow.address(), [&](const auto&) { isAnswered = true; });
    ASSERT_TRUE(runUntil([&] { return !slow.requests().empty(); }));
    int ticks = 0;
    const auto ticking = loop.every(std::chrono::milliseconds{1}, [&] { ++ticks; });
    EXPECT_TRUE(runUntil([&] { return ticks >= 20; }));
    EXPECT_FALSE(isAnswered);
    transfer.reset();
    feed.reset();
    EXPECT_FALSE(isAnswered);
}

TEST_F(CurlUpdateFeedTest, TransfersGivenUpAtAnyMomentNeverAnswer) {
    FeedServer server(answerWith(kFeed));
    int answers = 0;
    for (int round = 0; round < 60; ++round) {
        auto given = feed->fetch(server.address(), [&](const auto&) { ++answers; });
        for (int turn = 0; turn < round % 6; ++turn) sd_event_run(loop.event(), 200);
        answers = 0;
        given.reset();
        sd_event_run(loop.event(), 0);
        EXPECT_EQ(answers, 0);
    }
    EXPECT_TRUE(fetched(server.address())) << "and the next one works";
}

TEST_F(CurlUpdateFeedTest, AsksTheEnvironmentsProxyButNotForThisMachine) {
    FeedServer proxy(answerWith("", "403 Forbidden"));
    const std::string address = "http://127.0.0.1:" + std::to_string(proxy.port());
    ::setenv("https_proxy", address.c_str(), 1);
    ::setenv("http_proxy", address.c_str(), 1);
    EXPECT_FALSE(fetched("https://updates.dravo.example/feed"));
    ASSERT_EQ(proxy.requests().size(), 1u);
    EXPECT_TRUE(proxy.requests()[0].starts_with("CONNECT updates.dravo.example:443 HTTP/1.1\r\n"));
    FeedServer server(answerWith(kFeed));
    EXPECT_TRUE(fetched(server.address()));
    EXPECT_EQ(proxy.requests().size(), 1u);
    ::unsetenv("https_proxy");
    ::unsetenv("http_proxy");
}

TEST_F(CurlUpdateFeedTest, CarriesAnUpdatersWholeCheck) {
    FeedServer server(answerWith(kFeed));
    Updater updater(*feed, loop, "1.2.0", feedAddress("", server.address()));
    std::optional<Updater::Outcome> outcome;
    updater.check([&](const Updater::Outcome& answer) { outcome = answer; });
    ASSERT_TRUE(runUntil([&] { return outcome.has_value(); }));
    const auto* newer = std::get_if<Updater::NewerVersion>(&*outcome);
    ASSERT_TRUE(newer);
    EXPECT_EQ(newer->release.version, "1.3.0");
}

}  // namespace
}  // namespace dravo::curl
