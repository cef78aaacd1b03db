#pragma once

namespace dravo::cli {

/// What a command's end tells the script that ran it. The numbers are part of the command line's contract.
enum class ExitCode {
    Ok = 0,
    FileTrouble = 1,      ///< A file, or standard output, could not be read, understood or written.
    SomethingFails = 1,   ///< What 'dravo doctor' examined does not all work.
    WrongUsage = 2,       ///< The command line makes no sense; nothing was done.
    NoDisplayServer = 3,  ///< No display server answered, or it went away.
    Refused = 4,          ///< The display server, or the running Dravo, is there and said no.
    NoInstance = 5,       ///< The command needs a running Dravo and there is none.
};

}  // namespace dravo::cli
