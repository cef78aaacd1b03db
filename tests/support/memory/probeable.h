#pragma once

#include "base/probe.h"

namespace dravo::memory {

/// A port in memory that is found as a test says.
template <typename Port>
class Probeable : public Port {
public:
    Subscription probe(Probed::Found found) override {
        if (!hangs) found(finding);
        return {};
    }

    Finding finding{"memory"};
    bool hangs = false;  ///< The service behind it never answers.
};

}  // namespace dravo::memory
