#pragma once

#include <cstdio>
#include <string_view>

#include "base/result.h"

namespace dravo::cli {

/// A command's standard output. Writing never fails on the spot: the first failure is kept and told by `flush`, so
/// that a full disk or a closed pipe cannot pass for success.
///
/// Lifetime: the stream outlives it.
class Output {
public:
    explicit Output(std::FILE* stream) : stream_(stream) {}

    void write(std::string_view text);

    /// Hands everything to the system.
    /// Errors: `Internal` with the system's reason: end with `ExitCode::FileTrouble`.
    [[nodiscard]] Result<void> flush();

private:
    std::FILE* stream_;
    int firstError_ = 0;
};

}  // namespace dravo::cli
