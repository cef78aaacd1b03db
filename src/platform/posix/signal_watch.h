#pragma once

#include <functional>

#include "base/descriptor_watch.h"
#include "base/unique_fd.h"

namespace dravo::posix {

/// Hears a signal in the main loop, as input on a descriptor.
///
/// REQUIRES: the signal is blocked in every thread (`TerminationGuard::blockSignals`). Not for the signals that end the
/// program: those have to be heard while the loop is stuck.
class SignalWatch {
public:
    SignalWatch(DescriptorWatch& watch, int signal, std::function<void()> onSignal);
    SignalWatch(const SignalWatch&) = delete;
    SignalWatch& operator=(const SignalWatch&) = delete;

private:
    UniqueFd descriptor_;
    Subscription readable_;
};

}  // namespace dravo::posix
