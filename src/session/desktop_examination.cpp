#include "session/desktop_examination.h"

#include <utility>

#include "platform/posix/neighbour_processes.h"

namespace dravo {
namespace {

Examination::Reports reportsOn(const TextKey& port, const std::vector<Finding>& findings) {
    Examination::Reports reports;
    for (const Finding& finding : findings) reports.push_back({port, {}, finding});
    return reports;
}

Subscription askForProcesses(const Examination::Told& told) {
    auto found = posix::findNeighbours();
    if (found.empty()) found.emplace_back();
    told(reportsOn(kNeighbourPort, found));
    return {};
}

}  // namespace

DesktopExamination::DesktopExamination(std::function<Examination::Reports()> lookAtDisplays, const Ports& ports,
                                       Session& session, dbus::Bus& sessionBus, Scheduler& scheduler)
    : trayHost_(sessionBus, [&session] { return session.embedsTrayIcons(); }),
      nightLights_(sessionBus),
      examination_(scheduler,
                   {{kDisplaysPort,
                     [look = std::move(lookAtDisplays)](const Examination::Told& told) {
                         told(look());
                         return Subscription();
                     }},
                    askWhether(kShortcutPort, ports.shortcut),
                    askWhether(kTrayPort, trayHost_),
                    {kPanelPort,
                     [panel = ports.panel](const Examination::Told& told) {
                         told({{kPanelPort, {}, panel()}});
                         return Subscription();
                     }},
                    askWhether(kAppearancePort, ports.appearance),
                    askWhether(kNotificationsPort, ports.notifications),
                    askWhether(kLocationPort, ports.location),
                    askWhether(kWakePort, ports.wake),
                    askWhether(kLoginPort, ports.login),
                    askWhether(kControlPort, ports.control),
                    askWhether(kUpdatesPort, ports.updates),
                    {kNeighbourPort, askForProcesses},
                    {kNightLightPort, [this](Examination::Told told) { return askForNightLights(std::move(told)); }}}) {
}

// Only what does tint is told of.
Subscription DesktopExamination::askForNightLights(Examination::Told told) {
    return nightLights_.probe(
        [told = std::move(told)](const std::vector<Finding>& findings) { told(reportsOn(kNightLightPort, findings)); });
}

}  // namespace dravo
