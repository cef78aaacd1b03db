#pragma once

#include <string_view>

#include "base/result.h"
#include "pictures/picture.h"

namespace dravo::pictures {

[[nodiscard]] bool isJpeg(std::string_view file);

/// Any JPEG in colour or grey; one that is damaged anywhere is refused as a whole.
/// Errors: `InvalidInput`.
[[nodiscard]] Result<Picture> decodeJpeg(std::string_view file);

}  // namespace dravo::pictures
