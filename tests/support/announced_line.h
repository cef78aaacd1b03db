#pragma once

#include <string>

#include "support/wait_until.h"

namespace dravo::testing {

/// A pipe through which a server says one line when it is ready (its address, its number).
class AnnouncedLine {
public:
    AnnouncedLine();
    ~AnnouncedLine();
    AnnouncedLine(const AnnouncedLine&) = delete;
    AnnouncedLine& operator=(const AnnouncedLine&) = delete;

    /// What the server writes to.
    [[nodiscard]] int writeEnd() const { return ends_[1]; }
    /// The line without its end; empty when the server died or `patience` was over first. Call it once.
    std::string read(std::chrono::milliseconds patience = kPatience);

private:
    void closeWriteEnd();

    int ends_[2] = {-1, -1};
};

}  // namespace dravo::testing
