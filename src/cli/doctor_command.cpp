#include "app/port_report.h"
#include "cli/arguments.h"
#include "cli/command_context.h"
#include "cli/commands.h"
#include "cli/text.h"

namespace dravo::cli {

namespace {

constexpr std::size_t kWidth = 100;

std::string indented(const std::string& lines) {
    constexpr const char* kIndent = "    ";
    std::string result = kIndent;
    for (const char c : lines) result += c == '\n' ? std::string("\n") + kIndent : std::string(1, c);
    return result + "\n";
}

std::string textOf(const PortReport& report) {
    const Finding& finding = report.finding;
    std::string text = "✗ " + printable(localized(withDetail(titleOf(report), finding.problem)));
    if (finding.works()) {
        text = "✓ " + printable(localized(titleOf(report)));
        if (!finding.adapter.empty()) text += " (" + printable(finding.adapter) + ")";
    }
    text += "\n";
    if (!finding.remedy.empty()) text += indented(wrapped(printable(localized(finding.remedy)), kWidth));
    if (!finding.command.empty()) text += indented("$ " + printable(finding.command));
    return text;
}

ExitCode runDoctor(const Call& call) {
    const auto reports = call.context.examine();
    const ExitCode code = allWork(reports) ? ExitCode::Ok : ExitCode::SomethingFails;
    if (call.arguments.has("json")) {
        call.context.out.write(reportsJson(reports) + "\n");
        return code;
    }
    for (const auto& report : reports) call.context.out.write(textOf(report));
    return code;
}

}  // namespace

const Command kDoctorCommand{
    .name = "doctor",
    .summary = textKey("Show what works on this desktop, and what to do about the rest"),
    .description = textKey(
        "A line for each display and for everything else that Dravo asks of the desktop: what serves it, or why it "
        "does "
        "not work and what can be done. Also names other programs that change the colours of the screen. Takes two "
        "seconds at most. The exit code is 1 when something does not work."),
    .options = {kJsonOption},
    .run = runDoctor,
};

}  // namespace dravo::cli
