#include <string_view>

#include "base/localized.h"
#include "cli/picture_service.h"
#include "platform/pictures/jpeg_codec.h"
#include "platform/pictures/png_codec.h"
#include "platform/pictures/sheets.h"
#include "platform/pictures/test_card.h"

namespace dravo::pictures {

namespace {

class Service : public cli::PictureService {
public:
    Result<cli::Picture> decode(std::string_view file) override {
        if (isPng(file)) return decodePng(file);
        if (isJpeg(file)) return decodeJpeg(file);
        return Error{ErrorCode::InvalidInput, localized("this is neither a PNG nor a JPEG picture")};
    }
    Result<std::string> encode(const cli::Picture& picture) override { return encodePng(picture); }
    Result<cli::Picture> testCard() override { return drawTestCard(1); }
    Result<cli::Picture> presetSheet(std::span<const cli::PresetCell> cells) override { return drawPresetSheet(cells); }
    Result<cli::Picture> beforeAndAfter(std::span<const cli::DisplayCell> cells) override {
        return drawBeforeAndAfter(cells);
    }
};

}  // namespace

}  // namespace dravo::pictures

/// The only name that the program looks up in this module.
extern "C" __attribute__((visibility("default"))) dravo::cli::PictureService* dravoPictures(const char* version) {
    static dravo::pictures::Service service;
    return std::string_view(version) == DRAVO_VERSION ? &service : nullptr;
}
