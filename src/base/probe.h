#pragma once

#include <functional>
#include <string>

#include "base/localized.h"
#include "base/result.h"
#include "base/subscription.h"

namespace dravo {

/// What a look at something that the program asks of the desktop has shown, for a person who wonders why it does not
/// work.
struct Finding {
    std::string adapter = {};  ///< What serves it, e.g. "x11"; empty where nothing does.
    Sentence problem = {};     ///< Why it does not work; empty when it does.
    Sentence remedy = {};      ///< What the person can do about it; may be empty.
    std::string command = {};  ///< The same as a line for a terminal, where there is one.

    [[nodiscard]] bool works() const { return problem.empty(); }
    bool operator==(const Finding&) const = default;
};

/// That it does not work, because of this.
[[nodiscard]] inline Finding findingOf(const Error& error) { return {{}, error.message}; }

/// Something that the program asks of the desktop and that can tell whether it works here.
///
/// Thread: main thread. Lifetime: outlives its subscriptions.
class Probed {
public:
    using Found = std::function<void(const Finding&)>;

    virtual ~Probed() = default;

    /// Looks, and changes nothing that a person would notice. `found` is called once, inside this call or from the
    /// loop; while a service hangs it does not come. The subscription's end drops it.
    [[nodiscard]] virtual Subscription probe(Found found) = 0;
};

}  // namespace dravo
