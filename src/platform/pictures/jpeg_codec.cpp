#include "platform/pictures/jpeg_codec.h"

#include <turbojpeg.h>

#include <string>

#include "base/localized.h"
#include "base/owned.h"
#include "platform/pictures/limits.h"

namespace dravo::pictures {

namespace {

using Handle = Owned<void, tjDestroy>;

Error damaged(const Handle& handle) {
    return Error{ErrorCode::InvalidInput,
                 Sentence(textKey("the JPEG picture is damaged: %@"), {tjGetErrorStr2(handle.get())})};
}

}  // namespace

bool isJpeg(std::string_view file) { return file.starts_with("\xff\xd8\xff"); }

Result<Picture> decodeJpeg(std::string_view file) {
    const Handle handle(tjInitDecompress());
    if (!handle) return Error{ErrorCode::Internal, "the JPEG library does not start"};
    const auto* const bytes = reinterpret_cast<const unsigned char*>(file.data());
    int width = 0;
    int height = 0;
    int subsampling = 0;
    int colourspace = 0;
    if (tjDecompressHeader3(handle.get(), bytes, file.size(), &width, &height, &subsampling, &colourspace) != 0) {
        return damaged(handle);
    }
    if (colourspace == TJCS_CMYK || colourspace == TJCS_YCCK) {
        return Error{ErrorCode::InvalidInput,
                     textKey("the JPEG picture has printing colours (CMYK), which a screen has not")};
    }
    Picture picture{static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height), false, {}};
    if (const auto fits = checkSize(picture.width, picture.height); !fits) return fits.error();
    picture.pixels.resize(std::size_t{4} * picture.width * picture.height);
    // A few kilobytes can hold thousands of passes over a large picture.
    constexpr int kFlags = TJFLAG_ACCURATEDCT | TJFLAG_LIMITSCANS;
    if (tjDecompress2(handle.get(), bytes, file.size(), picture.pixels.data(), width, 0, height, TJPF_RGBA, kFlags) !=
        0) {
        return damaged(handle);
    }
    return picture;
}

}  // namespace dravo::pictures
