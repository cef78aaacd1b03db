#pragma once

#include <sys/types.h>

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>

#include "base/result.h"

namespace dravo {

/// Whole small files, read and written in one go. Not for streams, pipes or devices.
///
/// Error messages name the path and the system's reason; `nativeCode` is the errno. Codes, for every function:
/// `NotFound` (the file or a folder on its way is not there), `PermissionDenied` (also a read-only file system),
/// `Internal` (the rest: disk full, input/output error).
///
/// Thread: any; two writers of one path do not mix their texts, the later one wins. What a killed one leaves beside the
/// file is deleted by a later one.

/// How a file is written.
struct WriteOptions {
    ::mode_t mode = 0600;  ///< The new file's permissions, whatever the umask says.
    bool sync = true;      ///< Survives a power cut once the call has returned; costs a few milliseconds.
};

/// Whether nothing has this name. For what is usually absent, to be asked before reading: an error costs its sentence.
[[nodiscard]] bool isAbsent(const std::filesystem::path& path);

/// The contents of a regular file of at most `maxBytes` bytes.
/// Errors: `InvalidInput` (longer than that, or not a regular file).
[[nodiscard]] Result<std::string> readFile(const std::filesystem::path& path, std::size_t maxBytes);

/// Replaces the file, or creates it, so that a reader finds the old text or the new one and never a part. A symbolic
/// link stays one: the file it leads to is replaced. On error the old file is untouched.
Result<void> writeFileAtomically(const std::filesystem::path& path, std::string_view text,
                                 const WriteOptions& options = {});

/// Creates the file, whole or not at all, only if the name is free. (Empty for a moment where the file system can
/// neither rename to a free name nor link.)
/// Errors: `Busy` (something has that name; it is untouched).
Result<void> writeFileIfAbsent(const std::filesystem::path& path, std::string_view text,
                               const WriteOptions& options = {});

/// Makes a file written without `sync` survive a power cut, its name included.
Result<void> syncFile(const std::filesystem::path& path);

/// Makes sure that `path` is a folder; missing ones on the way are created too, all with `mode`. An existing folder
/// keeps its permissions.
/// Errors: `InvalidInput` (something else has that name).
Result<void> ensureDirectory(const std::filesystem::path& path, ::mode_t mode = 0700);

/// Deletes the file; one that is not there counts as deleted.
Result<void> removeFile(const std::filesystem::path& path);

/// Keeps `path` as `path` + ".bad", in place of an earlier one: for a file that cannot be understood and is about to
/// be replaced.
Result<void> setAsideAsBad(const std::filesystem::path& path);

}  // namespace dravo
