#pragma once

#include "app/examination.h"
#include "base/data_folder.h"
#include "display/original_gamma_store.h"
#include "platform/posix/sd_event_loop.h"
#include "session/session.h"

namespace dravo {

/// What a command finds out about this desktop. Part of the composition root.
struct CommandExamination {
    posix::SdEventLoop& loop;
    Session& session;
    OriginalGammaStore& store;
    const DataFolder& folder;
    bool isRunThere = false;  ///< Somebody filters: then that one is asked.

    /// The running program's own examination; without one, or where it does not answer in time, this process's. Runs
    /// the loop, for two seconds at most.
    [[nodiscard]] Examination::Reports run() const;
};

}  // namespace dravo
