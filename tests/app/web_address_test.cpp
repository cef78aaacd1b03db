#include "app/web_address.h"

#include <gtest/gtest.h>

namespace dravo {
namespace {

TEST(WebAddressTest, SeesTheHostThatEveryOtherReaderSees) {
    const struct {
        const char* text;
        bool isSecure;
        const char* host;
        bool isLoopback;
    } rows[] = {
        {"https://dravo.example/feed.json", true, "dravo.example", false},
        {"HTTPS://Dravo.Example", true, "dravo.example", false},
        {"https://dravo.example:8443?a=b@c", true, "dravo.example", false},
        {"http://localhost:8080/", false, "localhost", true},
        {"http://127.0.0.1", false, "127.0.0.1", true},
        {"http://127.255.3.4#x", false, "127.255.3.4", true},
        {"http://[::1]:80/", false, "::1", true},
        {"http://[::2]/", false, "::2", false},
        {"http://128.0.0.1/", false, "128.0.0.1", false},
        {"http://127.0.0.1.evil.example/", false, "127.0.0.1.evil.example", false},
        {"http://127.0.0.256/", false, "127.0.0.256", false},
        {"http://127.0.0.1.2/", false, "127.0.0.1.2", false},
        {"http://127.0.0/", false, "127.0.0", false},
        {"http://127.0.0.01/", false, "127.0.0.01", false},
        {"http://localhost.evil.example/", false, "localhost.evil.example", false},
        {"http://evil.example/localhost", false, "evil.example", false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        const auto address = parseWebAddress(row.text);
        ASSERT_TRUE(address);
        EXPECT_EQ(address->isSecure, row.isSecure);
        EXPECT_EQ(address->host, row.host);
        EXPECT_EQ(address->isLoopback(), row.isLoopback);
    }
}

TEST(WebAddressTest, RefusesWhatReadersCouldDisagreeAbout) {
    const std::string tooLong = "https://dravo.example/" + std::string(2048, 'a');
    // clang-format off
    const std::string_view rows[] = {
        "", "dravo.example", "//dravo.example", "ftp://dravo.example", "file:///etc/passwd",
        "javascript://dravo.example", "https:/dravo.example", "https://", "https:///feed",
        "https://localhost@evil.example/", "http://localhost:80@evil.example/", "http://127.0.0.1\\@evil.example/",
        "https://dravo.example /", "https://dravo.example/\n", std::string_view("https://dravo.example/\0x", 24),
        "https://dräv.example/", "https://dravo%2eexample/", "https://dravo.example:", "https://dravo.example:0/",
        "https://dravo.example:65536/", "https://dravo.example:8o/", "https://[::1/", "https://[::1]x/",
        "https://[fe80::1%25eth0]/", tooLong};
    // clang-format on
    for (const auto row : rows) EXPECT_FALSE(parseWebAddress(row)) << row;
}

}  // namespace
}  // namespace dravo
