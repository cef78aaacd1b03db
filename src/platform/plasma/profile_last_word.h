#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "base/unique_fd.h"
#include "display/last_word.h"
#include "platform/plasma/output_client.h"
#include "platform/plasma/profile_files.h"

namespace dravo::plasma {

/// Gives the displays their own profiles on a connection of its own, whatever the main thread is doing.
///
/// It connects when it has to: on a connection that nobody reads, what the compositor tells of every change would pile
/// up until it closes it.
///
/// `open` and `speak` run on the guard's thread, the others on the main thread.
class ProfileLastWord final : public LastWord {
public:
    explicit ProfileLastWord(ProfileFiles files) : files_(std::move(files)) {}

    Result<void> open() override { return {}; }

    /// Takes the engine's connection away, sets every profile that `guard` names and waits until the compositor has
    /// applied them, two seconds at most. Does nothing before the first call of `guard`.
    void speak() override;

    /// What belongs to displays that carry ours, by connector, and the engine's connection. Comes before a request that
    /// gives one of ours to a display. False once the last word is being spoken: then no such request may follow, on
    /// whatever connection.
    [[nodiscard]] bool guard(std::map<std::string, ProfileSetting> own, int engineConnection);

private:
    struct Targets {
        std::map<std::string, ProfileSetting> own;
        UniqueFd engineConnection;
    };

    ProfileFiles files_;
    std::mutex mutex_;
    std::shared_ptr<const Targets> targets_;
    bool isSpoken_ = false;
};

}  // namespace dravo::plasma
