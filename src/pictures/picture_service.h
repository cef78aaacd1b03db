#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "base/result.h"
#include "display/gamma_table.h"
#include "pictures/picture.h"

namespace dravo {

/// One preset on the sheet of all presets.
struct PresetCell {
    std::string name;
    std::string id;
    std::string note;           ///< A line of small print.
    std::optional<Rgb> swatch;  ///< None: grey.
    GammaTable table;           ///< 256 entries.
};

/// One display in a before-and-after picture.
struct DisplayCell {
    std::string name;
    std::string note;                 ///< A line of small print.
    std::optional<GammaTable> table;  ///< 256 entries; none for a display that cannot be filtered.
};

/// Reads, writes and draws pictures. Knows nothing of presets and displays but what it is told.
///
/// Thread: one at a time.
class PictureService {
public:
    virtual ~PictureService() = default;

    /// The picture in the bytes of a PNG or JPEG file, told apart by content.
    /// Errors: `InvalidInput` (neither of them, damaged, cut short, or larger than the limits of `Picture`).
    [[nodiscard]] virtual Result<Picture> decode(std::string_view file) = 0;

    /// The bytes of a PNG file.
    /// Errors: `Internal`.
    [[nodiscard]] virtual Result<std::string> encode(const Picture& picture) = 0;

    /// The built-in test card: a bright screen with paper, text, greys and colours.
    [[nodiscard]] virtual Result<Picture> testCard() = 0;

    /// One sheet with a small picture and the curves of every preset.
    [[nodiscard]] virtual Result<Picture> presetSheet(std::span<const PresetCell> cells) = 0;

    /// The test card as it is beside the test card through each display's table.
    [[nodiscard]] virtual Result<Picture> beforeAndAfter(std::span<const DisplayCell> cells) = 0;
};

/// The name of the function through which a picture module hands out its service, and its type. It answers null if
/// the module was not built for `version` of the program. The service lives as long as the module.
inline constexpr const char* kPictureModuleEntry = "dravoPictures";
using PictureModuleEntry = PictureService* (*)(const char* version);

}  // namespace dravo
