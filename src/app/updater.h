#pragma once

#include <functional>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "app/release.h"
#include "app/update_feed.h"
#include "base/observable.h"
#include "base/scheduler.h"

namespace dravo {

/// Where releases are announced: `overriding` if it is there, also when it is empty, else `builtIn`. Empty: nowhere.
/// Errors: `InvalidInput` (neither https nor on this machine), with a sentence for the person.
[[nodiscard]] Result<std::string> feedAddress(std::string_view builtIn, const std::optional<std::string>& overriding);

/// Finds out, when asked, whether there is a newer version. Starts nothing by itself, downloads nothing but the feed
/// and installs nothing.
///
/// Thread: main thread. Lifetime: what it is given outlives it; gone, it gives up what is under way.
class Updater : public Observable, public Probed {
public:
    /// This version, or an older one, is the newest.
    struct UpToDate {
        std::string version;  ///< The one that runs.
    };
    /// To show, and to open in a browser if the person asks for it.
    struct NewerVersion {
        Release release;
    };
    struct CouldNotCheck {
        Sentence reason;
    };
    /// The program was built without an address to ask: updates come with the system's packages.
    struct ComesWithPackages {};

    using Outcome = std::variant<UpToDate, NewerVersion, CouldNotCheck, ComesWithPackages>;
    using Callback = std::function<void(const Outcome&)>;

    struct Idle {};
    struct Checking {};
    /// What a view shows of it; an outcome stays until it is dismissed or the next check.
    using State = std::variant<Idle, Checking, Outcome>;

    /// How long a check takes at most, whatever the other side does.
    static constexpr std::chrono::seconds kPatience{10};

    /// `version` is the one that runs. An `address` that is an error is told to whoever checks.
    /// REQUIRES: a `ReleaseVersion` can be read from `version`.
    Updater(UpdateFeed& feed, Scheduler& scheduler, std::string version, Result<std::string> address);

    /// Checks; while a check is under way, waits for that one. `callback`, which may be empty, comes from the loop and
    /// may call this again, but not destroy it.
    void check(Callback callback = {});

    /// Forgets the outcome. A check under way is given up, and its callbacks never come.
    void dismiss();

    /// Whether a check could be made; makes none.
    Subscription probe(Found found) override;

    [[nodiscard]] const Property<State>& state() const { return state_; }

private:
    void ask();
    [[nodiscard]] Outcome outcomeOf(const Result<std::string>& text) const;
    void finish(const Outcome& outcome);

    UpdateFeed& feed_;
    Scheduler& scheduler_;
    std::string version_;
    Result<std::string> address_;
    Property<State> state_{*this};
    std::vector<Callback> callbacks_;
    Timer turn_;
    Timer patience_;
    Subscription transfer_;
};

}  // namespace dravo
