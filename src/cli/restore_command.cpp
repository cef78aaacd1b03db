#include <algorithm>
#include <string>

#include "cli/commands.h"
#include "cli/displays.h"
#include "cli/running.h"
#include "cli/text.h"
#include "display/display_access.h"
#include "display/original_gamma_store.h"

namespace dravo::cli {

namespace {

bool isNeutral(const GammaTable& table) { return table == resample(GammaTable::identity(), table.size()); }

/// Gives every display its own table, and reports each. A display that fails does not stop the others.
class Restoration {
public:
    Restoration(DisplayServer& server, OriginalGammaStore& saved, const Call& call)
        : server_(server), saved_(saved), call_(call) {}

    ExitCode run() {
        const auto displays = server_.describeDisplays();
        if (!displays) return failForDisplays(call_, displays.error());
        const bool wasUnclean = saved_.restoreIfNeeded();
        const std::vector<DisplayId> known = saved_.knownDisplays();
        // Whoever asks for this does not trust what is on screen: a display without a saved table is not left as found.
        server_.distrustFoundTables();
        std::vector<DisplayTable> loads;
        for (const DisplayDescription& display : *displays) collect(display, known, loads);
        const auto outcomes = server_.loadTables(loads);
        for (std::size_t i = 0; i < outcomes.size(); ++i) {
            if (outcomes[i]) {
                report(lines_[i]);
            } else {
                worst_ = failForDisplays(call_, outcomes[i].error());
            }
        }
        // The file stays for a display that is not here: its table is known nowhere else.
        if (wasUnclean && worst_ == ExitCode::Ok && std::ranges::all_of(known, [&](DisplayId id) {
                return std::ranges::find(*displays, id, &DisplayDescription::id) != displays->end();
            })) {
            saved_.clear();
        }
        return worst_;
    }

private:
    void collect(const DisplayDescription& display, const std::vector<DisplayId>& known,
                 std::vector<DisplayTable>& loads) {
        if (!display.problem.empty())
            return report(filled(localized("%1$@: left alone: %2$@"), {display.name, localized(display.problem)}));
        auto table = server_.ownTable(display.id);
        if (!table) {
            worst_ = failForDisplays(call_, table.error());
            return;
        }
        const bool isSaved = std::ranges::find(known, display.id) != known.end();
        const std::string outcome = isSaved             ? localized("%@: has its own table back, as saved")
                                    : isNeutral(*table) ? localized("%@: has a neutral table")
                                                        : localized("%@: has its colour profile's calibration");
        lines_.push_back(filled(outcome, {display.name}));
        loads.push_back({display.id, std::move(*table)});
    }

    void report(const std::string& line) { call_.context.out.write(line + "\n"); }

    DisplayServer& server_;
    OriginalGammaStore& saved_;
    const Call& call_;
    std::vector<std::string> lines_;  ///< What to say once the load of the same place has worked.
    ExitCode worst_ = ExitCode::Ok;
};

ExitCode runRestore(const Call& call) {
    auto& context = call.context;
    const auto isOff = context.runningInstance().switchOff();
    if (!isOff) return fail(call, ExitCode::Refused, isOff.error().message);
    if (*isOff) {
        context.out.write(localized("The running Dravo has switched the filter off.") + "\n");
        return ExitCode::Ok;
    }
    const auto server = context.displays();
    if (!server) return failForDisplays(call, server.error());
    const auto saved = context.savedTables(**server);
    if (!saved) return fail(call, ExitCode::Refused, saved.error().message);
    return Restoration(**server, **saved, call).run();
}

}  // namespace

const Command kRestoreCommand{
    .name = "restore",
    .summary = textKey("Give every display back its own table"),
    .usages = {""},
    .description =
        textKey("A running Dravo is asked to switch off. When none runs, every display gets the table saved by an "
                "earlier run that did not end cleanly, else its colour profile's calibration, else a neutral one."),
    .run = runRestore,
};

}  // namespace dravo::cli
