#include "platform/dbus/report_message.h"

#include <cerrno>
#include <set>
#include <string_view>
#include <utility>

#include "base/localized.h"
#include "platform/dbus/control_interface.h"

namespace dravo::dbus::control {

namespace {

constexpr const char* kReport = "(ssss(ssas)(ssas)s)";
constexpr const char* kReportFields = "ssss(ssas)(ssas)s";

/// Keys are views into the program's own texts; what comes from outside needs a place to stay.
std::string_view kept(const char* text) {
    static std::set<std::string, std::less<>> texts;
    return *texts.emplace(text).first;
}

// As they are stored: the bus library wants strings that end.
std::string ended(std::string_view text) { return std::string(text); }

}  // namespace

int append(sd_bus_message* message, const Sentence& sentence) {
    sd_bus_message_open_container(message, 'r', "ssas");
    sd_bus_message_append(message, "ss", ended(sentence.text.key).c_str(), ended(sentence.text.english).c_str());
    sd_bus_message_open_container(message, 'a', "s");
    for (const auto& value : sentence.values) sd_bus_message_append(message, "s", localized(value).c_str());
    if (!sentence.plain.empty()) sd_bus_message_append(message, "s", sentence.plain.c_str());
    sd_bus_message_close_container(message);
    return sd_bus_message_close_container(message);
}

int read(sd_bus_message* message, Sentence& sentence) {
    int result = sd_bus_message_enter_container(message, 'r', "ssas");
    if (result <= 0) return result;
    const char *key = "", *english = "", *value = "";
    result = sd_bus_message_read(message, "ss", &key, &english);
    if (result > 0) result = sd_bus_message_enter_container(message, 'a', "s");
    if (result <= 0) return result < 0 ? result : -EBADMSG;
    sentence = *english ? Sentence(TextKey{kept(key), kept(english)}) : Sentence();
    while ((result = sd_bus_message_read(message, "s", &value)) > 0) {
        if (*english)
            sentence.values.emplace_back(value);
        else
            sentence.plain = value;
    }
    if (result < 0) return result;
    sd_bus_message_exit_container(message);
    result = sd_bus_message_exit_container(message);
    return result < 0 ? result : 1;
}

int append(sd_bus_message* message, const HeldDisplay& display) {
    const auto& description = display.description;
    sd_bus_message_open_container(message, 'r', "usu(ssas)adadad");
    sd_bus_message_append(message, "usu", static_cast<std::uint32_t>(description.id), description.name.c_str(),
                          static_cast<std::uint32_t>(description.tableSize));
    append(message, description.problem);
    for (const auto channel : GammaTable::channels()) {
        sd_bus_message_open_container(message, 'a', "d");
        for (const float level : display.table.*channel)
            sd_bus_message_append(message, "d", static_cast<double>(level));
        sd_bus_message_close_container(message);
    }
    return sd_bus_message_close_container(message);
}

int read(sd_bus_message* message, HeldDisplay& display) {
    std::uint32_t id = 0;
    std::uint32_t size = 0;
    const char* name = "";
    int result = sd_bus_message_enter_container(message, 'r', "usu(ssas)adadad");
    if (result <= 0) return result;
    display = {};
    auto& description = display.description;
    result = sd_bus_message_read(message, "usu", &id, &name, &size);
    if (result >= 0) result = read(message, description.problem);
    for (const auto channel : GammaTable::channels()) {
        double level = 0;
        if (result >= 0) result = sd_bus_message_enter_container(message, 'a', "d");
        while (result >= 0 && (result = sd_bus_message_read(message, "d", &level)) > 0)
            (display.table.*channel).push_back(static_cast<float>(level));
        if (result >= 0) result = sd_bus_message_exit_container(message);
    }
    if (result < 0) return result;
    const auto& [red, green, blue] = display.table;
    if (green.size() != red.size() || blue.size() != red.size()) return -EBADMSG;
    description.id = DisplayId{id};
    description.name = name;
    description.tableSize = size;
    description.state = description.problem.empty() ? DisplayState::ready : DisplayState::refused;
    result = sd_bus_message_exit_container(message);
    return result < 0 ? result : 1;
}

int append(sd_bus_message* message, const std::vector<PortReport>& reports) {
    sd_bus_message_open_container(message, 'a', kReport);
    for (const auto& [port, subject, finding] : reports) {
        sd_bus_message_open_container(message, 'r', kReportFields);
        sd_bus_message_append(message, "ssss", ended(port.key).c_str(), ended(port.english).c_str(), subject.c_str(),
                              finding.adapter.c_str());
        append(message, finding.problem);
        append(message, finding.remedy);
        sd_bus_message_append(message, "s", finding.command.c_str());
        sd_bus_message_close_container(message);
    }
    return sd_bus_message_close_container(message);
}

int read(sd_bus_message* message, std::vector<PortReport>& reports) {
    int result = sd_bus_message_enter_container(message, 'a', kReport);
    while (result >= 0 && (result = sd_bus_message_enter_container(message, 'r', kReportFields)) > 0) {
        const char *key = "", *english = "", *subject = "", *adapter = "", *command = "";
        PortReport report;
        result = sd_bus_message_read(message, "ssss", &key, &english, &subject, &adapter);
        if (result >= 0) result = read(message, report.finding.problem);
        if (result >= 0) result = read(message, report.finding.remedy);
        if (result >= 0) result = sd_bus_message_read(message, "s", &command);
        if (result >= 0) result = sd_bus_message_exit_container(message);
        if (result < 0) return result;
        report.port = {kept(key), kept(english)};
        report.subject = subject;
        report.finding.adapter = adapter;
        report.finding.command = command;
        reports.push_back(std::move(report));
    }
    return result < 0 ? result : sd_bus_message_exit_container(message);
}

}  // namespace dravo::dbus::control

namespace dravo::dbus {

Subscription askForReports(Bus& bus, std::chrono::milliseconds timeout,
                           std::function<void(const Result<std::vector<PortReport>>&)> onAnswer) {
    Message call = bus.newCall(control::kBusName, control::kObjectPath, control::kInterface, control::kExamine);
    if (call) sd_bus_message_set_auto_start(call.get(), 0);
    return bus.call(std::move(call), timeout, [onAnswer = std::move(onAnswer)](const Bus::Answer& answer) {
        if (!answer) return onAnswer(answer.error());
        std::vector<PortReport> reports;
        if (control::read(*answer, reports) < 0)
            return onAnswer(
                Error{ErrorCode::Internal, textKey("the running Dravo answers in a way this one does not know")});
        onAnswer(reports);
    });
}

}  // namespace dravo::dbus
