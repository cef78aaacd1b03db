// The composition root: the only place that knows everybody.

#include <fcntl.h>

#include <csignal>
#include <cstdio>
#include <memory>
#include <optional>

#include "base/data_folder.h"
#include "base/report.h"
#include "cli/command_context.h"
#include "cli/command_line.h"
#include "cli/running_instance.h"
#include "display/original_gamma_store.h"
#include "filter/model/custom_preset_store.h"
#include "platform/pictures/picture_module.h"
#include "platform/posix/instance_lock.h"
#include "platform/x11/x11_display_server.h"

namespace {

using namespace dravo;

/// A descriptor 0, 1 or 2 that the caller closed would be given to the first file or socket opened here, and what is
/// printed would land in it. Opened for reading only, so that printing fails as it should.
void fillStandardDescriptors() {
    for (int descriptor = 0; descriptor <= 2; ++descriptor) {
        if (::fcntl(descriptor, F_GETFD) == -1) static_cast<void>(::open("/dev/null", O_RDONLY | O_NOCTTY));
    }
}

/// Another run, known by the lock that it holds.
class LockHolder : public cli::RunningInstance {
public:
    explicit LockHolder(const DataFolder& folder) : lockFile_(folder.lockFile()) {}

    Result<bool> switchOff() override {
        const pid_t holder = posix::InstanceLock::holder(lockFile_);
        if (holder == 0) return false;
        return Error{ErrorCode::Busy, "Dravo is running (process " + std::to_string(holder) +
                                          ") and keeps the filter on; end it, and the displays get their tables back"};
    }

private:
    std::string lockFile_;
};

/// What the commands ask for, made when one of them does.
class CommandWorld {
public:
    Result<DisplayServer*> displays() {
        if (!server_) {
            auto server = x11::X11DisplayServer::create("", nullptr);
            if (!server) return server.error();
            server_ = std::move(*server);
        }
        return server_.get();
    }

    std::vector<FilterPreset> userPresets() {
        auto presets = readCustomPresets(folder().home);
        if (presets) return std::move(*presets);
        if (presets.error().code != ErrorCode::NotFound) reportOnce("own presets", presets.error().message);
        return {};
    }

    cli::RunningInstance& runningInstance() { return instance_ ? *instance_ : instance_.emplace(folder()); }

    Result<OriginalGammaStore*> savedTables(DisplayServer& server) {
        OriginalGammaStore& saved = saved_.emplace(server, folder());
        saved.ensureDirectory();
        auto lock = posix::InstanceLock::acquire(folder().lockFile());
        if (!lock) return lock.error();
        lock_.emplace(std::move(*lock));
        return &saved;
    }

private:
    const DataFolder& folder() { return folder_ ? *folder_ : folder_.emplace(DataFolder::ofThisUser()); }

    std::optional<DataFolder> folder_;
    std::optional<LockHolder> instance_;
    std::optional<posix::InstanceLock> lock_;
    std::unique_ptr<DisplayServer> server_;
    std::optional<OriginalGammaStore> saved_;
};

int runCommand(int argc, char** argv) {
    std::signal(SIGPIPE, SIG_IGN);
    cli::Output out(stdout);
    cli::Output err(stderr);
    CommandWorld world;
    cli::CommandContext context{
        .out = out,
        .err = err,
        .displays = [&] { return world.displays(); },
        .userPresets = [&] { return world.userPresets(); },
        .runningInstance = [&]() -> cli::RunningInstance& { return world.runningInstance(); },
        .savedTables = [&](DisplayServer& server) { return world.savedTables(server); },
        .pictures = [] { return pictures::loadPictureModule(DRAVO_VERSION); },
    };
    return static_cast<int>(cli::runCommandLine(argc, argv, context));
}

}  // namespace

int main(int argc, char** argv) {
    fillStandardDescriptors();
    if (cli::asksToFilter(argc, argv)) {
        std::fputs("dravo: no display server to talk to\n", stderr);
        return static_cast<int>(cli::ExitCode::NoDisplayServer);
    }
    return runCommand(argc, argv);
}
