#include "platform/plasma/profile_last_word.h"

#include <fcntl.h>
#include <sys/socket.h>

#include <chrono>
#include <utility>
#include <vector>

namespace dravo::plasma {
namespace {

using wayland::Connection;

constexpr std::chrono::milliseconds kPatience{2000};

/// Whether `isDone` comes true before `deadline`.
template <typename Condition>
bool serveUntil(OutputClient& client, std::chrono::steady_clock::time_point deadline, const Condition& isDone) {
    while (!isDone()) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0 || (!client.connection().wait(left) && client.connection().isBroken())) return false;
        client.notice();
    }
    return true;
}

}  // namespace

bool ProfileLastWord::guard(std::map<std::string, ProfileSetting> own, int engineConnection) {
    auto targets = std::make_shared<Targets>();
    targets->own = std::move(own);
    targets->engineConnection = UniqueFd(::fcntl(engineConnection, F_DUPFD_CLOEXEC, 0));
    const std::lock_guard lock(mutex_);
    targets_ = std::move(targets);
    return !isSpoken_;
}

void ProfileLastWord::speak() {
    std::shared_ptr<const Targets> targets;
    {
        const std::lock_guard lock(mutex_);
        targets = targets_;
        isSpoken_ = true;
    }
    if (!targets || targets->own.empty()) return;
    const auto deadline = std::chrono::steady_clock::now() + kPatience;
    // A compositor drops what it has not read of a client that has hung up.
    ::shutdown(targets->engineConnection.get(), SHUT_RDWR);
    auto connection = Connection::create();
    if (!connection) return;
    OutputClient client(std::move(*connection));
    if (!serveUntil(client, deadline, [&] { return client.isComplete(); })) return;
    std::vector<OutputClient::Change> changes;
    for (const auto& output : client.outputs())
        if (const auto own = targets->own.find(output.connector); own != targets->own.end())
            changes.push_back({output.connector, own->second});
    if (changes.empty()) return;
    client.configure(changes);
    std::optional<Result<void>> answer;
    if (serveUntil(client, deadline, [&] { return (answer = client.takeAnswer()).has_value(); }) && *answer)
        files_.remove();
}

}  // namespace dravo::plasma
