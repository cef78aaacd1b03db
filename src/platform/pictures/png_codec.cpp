#include "platform/pictures/png_codec.h"

#include <png.h>

#include <csetjmp>
#include <cstdio>
#include <cstring>

#include "base/localized.h"
#include "platform/pictures/limits.h"

namespace dravo::pictures {

namespace {

/// The library leaves a failing call by longjmp. So what needs destroying lives in these two structs, and the
/// functions that set the jump target hold nothing but plain values.
struct Fault {
    char message[160] = "";
};

[[noreturn]] void onError(png_structp png, png_const_charp message) {
    auto& fault = *static_cast<Fault*>(png_get_error_ptr(png));
    std::snprintf(fault.message, sizeof fault.message, "%s", message);
    png_longjmp(png, 1);
}

void onWarning(png_structp, png_const_charp) {}

struct Reading {
    explicit Reading(std::string_view file) : rest(file) {
        png = png_create_read_struct(PNG_LIBPNG_VER_STRING, &fault, onError, onWarning);
        if (png) info = png_create_info_struct(png);
    }
    ~Reading() { png_destroy_read_struct(&png, &info, nullptr); }
    Reading(const Reading&) = delete;
    Reading& operator=(const Reading&) = delete;

    std::string_view rest;
    Fault fault;
    png_structp png = nullptr;
    png_infop info = nullptr;
};

void readBytes(png_structp png, png_bytep target, std::size_t count) {
    auto& rest = static_cast<Reading*>(png_get_io_ptr(png))->rest;
    if (rest.size() < count) png_error(png, "the file is cut short");
    std::memcpy(target, rest.data(), count);
    rest.remove_prefix(count);
}

bool readHeader(Reading& reading, Picture& picture) {
    if (setjmp(png_jmpbuf(reading.png))) return false;
    png_set_user_limits(reading.png, kLongestPictureSide, kLongestPictureSide);
    png_set_read_fn(reading.png, &reading, readBytes);
    png_read_info(reading.png, reading.info);
    picture.width = png_get_image_width(reading.png, reading.info);
    picture.height = png_get_image_height(reading.png, reading.info);
    picture.hasAlpha = (png_get_color_type(reading.png, reading.info) & PNG_COLOR_MASK_ALPHA) != 0 ||
                       png_get_valid(reading.png, reading.info, PNG_INFO_tRNS) != 0;
    return true;
}

bool readPixels(Reading& reading, Picture& picture, png_bytep* rows) {
    if (setjmp(png_jmpbuf(reading.png))) return false;
    png_set_expand(reading.png);
    png_set_scale_16(reading.png);
    png_set_gray_to_rgb(reading.png);
    png_set_add_alpha(reading.png, 0xff, PNG_FILLER_AFTER);
    static_cast<void>(png_set_interlace_handling(reading.png));
    png_read_update_info(reading.png, reading.info);
    if (png_get_rowbytes(reading.png, reading.info) != std::size_t{4} * picture.width) {
        png_error(reading.png, "rows of unexpected length");
    }
    png_read_image(reading.png, rows);
    png_read_end(reading.png, nullptr);
    return true;
}

Error damaged(const Fault& fault) {
    return Error{ErrorCode::InvalidInput, Sentence(textKey("the PNG picture is damaged: %@"), {fault.message})};
}

struct Writing {
    Writing() {
        png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &fault, onError, onWarning);
        if (png) info = png_create_info_struct(png);
    }
    ~Writing() { png_destroy_write_struct(&png, &info); }
    Writing(const Writing&) = delete;
    Writing& operator=(const Writing&) = delete;

    std::string bytes;
    Fault fault;
    png_structp png = nullptr;
    png_infop info = nullptr;
};

void writeBytes(png_structp png, png_bytep source, std::size_t count) {
    auto& bytes = static_cast<Writing*>(png_get_io_ptr(png))->bytes;
    bytes.append(reinterpret_cast<const char*>(source), count);
}

void flushNothing(png_structp) {}

bool writeAll(Writing& writing, const Picture& picture) {
    if (setjmp(png_jmpbuf(writing.png))) return false;
    constexpr int kBitsPerChannel = 8;
    png_set_write_fn(writing.png, &writing, writeBytes, flushNothing);
    png_set_IHDR(writing.png, writing.info, picture.width, picture.height, kBitsPerChannel,
                 picture.hasAlpha ? PNG_COLOR_TYPE_RGBA : PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_write_info(writing.png, writing.info);
    if (!picture.hasAlpha) png_set_filler(writing.png, 0, PNG_FILLER_AFTER);
    for (std::size_t y = 0; y < picture.height; ++y) {
        png_write_row(writing.png, picture.pixels.data() + y * picture.width * 4);
    }
    png_write_end(writing.png, nullptr);
    return true;
}

}  // namespace

bool isPng(std::string_view file) {
    constexpr std::size_t kSignatureLength = 8;
    return file.size() >= kSignatureLength &&
           png_sig_cmp(reinterpret_cast<png_const_bytep>(file.data()), 0, kSignatureLength) == 0;
}

Result<Picture> decodePng(std::string_view file) {
    Reading reading(file);
    if (!reading.info) return Error{ErrorCode::Internal, "the PNG library does not start"};
    Picture picture;
    if (!readHeader(reading, picture)) return damaged(reading.fault);
    if (const auto fits = checkSize(picture.width, picture.height); !fits) return fits.error();
    const std::size_t stride = std::size_t{4} * picture.width;
    picture.pixels.resize(stride * picture.height);
    std::vector<png_bytep> rows(picture.height);
    for (std::size_t y = 0; y < rows.size(); ++y) rows[y] = picture.pixels.data() + y * stride;
    if (!readPixels(reading, picture, rows.data())) return damaged(reading.fault);
    return picture;
}

Result<std::string> encodePng(const Picture& picture) {
    Writing writing;
    if (!writing.info) return Error{ErrorCode::Internal, "the PNG library does not start"};
    if (!writeAll(writing, picture)) {
        return Error{ErrorCode::Internal, std::string("cannot make the PNG picture: ") + writing.fault.message};
    }
    return std::move(writing.bytes);
}

}  // namespace dravo::pictures
