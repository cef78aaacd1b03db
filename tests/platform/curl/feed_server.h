#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "base/unique_fd.h"

namespace dravo::curl::testing {

/// A server on this machine that answers as badly as a test wants, one connection after the other.
class FeedServer {
public:
    /// One connection, whose request has been read.
    class Connection {
    public:
        Connection(int socket, const std::atomic<bool>& isEnding) : socket_(socket), isEnding_(isEnding) {}

        /// False once nobody listens any more.
        bool send(std::string_view bytes) const;
        /// Waits until the other side is gone.
        void hold() const;

    private:
        int socket_;
        const std::atomic<bool>& isEnding_;
    };
    /// What it does with a connection, which is closed afterwards. Runs on the server's thread.
    using Script = std::function<void(const Connection&)>;

    explicit FeedServer(Script script);
    /// Sends this, whatever was asked.
    explicit FeedServer(const std::string& answer);
    ~FeedServer();
    FeedServer(const FeedServer&) = delete;
    FeedServer& operator=(const FeedServer&) = delete;

    [[nodiscard]] std::uint16_t port() const { return port_; }
    /// "http://127.0.0.1:PORT/feed"
    [[nodiscard]] std::string address() const;
    /// The requests so far, as they came.
    [[nodiscard]] std::vector<std::string> requests();

private:
    void serve();

    Script script_;
    UniqueFd listener_;
    std::uint16_t port_ = 0;
    std::atomic<bool> isEnding_ = false;
    std::mutex mutex_;
    std::vector<std::string> requests_;
    std::thread thread_;
};

/// A whole answer with this body.
[[nodiscard]] std::string answerWith(const std::string& body, const std::string& status = "200 OK");

}  // namespace dravo::curl::testing
