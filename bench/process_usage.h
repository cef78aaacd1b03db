#pragma once

#include <sys/types.h>

#include <cstdlib>
#include <filesystem>
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

/// What a process has used so far, all its threads together.
struct Usage {
    double milliseconds = 0;  ///< On a processor.
    long waits = 0;           ///< Context switches because it had nothing to do.
    long preemptions = 0;     ///< Context switches because others had.

    Usage operator-(const Usage& before) const {
        return {milliseconds - before.milliseconds, waits - before.waits, preemptions - before.preemptions};
    }
};

inline Usage usageOf(pid_t process) {
    Usage usage;
    for (const auto& thread : std::filesystem::directory_iterator("/proc/" + std::to_string(process) + "/task")) {
        // The first number there is the time on a processor, in nanoseconds.
        usage.milliseconds += std::strtod(testing::contentOf(thread.path() / "schedstat").c_str(), nullptr) / 1e6;
        const std::string status = testing::contentOf(thread.path() / "status");
        usage.waits += numberAfter("\nvoluntary_ctxt_switches:", status);
        usage.preemptions += numberAfter("\nnonvoluntary_ctxt_switches:", status);
    }
    return usage;
}

inline double proportionalSetMegabytes(pid_t process) {
    const auto rollup = testing::contentOf("/proc/" + std::to_string(process) + "/smaps_rollup");
    return static_cast<double>(numberAfter("\nPss:", rollup)) / 1024;
}

}  // namespace dravo::bench
