#include "run/command_examination.h"

#include <chrono>
#include <optional>
#include <utility>

#include "platform/curl/curl_update_feed.h"
#include "platform/dbus/bus_control_client.h"
#include "platform/dbus/desktop_notifications.h"
#include "platform/dbus/geoclue_location_service.h"
#include "platform/dbus/logind_wake_source.h"
#include "platform/dbus/portal_appearance.h"
#include "platform/dbus/report_message.h"
#include "platform/files/autostart_login_item.h"
#include "platform/pictures/picture_module.h"
#include "run/panel_run.h"
#include "run/update_address.h"
#include "session/desktop_examination.h"

namespace dravo {

namespace {

using Reports = Examination::Reports;

/// Longer than the running program takes for its own.
constexpr std::chrono::milliseconds kPatience{1700};

/// What this process and the running one say side by side.
struct Answers {
    Reports ours;
    std::optional<Result<Reports>> theirs;
};

Answers ask(const CommandExamination& desk) {
    auto& loop = desk.loop;
    dbus::Bus sessionBus(loop, loop, dbus::Bus::Kind::session);
    dbus::Bus systemBus(loop, loop, dbus::Bus::Kind::system);
    dbus::PortalAppearance appearance(sessionBus, loop);
    dbus::DesktopNotifications notifications(sessionBus, loop, loop);
    dbus::GeoclueLocationService location(systemBus, loop, "dravo");
    dbus::LogindWakeSource wake(systemBus, loop, loop);
    files::AutostartLoginItem login(files::AutostartPlace::ofThisProcess(desk.folder.settings));
    curl::CurlUpdateFeed feed(loop, loop, "Dravo/" DRAVO_VERSION);
    Updater updater(feed, loop, DRAVO_VERSION, updateAddress());
    const auto hotKeys = desk.session.makeHotKeys(loop, loop);
    const DesktopExamination examination(
        [] { return Reports(); },
        {*hotKeys, appearance, notifications, location, wake, login, sessionBus, updater, PanelRun::probe},
        desk.session, sessionBus, loop);

    Answers answers;
    bool isDone = false;
    const auto endOnce = [&] {
        const bool isAnswered = answers.theirs && *answers.theirs;
        if (isAnswered || (isDone && (answers.theirs || !desk.isRunThere))) loop.quit(0);
    };
    const auto ours = examination.examination().run([&](const Reports& reports) {
        answers.ours = reports;
        isDone = true;
        endOnce();
    });
    Subscription theirs;
    if (desk.isRunThere) {
        sessionBus.open();  // an absent bus answers like an absent program
        theirs = dbus::askForReports(sessionBus, kPatience, [&](const Result<Reports>& reports) {
            answers.theirs = reports;
            endOnce();
        });
    }
    loop.run();
    return answers;
}

Reports displaysOf(const CommandExamination& desk) {
    if (desk.isRunThere && desk.session.isExclusive()) return {{kDisplaysPort, {}, {{}, Sentence{dbus::kSilent}}}};
    return desk.session.look(desk.store, desk.loop);
}

/// What was found out here, and that the running program does not answer, if there is one.
Reports withoutTheirs(const CommandExamination& desk, Reports ours) {
    Reports reports = displaysOf(desk);
    for (auto& report : ours) {
        const bool isSilent = desk.isRunThere && report.port == kControlPort && report.finding.works();
        constexpr TextKey kAnew = textKey("End it and start it again");
        if (isSilent) report.finding = {{}, Sentence{dbus::kSilent}, Sentence{kAnew}, "dravo quit"};
        reports.push_back(std::move(report));
    }
    return reports;
}

PortReport lookAtPictures() {
    const auto module = pictures::loadPictureModule(DRAVO_VERSION);
    return {kPicturesPort, {}, module ? Finding{"dravo-pictures.so"} : findingOf(module.error())};
}

}  // namespace

Reports CommandExamination::run() const {
    if (const auto loaded = loadSystemd(); !loaded) {
        Reports reports = displaysOf(*this);
        reports.push_back({kControlPort, {}, findingOf(loaded.error())});
        return reports;
    }
    Answers answers = ask(*this);
    Reports reports =
        answers.theirs && *answers.theirs ? **answers.theirs : withoutTheirs(*this, std::move(answers.ours));
    reports.push_back(lookAtPictures());
    return reports;
}

}  // namespace dravo
