#include "platform/posix/background_work.h"

#include <pthread.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <system_error>
#include <utility>

namespace dravo::posix {

namespace {

/// Blocks every signal for as long as it lives; threads started meanwhile keep them blocked.
class QuietMoment {
public:
    QuietMoment() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &before_);
    }
    ~QuietMoment() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    QuietMoment(const QuietMoment&) = delete;
    QuietMoment& operator=(const QuietMoment&) = delete;

private:
    sigset_t before_;
};

}  // namespace

Result<std::unique_ptr<BackgroundWork>> BackgroundWork::start(DescriptorWatch& watch, std::function<void()> work,
                                                              std::function<void()> onDone) {
    UniqueFd ended(::eventfd(0, EFD_CLOEXEC));
    if (!ended) return Error{ErrorCode::Internal, "there are no descriptors left", errno};
    const int descriptor = ended.get();
    std::unique_ptr<BackgroundWork> started(new BackgroundWork(std::move(ended)));
    const QuietMoment quiet;
    try {
        started->thread_ = std::thread([work = std::move(work), descriptor] {
            work();
            // With room for 2^64 - 2 it does not fail.
            const std::uint64_t one = 1;
            static_cast<void>(!::write(descriptor, &one, sizeof one));
        });
    } catch (const std::system_error& fault) {
        return Error{ErrorCode::Internal, "there is no thread to be had", fault.code().value()};
    }
    started->done_ = watch.whenReadable(descriptor, [self = started.get(), done = std::move(onDone)] {
        self->done_.reset();
        self->thread_.join();  // It is through: this makes what it wrote ours.
        done();
    });
    return started;
}

BackgroundWork::~BackgroundWork() {
    done_.reset();
    if (thread_.joinable()) thread_.join();
}

}  // namespace dravo::posix
