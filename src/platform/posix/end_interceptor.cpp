#include "platform/posix/end_interceptor.h"

#include <array>
#include <csignal>
#include <cstdlib>
#include <utility>

namespace dravo::posix {

namespace {

constexpr std::array kCrashes{SIGABRT, SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP};

std::function<void()> pending;
std::array<struct sigaction, kCrashes.size()> before;

void act() {
    if (pending) std::exchange(pending, nullptr)();
}

}  // namespace

EndInterceptor::EndInterceptor(std::function<void()> action) {
    static const int registered = std::atexit(act);
    static_cast<void>(registered);
    pending = std::move(action);
    struct sigaction handling {};
    handling.sa_handler = [](int) { act(); };
    // Not blocked meanwhile: the program that replaces this one would inherit that.
    handling.sa_flags = static_cast<int>(SA_NODEFER | SA_RESETHAND);
    for (std::size_t i = 0; i < kCrashes.size(); ++i) sigaction(kCrashes[i], &handling, &before[i]);
}

EndInterceptor::~EndInterceptor() {
    pending = nullptr;
    for (std::size_t i = 0; i < kCrashes.size(); ++i) sigaction(kCrashes[i], &before[i], nullptr);
}

}  // namespace dravo::posix
