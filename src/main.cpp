// The composition root: the only place that knows everybody.

#include <fcntl.h>

#include <csignal>
#include <cstdio>

#include "cli/command_context.h"
#include "cli/command_line.h"
#include "platform/pictures/picture_module.h"

namespace {

using namespace dravo;

/// A descriptor 0, 1 or 2 that the caller closed would be given to the first file or socket opened here, and what is
/// printed would land in it. Opened for reading only, so that printing fails as it should.
void fillStandardDescriptors() {
    for (int descriptor = 0; descriptor <= 2; ++descriptor) {
        if (::fcntl(descriptor, F_GETFD) == -1) static_cast<void>(::open("/dev/null", O_RDONLY | O_NOCTTY));
    }
}

Result<DisplayServer*> connectDisplays() { return Error{ErrorCode::NotFound, "no display server to talk to"}; }

Result<std::vector<FilterPreset>> userPresets() { return std::vector<FilterPreset>{}; }

int runCommand(int argc, char** argv) {
    std::signal(SIGPIPE, SIG_IGN);
    cli::Output out(stdout);
    cli::Output err(stderr);
    cli::CommandContext context{
        .out = out,
        .err = err,
        .displays = connectDisplays,
        .userPresets = userPresets,
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
