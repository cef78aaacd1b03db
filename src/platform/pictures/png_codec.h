#pragma once

#include <string>
#include <string_view>

#include "base/result.h"
#include "pictures/picture.h"

namespace dravo::pictures {

[[nodiscard]] bool isPng(std::string_view file);

/// Any PNG as 8 bits a channel; levels are taken as they stand, without regard to a gamma or colour profile.
/// Errors: `InvalidInput`.
[[nodiscard]] Result<Picture> decodePng(std::string_view file);

/// Errors: `Internal`.
[[nodiscard]] Result<std::string> encodePng(const Picture& picture);

}  // namespace dravo::pictures
