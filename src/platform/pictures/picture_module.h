#pragma once

#include <string>

#include "base/result.h"
#include "pictures/picture_service.h"

namespace dravo::pictures {

/// Loads the module that reads, writes and draws pictures: beside the executable, or where it is installed. The
/// libraries that it needs cost nobody else's start. It is never unloaded.
///
/// Errors: `NotFound` (no such module, or one that does not load), `Unsupported` (it belongs to another version).
[[nodiscard]] Result<PictureService*> loadPictureModule(const std::string& version);

}  // namespace dravo::pictures
