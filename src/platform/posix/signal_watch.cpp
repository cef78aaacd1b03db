#include "platform/posix/signal_watch.h"

#include <sys/signalfd.h>
#include <unistd.h>

#include <csignal>
#include <utility>

namespace dravo::posix {

SignalWatch::SignalWatch(DescriptorWatch& watch, int signal, std::function<void()> onSignal) {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, signal);
    descriptor_.reset(signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK));
    if (!descriptor_) return;
    readable_ = watch.whenReadable(descriptor_.get(), [this, heard = std::move(onSignal)] {
        signalfd_siginfo received;
        if (read(descriptor_.get(), &received, sizeof(received)) == sizeof(received)) heard();
    });
}

}  // namespace dravo::posix
