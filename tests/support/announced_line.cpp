#include "support/announced_line.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace dravo::testing {

AnnouncedLine::AnnouncedLine() {
    if (pipe2(ends_, O_CLOEXEC) != 0) throw std::system_error(errno, std::generic_category(), "pipe2");
}

AnnouncedLine::~AnnouncedLine() {
    closeWriteEnd();
    close(ends_[0]);
}

void AnnouncedLine::closeWriteEnd() {
    if (ends_[1] >= 0) close(ends_[1]);
    ends_[1] = -1;
}

std::string AnnouncedLine::read(std::chrono::milliseconds patience) {
    closeWriteEnd();
    const auto deadline = std::chrono::steady_clock::now() + patience;
    std::string line;
    // The number and the end of the line can come in two pieces.
    for (;;) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        pollfd waiting{ends_[0], POLLIN, 0};
        if (left.count() <= 0 || poll(&waiting, 1, static_cast<int>(left.count())) <= 0) return {};
        char next = 0;
        if (::read(ends_[0], &next, 1) != 1) return {};
        if (next == '\n') return line;
        line += next;
    }
}

}  // namespace dravo::testing
