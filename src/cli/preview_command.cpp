#include <sys/stat.h>

#include <string>

#include "base/files.h"
#include "cli/arguments.h"
#include "cli/command_line.h"
#include "cli/commands.h"
#include "cli/display_list.h"
#include "cli/picture_service.h"
#include "cli/preset_lookup.h"
#include "cli/text.h"

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

DisplayCell displayCell(const DisplayRow& row) {
    constexpr std::size_t kEntries = 256;
    if (!row.white) return {row.description.name, localized(row.description.problem), {}};
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

ExitCode save(PictureService& pictures, const Picture& picture, std::string_view path, CommandContext& context) {
    const auto bytes = pictures.encode(picture);
    if (!bytes) return fail(context, kPreviewCommand, ExitCode::FileTrouble, bytes.error().message);
    const auto written = writeFileAtomically(path, *bytes, {.mode = ordinaryFileMode(), .sync = false});
    if (!written) return fail(context, kPreviewCommand, ExitCode::FileTrouble, written.error().message);
    return ExitCode::Ok;
}

/// Saves what was drawn, or says why nothing was.
ExitCode finish(PictureService& pictures, const Result<Picture>& drawn, std::string_view path,
                CommandContext& context) {
    if (!drawn) return fail(context, kPreviewCommand, ExitCode::FileTrouble, drawn.error().message);
    return save(pictures, *drawn, path, context);
}

Result<Picture> readPicture(PictureService& pictures, std::string_view path) {
    const auto bytes = readFile(path, kMostPictureBytes);
    if (!bytes) return bytes.error();
    auto picture = pictures.decode(*bytes);
    if (!picture) return Error{ErrorCode::InvalidInput, std::string(path) + ": " + picture.error().message};
    return picture;
}

ExitCode drawAllPresets(PictureService& pictures, std::string_view path, CommandContext& context) {
    std::vector<PresetCell> cells;
    const auto [presets, code] = allPresets(kPreviewCommand, context);
    const PictureLanguage language;
    for (const FilterPreset& preset : presets) cells.push_back(presetCell(preset));
    const ExitCode drawn = finish(pictures, pictures.presetSheet(cells), path, context);
    return drawn == ExitCode::Ok ? code : drawn;
}

ExitCode drawDisplays(PictureService& pictures, std::string_view path, CommandContext& context) {
    const auto server = context.displays();
    if (!server) return failForDisplays(context, kPreviewCommand, server.error());
    const auto list = listDisplays(**server);
    if (!list) return failForDisplays(context, kPreviewCommand, list.error());
    std::vector<DisplayCell> cells;
    const PictureLanguage language;
    for (const DisplayRow& row : list->rows) cells.push_back(displayCell(row));
    return finish(pictures, pictures.beforeAndAfter(cells), path, context);
}

ExitCode drawPreset(PictureService& pictures, const Arguments& arguments, CommandContext& context) {
    const auto& operands = arguments.operands();
    const auto [choice, code] = choosePreset(kPreviewCommand, operands.back(), arguments, context);
    if (!choice) return code;
    auto picture = operands.size() == 3 ? readPicture(pictures, operands[0]) : pictures.testCard();
    if (picture) applyTable(*picture, tableOf(*choice));
    return finish(pictures, picture, operands[operands.size() - 2], context);
}

bool isPngName(std::string_view path) { return path.ends_with(".png") || path.ends_with(".PNG"); }

/// What is wrong with the combination of options and operands, or nothing.
std::string whatIsWrong(const Arguments& arguments) {
    const bool isSheet = arguments.has("all") || arguments.has("displays");
    const std::size_t count = arguments.operands().size();
    if (arguments.has("all") && arguments.has("displays")) return localized("--all and --displays exclude each other");
    if (isSheet) {
        for (const char* const option : {"intensity", "dimming", "black-point", "contrast"}) {
            if (arguments.has(option)) return filled(localized("--%@ needs a PRESET"), {option});
        }
        if (count != 1) return localized("only OUT.png may follow");
    } else if (count < 2) {
        return localized("OUT.png and PRESET are needed");
    }
    const std::string_view target = arguments.operands()[isSheet ? 0 : count - 2];
    if (isPngName(target)) return {};
    return filled(localized("the picture is written as PNG: %@ must end in .png"), {quoted(target)});
}

ExitCode runPreview(const Arguments& arguments, CommandContext& context) {
    if (const std::string wrong = whatIsWrong(arguments); !wrong.empty()) {
        return misused(context, kPreviewCommand, wrong);
    }
    const auto pictures = context.pictures();
    if (!pictures) return fail(context, kPreviewCommand, ExitCode::FileTrouble, pictures.error().message);
    if (arguments.has("all")) return drawAllPresets(**pictures, arguments.operands()[0], context);
    if (arguments.has("displays")) return drawDisplays(**pictures, arguments.operands()[0], context);
    return drawPreset(**pictures, arguments, context);
}

constexpr const char* kPreviewUsages[] = {"[IN] OUT.png PRESET [OPTIONS]", "--all OUT.png", "--displays OUT.png"};
constexpr Option kPreviewOptions[] = {
    kIntensityOption,
    kDimmingOption,
    kBlackPointOption,
    kContrastOption,
    {"all", "", textKey("Draw one sheet with every preset")},
    {"displays", "", textKey("Draw a test card without and with what each display holds now")},
};

}  // namespace

const Command kPreviewCommand{
    .name = "preview",
    .summary = textKey("Write a picture as a preset would show it"),
    .usages = kPreviewUsages,
    .description = textKey("IN is a PNG or JPEG picture; without it a built-in test card is taken. OUT.png may be IN. "
                           "PRESET is an id that 'dravo presets' lists, or the path of a file with one preset. What no "
                           "option adjusts is as the preset has it."),
    .options = kPreviewOptions,
    .leastOperands = 1,
    .mostOperands = 3,
    .run = runPreview,
};

}  // namespace dravo::cli
