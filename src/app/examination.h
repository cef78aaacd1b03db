#pragma once

#include <chrono>
#include <functional>
#include <vector>

#include "app/port_report.h"
#include "base/scheduler.h"
#include "base/subscription.h"

namespace dravo {

/// Asks for every port whether it works here, all side by side: the one place that puts the answers together.
///
/// Thread: main thread. Lifetime: what is asked outlives it, and it its subscriptions.
class Examination {
public:
    using Reports = std::vector<PortReport>;
    using Told = std::function<void(const Reports&)>;

    struct Question {
        TextKey port;                           ///< Told of if no answer comes.
        std::function<Subscription(Told)> ask;  ///< As `Probed::probe`.
    };

    /// After this an answer counts as missing, whatever hangs.
    static constexpr std::chrono::milliseconds kPatience{1500};

    Examination(Scheduler& scheduler, std::vector<Question> questions)
        : scheduler_(scheduler), questions_(std::move(questions)) {}

    /// `onDone` comes once, from the loop, with the answers in the order of the questions. The subscription's end gives
    /// the examination up.
    [[nodiscard]] Subscription run(Told onDone) const;

private:
    struct Run;

    Scheduler& scheduler_;
    std::vector<Question> questions_;
};

/// The question whether a port works.
[[nodiscard]] Examination::Question askWhether(const TextKey& port, Probed& works);

}  // namespace dravo
