#include <sys/stat.h>

#include <string>

#include "base/files.h"
#include "cli/commands.h"
#include "cli/displays.h"
#include "cli/preset_lookup.h"
#include "cli/text.h"
#include "pictures/picture_service.h"

namespace dravo::cli {

namespace {

/// Pictures are written with one letter after the other, which makes no Arabic: there they are in English.
class PictureLanguage {
public:
    PictureLanguage() {
        if (interfaceLocale().language == "ar") english_.emplace(kEnglish);
    }

private:
    static inline const Localizer kEnglish;
    std::optional<InstalledLocalizer> english_;
};

std::string percent(double fraction) { return percentText(fraction * 100); }

std::string presetNote(const FilterPreset& preset) {
    const auto adjusted = [](const std::string& form, double value) { return filled(form, {percent(value)}); };
    std::string note = preset.isGrayscale ? localized("picture.grayscale", "with the desktop's grayscale mode")
                                          : adjusted(localized("picture.intensity", "intensity %@"), preset.intensity);
    if (preset.dimming != 0) note += " · " + adjusted(localized("picture.dimming", "dimming %@"), preset.dimming);
    if (preset.contrast != 0) note += " · " + adjusted(localized("picture.contrast", "contrast %@"), preset.contrast);
    if (preset.colorTemperature != 6500) note += " · " + fixed(preset.colorTemperature, 0) + " K";
    return note;
}

PresetCell presetCell(const FilterPreset& preset) {
    const PresetChoice choice{preset, {preset.intensity, preset.dimming, preset.blackPoint, preset.contrast}};
    return {preset.localizedName(), preset.id, presetNote(preset), preset.swatchColor(), tableOf(choice)};
}

DisplayCell displayCell(const HeldDisplay& row) {
    constexpr std::size_t kEntries = 256;
    if (row.table.size() == 0) return {row.description.name, localized(row.description.problem), {}};
    const std::string note =
        "ID " + std::to_string(static_cast<std::uint32_t>(row.description.id)) + " · " + entriesText(row.table.size());
    return {row.description.name, note, resample(row.table, kEntries)};
}

/// The mode that this user's new files have.
::mode_t ordinaryFileMode() {
    const ::mode_t mask = ::umask(0);
    ::umask(mask);
    return 0666 & ~mask;
}

/// Saves what was drawn, or says why nothing was.
ExitCode save(const Call& call, PictureService& pictures, const Result<Picture>& drawn, std::string_view path) {
    const auto bytes = drawn ? pictures.encode(*drawn) : drawn.error();
    if (!bytes) return fail(call, ExitCode::FileTrouble, bytes.error().message);
    const auto written = writeFileAtomically(path, *bytes, {.mode = ordinaryFileMode(), .sync = false});
    if (!written) return fail(call, ExitCode::FileTrouble, written.error().message);
    return ExitCode::Ok;
}

Result<Picture> readPicture(PictureService& pictures, std::string_view path) {
    const auto bytes = readFile(path, kMostPictureBytes);
    if (!bytes) return bytes.error();
    auto picture = pictures.decode(*bytes);
    if (!picture) return Error{ErrorCode::InvalidInput, withDetail(path, picture.error().message)};
    return picture;
}

ExitCode drawAllPresets(const Call& call, PictureService& pictures) {
    std::vector<PresetCell> cells;
    const auto [presets, code] = allPresets(call);
    const PictureLanguage language;
    for (const FilterPreset& preset : presets) cells.push_back(presetCell(preset));
    const ExitCode drawn = save(call, pictures, pictures.presetSheet(cells), call.arguments.operands()[0]);
    return drawn == ExitCode::Ok ? code : drawn;
}

ExitCode drawDisplays(const Call& call, PictureService& pictures) {
    const auto [list, code] = listDisplays(call);
    if (!list) return code;
    std::vector<DisplayCell> cells;
    const PictureLanguage language;
    for (const HeldDisplay& row : list->displays) cells.push_back(displayCell(row));
    return save(call, pictures, pictures.beforeAndAfter(cells), call.arguments.operands()[0]);
}

ExitCode drawPreset(const Call& call, PictureService& pictures) {
    const auto& operands = call.arguments.operands();
    const auto [choice, code] = choosePreset(call, operands.back());
    if (!choice) return code;
    auto picture = operands.size() == 3 ? readPicture(pictures, operands[0]) : pictures.testCard();
    if (picture) applyTable(*picture, tableOf(*choice));
    return save(call, pictures, picture, operands[operands.size() - 2]);
}

bool isPngName(std::string_view path) { return path.ends_with(".png") || path.ends_with(".PNG"); }

/// What is wrong with the combination of options and operands, or nothing.
Sentence whatIsWrong(const Arguments& arguments) {
    const bool isSheet = arguments.has("all") || arguments.has("displays");
    const std::size_t count = arguments.operands().size();
    if (arguments.has("all") && arguments.has("displays")) return textKey("--all and --displays exclude each other");
    if (isSheet) {
        for (const char* const option : {"intensity", "dimming", "black-point", "contrast"}) {
            if (arguments.has(option)) return Sentence(textKey("--%@ needs a PRESET"), {option});
        }
        if (count != 1) return textKey("only OUT.png may follow");
    } else if (count < 2) {
        return textKey("OUT.png and PRESET are needed");
    }
    const std::string_view target = arguments.operands()[isSheet ? 0 : count - 2];
    if (isPngName(target)) return {};
    return Sentence(textKey("the picture is written as PNG: %@ must end in .png"), {quoted(target)});
}

ExitCode runPreview(const Call& call) {
    if (const Sentence wrong = whatIsWrong(call.arguments); !wrong.empty()) return misused(call, wrong);
    const auto pictures = call.context.pictures();
    if (!pictures) return fail(call, ExitCode::FileTrouble, pictures.error().message);
    if (call.arguments.has("all")) return drawAllPresets(call, **pictures);
    if (call.arguments.has("displays")) return drawDisplays(call, **pictures);
    return drawPreset(call, **pictures);
}

}  // namespace

const Command kPreviewCommand{
    .name = "preview",
    .summary = textKey("Write a picture as a preset would show it"),
    .usages = {"[IN] OUT.png PRESET [OPTIONS]", "--all OUT.png", "--displays OUT.png"},
    .description = textKey("IN is a PNG or JPEG picture; without it a built-in test card is taken. OUT.png may be IN. "
                           "PRESET is an id that 'dravo presets' lists, or the path of a file with one preset. What no "
                           "option adjusts is as the preset has it."),
    .options = {kIntensityOption,
                kDimmingOption,
                kBlackPointOption,
                kContrastOption,
                {"all", "", textKey("Draw one sheet with every preset")},
                {"displays", "", textKey("Draw a test card without and with what each display holds now")}},
    .leastOperands = 1,
    .mostOperands = 3,
    .run = runPreview,
};

}  // namespace dravo::cli
