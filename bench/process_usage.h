#pragma once

#include <sys/types.h>

#include <cstdlib>
#include <filesystem>
#include <map>
#include <string>

#include "figures.h"
#include "support/temporary_folder.h"

namespace dravo::bench {

/// The number after `name` in one of the kernel's files.
inline long numberAfter(const std::string& name, const std::string& text) {
    const auto found = text.find(name);
    need(found != std::string::npos, "the kernel does not tell " + name);
    return std::strtol(text.c_str() + found + name.size(), nullptr, 10);
}

/// What one or more threads have used.
struct Usage {
    double milliseconds = 0;  ///< On a processor.
    long waits = 0;           ///< Context switches because they had nothing to do.
    long preemptions = 0;     ///< Context switches because others had.
};

/// What each thread of a process has used so far, by its number.
using Books = std::map<std::string, Usage>;

inline Books booksOf(pid_t process) {
    Books books;
    for (const auto& thread : std::filesystem::directory_iterator("/proc/" + std::to_string(process) + "/task")) {
        const std::string status = testing::contentOf(thread.path() / "status");
        books[thread.path().filename()] = {
            // The first number there is the time on a processor, in nanoseconds.
            std::strtod(testing::contentOf(thread.path() / "schedstat").c_str(), nullptr) / 1e6,
            numberAfter("\nvoluntary_ctxt_switches:", status), numberAfter("\nnonvoluntary_ctxt_switches:", status)};
    }
    return books;
}

/// What a process has used since `before`; the last of a thread that has ended since is not known.
inline Usage usedSince(const Books& before, pid_t process) {
    Usage used;
    for (const auto& [thread, now] : booksOf(process)) {
        const auto found = before.find(thread);
        const Usage then = found == before.end() ? Usage{} : found->second;
        used.milliseconds += now.milliseconds - then.milliseconds;
        used.waits += now.waits - then.waits;
        used.preemptions += now.preemptions - then.preemptions;
    }
    return used;
}

inline double proportionalSetMegabytes(pid_t process) {
    const auto rollup = testing::contentOf("/proc/" + std::to_string(process) + "/smaps_rollup");
    return static_cast<double>(numberAfter("\nPss:", rollup)) / 1024;
}

}  // namespace dravo::bench
