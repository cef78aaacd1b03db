#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <exception>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "base/result.h"

namespace dravo::bench {

/// Measurements of one thing, in one unit.
using Figures = std::vector<double>;

/// The value that a `share` (0..1) of the figures does not exceed. REQUIRES: there are any.
inline double percentile(Figures figures, double share) {
    std::sort(figures.begin(), figures.end());
    const auto last = static_cast<double>(figures.size() - 1);
    return figures[static_cast<std::size_t>(share * last + 0.5)];
}

inline double median(const Figures& figures) { return percentile(figures, 0.5); }

inline double inMilliseconds(std::chrono::steady_clock::duration time) {
    return std::chrono::duration<double, std::milli>(time).count();
}
inline double inMicroseconds(std::chrono::steady_clock::duration time) { return inMilliseconds(time) * 1000; }

/// How long `action` takes, in microseconds.
template <typename Action>
double microsecondsOf(Action action) {
    const auto start = std::chrono::steady_clock::now();
    action();
    return inMicroseconds(std::chrono::steady_clock::now() - start);
}

/// A measurement whose program did not do its work is worth nothing: it ends the benchmark.
inline void need(bool holds, const std::string& what) {
    if (!holds) throw std::runtime_error(what);
}
template <typename T>
T need(Result<T> result, const std::string& what) {
    if (!result) throw std::runtime_error(what + ": " + inEnglish(result.error().message));
    return std::move(*result);
}

/// The `main` of a benchmark: measures, and tells on standard error why it could not.
template <typename Measure>
int run(const char* name, Measure measure) {
    try {
        measure();
    } catch (const std::exception& fault) {
        std::fprintf(stderr, "%s: %s\n", name, fault.what());
        return 1;
    }
    return 0;
}

}  // namespace dravo::bench
