#include <algorithm>
#include <string>

#include "base/files.h"
#include "cli/commands.h"
#include "cli/running.h"
#include "cli/text.h"
#include "filter/custom_preset_store.h"
#include "filter/preset_exchange.h"
#include "filter/preset_json.h"

namespace dravo::cli {

namespace {

/// Thousands of presets.
constexpr std::size_t kLargestImport = 4 << 20;

ExitCode reportImport(CommandContext& context, const std::vector<std::string>& ids) {
    std::string listed;
    for (const std::string& id : ids) listed += (listed.empty() ? "" : " ") + printable(id);
    const std::string form = localizedCount("import.done", "Imported %lld preset", "Imported %lld presets", ids.size());
    const std::string done = filled(form, {std::to_string(ids.size())});
    context.out.write(localized(withDetail(done, listed)) + "\n");
    return ExitCode::Ok;
}

/// Why the running Dravo's list, which is the one that counts, could not be reached; nothing if none runs.
std::optional<Sentence> whyNotByFile(const Error& error, CommandContext& context) {
    if (error.code != ErrorCode::NotFound) return error.message;
    if (!context.runningInstance().isThere()) return std::nullopt;
    return Sentence(textKey("a running Dravo keeps the list and cannot be asked: %@"), {error.message});
}

ExitCode runImport(const Call& call) {
    auto& context = call.context;
    const std::string path(call.arguments.operands()[0]);
    const auto text = readFile(path, kLargestImport);
    if (!text) return fail(call, ExitCode::FileTrouble, text.error().message);
    const auto incoming = importPresets(*text);
    if (!incoming) return fail(call, ExitCode::FileTrouble, withDetail(path, incoming.error().message));
    const auto byInstance = context.control().ask(request::ImportPresets{*text});
    if (byInstance) return reportImport(context, byInstance->ids);
    if (const auto reason = whyNotByFile(byInstance.error(), context)) return fail(call, ExitCode::Refused, *reason);
    const auto adopted = context.presetStore().adopt(*incoming);
    if (!adopted) return fail(call, ExitCode::FileTrouble, adopted.error().message);
    std::vector<std::string> ids;
    for (const FilterPreset& preset : *incoming) ids.push_back(preset.id);
    return reportImport(context, ids);
}

ExitCode runExport(const Call& call) {
    auto& context = call.context;
    const auto& ids = call.arguments.operands();
    const auto byInstance = context.control().ask(request::ExportPresets{{ids.begin(), ids.end()}});
    if (byInstance) {
        context.out.write(byInstance->json + "\n");
        return ExitCode::Ok;
    }
    const auto& error = byInstance.error();
    if (error.code == ErrorCode::InvalidInput) return misused(call, error.message);
    if (error.code != ErrorCode::NotFound) return fail(call, ExitCode::Refused, error.message);
    std::vector<FilterPreset> chosen;
    const auto own = context.userPresets();
    if (!own) return fail(call, ExitCode::FileTrouble, own.error().message);
    for (const std::string_view id : ids) {
        const auto found = std::ranges::find(*own, id, &FilterPreset::id);
        if (found == own->end()) return misused(call, Sentence(textKey("no preset of your own is %@"), {quoted(id)}));
        chosen.push_back(*found);
    }
    const auto json = encodePresets(ids.empty() ? *own : chosen);
    if (!json) return fail(call, ExitCode::FileTrouble, json.error().message);
    context.out.write(*json + "\n");
    return ExitCode::Ok;
}

}  // namespace

const Command kImportCommand{
    .name = "import",
    .summary = textKey("Add presets from a file to your own"),
    .usages = {"FILE"},
    .description = textKey("FILE holds one preset or an array of them. All are added or none; one with the id of a "
                           "preset of yours takes its place. A running Dravo adds them itself and shows them at once."),
    .leastOperands = 1,
    .mostOperands = 1,
    .run = runImport,
};

const Command kExportCommand{
    .name = "export",
    .summary = textKey("Print presets of your own as JSON for 'dravo import'"),
    .usages = {"[ID...]"},
    .description = textKey("Without an ID, all of them."),
    .mostOperands = 10000,
    .run = runExport,
};

}  // namespace dravo::cli
