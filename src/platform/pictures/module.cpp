#include <string_view>

#include "base/localized.h"
#include "pictures/picture_service.h"
#include "platform/pictures/jpeg_codec.h"
#include "platform/pictures/png_codec.h"
#include "platform/pictures/sheets.h"
#include "platform/pictures/test_card.h"

namespace dravo::pictures {

namespace {

class Service : public PictureService {
public:
    Result<Picture> decode(std::string_view file) override {
        if (isPng(file)) return decodePng(file);
        if (isJpeg(file)) return decodeJpeg(file);
        return Error{ErrorCode::InvalidInput, textKey("this is neither a PNG nor a JPEG picture")};
    }
    Result<std::string> encode(const Picture& picture) override { return encodePng(picture); }
    Result<Picture> testCard() override { return drawTestCard(1); }
    Result<Picture> presetSheet(std::span<const PresetCell> cells) override { return drawPresetSheet(cells); }
    Result<Picture> beforeAndAfter(std::span<const DisplayCell> cells) override { return drawBeforeAndAfter(cells); }
};

}  // namespace

}  // namespace dravo::pictures

/// The only name that the program looks up in this module.
extern "C" __attribute__((visibility("default"))) dravo::PictureService* dravoPictures(const char* version) {
    static dravo::pictures::Service service;
    return std::string_view(version) == DRAVO_VERSION ? &service : nullptr;
}
