#pragma once

#include <string>

#include "base/localized.h"
#include "base/result.h"
#include "pictures/picture.h"

namespace dravo::pictures {

/// Whether a picture of that size may be read. Comes before any memory is taken for it.
[[nodiscard]] inline Result<void> checkSize(std::uint64_t width, std::uint64_t height) {
    if (width <= kLongestPictureSide && height <= kLongestPictureSide && width * height * 4 <= kMostPictureBytes) {
        return {};
    }
    return Error{ErrorCode::InvalidInput, Sentence(textKey("the picture is too large: %1$@ × %2$@ pixels"),
                                                   {std::to_string(width), std::to_string(height)})};
}

}  // namespace dravo::pictures
