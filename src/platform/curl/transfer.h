#pragma once

#include <cstddef>
#include <mutex>
#include <string>
#include <vector>

#include "base/result.h"
#include "platform/curl/curl_library.h"

namespace dravo::curl {

/// What a transfer asks for, and how.
struct Request {
    std::string address;
    bool isSecure = true;   ///< https; else http, which then is this machine's own.
    bool usesProxy = true;  ///< That of the environment: https_proxy, all_proxy, no_proxy.
    std::string userAgent;
    std::string authorities;             ///< A file of certificates to trust instead of the system's; empty: those.
    std::vector<std::string> libraries;  ///< Names under which libcurl is looked for, in this order.
};

/// Why a transfer failed.
struct Fault {
    enum class Kind { noLibrary, unreachable, insecure, leadsAway, tooLong, status, brokenOff, other };

    Kind kind = Kind::other;
    std::string detail;  ///< The library's words, or the server's status; English.
};

/// Fetches one text, on a thread that may wait. An address to which it is sent on has to be https.
class Transfer {
public:
    explicit Transfer(Request request) : request_(std::move(request)) {}
    Transfer(const Transfer&) = delete;
    Transfer& operator=(const Transfer&) = delete;

    /// Fetches the text; returns soon after somebody gave it up, with anything. Call once.
    [[nodiscard]] Result<std::string, Fault> run();

    /// Thread: any.
    void giveUp();

private:
    struct Handles;

    void prepare(const CurlLibrary& library, CURL* easy);
    [[nodiscard]] bool enter(const CurlLibrary& library, CURLM* multi);
    void leave();
    [[nodiscard]] bool isGivenUp();
    [[nodiscard]] CURLcode perform(const CurlLibrary& library, CURL* easy, CURLM* multi);
    [[nodiscard]] Fault faultOf(const CurlLibrary& library, CURL* easy, CURLcode code) const;

    static std::size_t onBody(const char* bytes, std::size_t size, std::size_t count, void* self);
    static std::size_t onHeader(const char* bytes, std::size_t size, std::size_t count, void* self);

    const Request request_;
    std::string text_;
    std::size_t headerBytes_ = 0;
    bool isTooLong_ = false;

    std::mutex mutex_;
    bool isGivenUp_ = false;
    CURLM* multi_ = nullptr;  ///< While somebody may wake it.
    decltype(&::curl_multi_wakeup) wakeUp_ = nullptr;
};

}  // namespace dravo::curl
