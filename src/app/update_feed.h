#pragma once

#include <cstddef>
#include <functional>
#include <string>

#include "base/probe.h"
#include "base/result.h"
#include "base/subscription.h"

namespace dravo {

/// That the answer makes no sense, and why.
[[nodiscard]] inline Sentence nonsensicalAnswer(Sentence why) {
    constexpr TextKey kNonsense = textKey("update.nonsense", "The update server's answer makes no sense.");
    return {textKey("text.aside", "%1$@ (%2$@)"), {kNonsense, std::move(why)}};
}

/// More than this no feed may answer, in bytes.
inline constexpr std::size_t kMaxFeedBytes = std::size_t{64} * 1024;

/// Fetches the text at which releases are announced. Touches the network only when asked to, sends nothing about the
/// person, and never makes the main thread wait.
///
/// Thread: main thread.
class UpdateFeed : public Probed {
public:
    using Answer = std::function<void(const Result<std::string>&)>;

    /// Fetches the whole text at `address`, in http or https as that says; sent on elsewhere it follows to https alone.
    /// `answer` comes once, from the loop, and may end the subscription, whose end gives the transfer up. It may take
    /// longer than a person would wait. Lifetime: this outlives the subscription.
    ///
    /// Errors, each with a sentence for the person: `Unsupported` (what it takes is not installed), `Disconnected` (no
    /// connection, or it broke off), `PermissionDenied` (the other side is not who it should be, or leads somewhere
    /// insecure), `InvalidInput` (it answers with something else, or too much), `Internal`.
    [[nodiscard]] virtual Subscription fetch(const std::string& address, Answer answer) = 0;
};

}  // namespace dravo
