#pragma once

#include <functional>

namespace dravo::posix {

/// While it lives, a crash of the process, `abort` or `exit` first calls `action`, which may replace the program. If it
/// returns, the end takes its course.
///
/// `action` may run in a signal handler, in the middle of anything: it uses only what was made ready for it.
/// REQUIRES: one at a time. Thread: main thread.
class EndInterceptor {
public:
    explicit EndInterceptor(std::function<void()> action);
    ~EndInterceptor();
    EndInterceptor(const EndInterceptor&) = delete;
    EndInterceptor& operator=(const EndInterceptor&) = delete;
};

}  // namespace dravo::posix
