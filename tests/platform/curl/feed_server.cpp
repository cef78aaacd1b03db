#include "feed_server.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include <array>
#include <system_error>

namespace dravo::curl::testing {

namespace {

constexpr int kStep = 5;  // milliseconds
constexpr char kHandshake = 22;

bool isReadable(int socket) {
    pollfd question{socket, POLLIN, 0};
    return ::poll(&question, 1, kStep) > 0;
}

void require(bool isDone) {
    if (!isDone) throw std::system_error(errno, std::generic_category(), "a server for the test");
}

}  // namespace

bool FeedServer::Connection::send(std::string_view bytes) const {
    while (!bytes.empty() && !isEnding_) {
        pollfd question{socket_, POLLOUT, 0};
        if (::poll(&question, 1, kStep) <= 0) continue;
        const auto sent = ::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (sent < 0) return false;
        bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
    return bytes.empty();
}

void FeedServer::Connection::hold() const {
    std::array<char, 256> ignored;
    while (!isEnding_)
        if (isReadable(socket_) && ::recv(socket_, ignored.data(), ignored.size(), 0) <= 0) return;
}

FeedServer::FeedServer(Script script) : script_(std::move(script)) {
    listener_.reset(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    require(static_cast<bool>(listener_));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    auto* const generic = reinterpret_cast<sockaddr*>(&address);
    require(::bind(listener_.get(), generic, length) == 0 && ::listen(listener_.get(), 16) == 0 &&
            ::getsockname(listener_.get(), generic, &length) == 0);
    port_ = ntohs(address.sin_port);
    thread_ = std::thread([this] { serve(); });
}

FeedServer::FeedServer(const std::string& answer)
    : FeedServer([answer](const Connection& connection) { connection.send(answer); }) {}

FeedServer::~FeedServer() {
    isEnding_ = true;
    thread_.join();
}

std::string FeedServer::address() const { return "http://127.0.0.1:" + std::to_string(port_) + "/feed"; }

std::vector<std::string> FeedServer::requests() {
    const std::lock_guard lock(mutex_);
    return requests_;
}

void FeedServer::serve() {
    while (!isEnding_) {
        if (!isReadable(listener_.get())) continue;
        const UniqueFd socket(::accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC));
        if (!socket) continue;
        std::string request;
        std::array<char, 4096> piece;
        // Who begins to encrypt waits for an answer first.
        while (!isEnding_ && request.find("\r\n\r\n") == request.npos && !request.starts_with(kHandshake)) {
            if (!isReadable(socket.get())) continue;
            const auto received = ::recv(socket.get(), piece.data(), piece.size(), 0);
            if (received <= 0) break;
            request.append(piece.data(), static_cast<std::size_t>(received));
        }
        {
            const std::lock_guard lock(mutex_);
            requests_.push_back(request);
        }
        script_(Connection(socket.get(), isEnding_));
        // Unread input would turn the end into a reset, which can overtake the answer.
        ::shutdown(socket.get(), SHUT_WR);
        for (int patience = 0; patience < 20 && !isEnding_; ++patience)
            if (isReadable(socket.get()) && ::recv(socket.get(), piece.data(), piece.size(), 0) <= 0) break;
    }
}

std::string answerWith(const std::string& body, const std::string& status) {
    return "HTTP/1.1 " + status + "\r\nContent-Length: " + std::to_string(body.size()) +
           "\r\nConnection: close\r\nSet-Cookie: seen=1; Path=/\r\n\r\n" + body;
}

}  // namespace dravo::curl::testing
