#include "platform/gnome/mutter_last_word.h"

#include <fcntl.h>
#include <sys/socket.h>

#include <algorithm>
#include <chrono>
#include <utility>

#include "platform/gnome/color_settings.h"
#include "platform/gnome/display_config.h"

namespace dravo::gnome {

namespace {

using namespace std::chrono_literals;
using std::chrono::steady_clock;

constexpr std::chrono::milliseconds kLastWordPatience{2000};
constexpr const char* kBus = "org.freedesktop.DBus";
constexpr const char* kBusPath = "/org/freedesktop/DBus";

std::chrono::milliseconds until(steady_clock::time_point deadline) {
    return std::max(std::chrono::ceil<std::chrono::milliseconds>(deadline - steady_clock::now()), 0ms);
}

}  // namespace

Result<void> MutterLastWord::open() {
    auto bus = BusLink::open(dbus::Bus::Kind::session);
    if (!bus) return bus.error();
    const auto answer = (*bus)->ask((*bus)->newCall(kBus, kBusPath, kBus, "GetId"), kLastWordPatience);
    if (!answer) return answer.error();
    bus_ = std::move(*bus);
    isOpen_.store(true, std::memory_order_release);
    return {};
}

void MutterLastWord::setEngine(int socket, std::string name) {
    const std::lock_guard lock(mutex_);
    engineSocket_ = UniqueFd(::fcntl(socket, F_DUPFD_CLOEXEC, 0));
    engineName_ = std::move(name);
    knowsEngine_ = engineSocket_ && !engineName_.empty();
}

void MutterLastWord::setTables(std::shared_ptr<const std::vector<CrtcLevels>> tables) {
    const std::lock_guard lock(mutex_);
    tables_.swap(tables);
}

void MutterLastWord::speak() {
    if (!isOpen()) return;
    const auto deadline = steady_clock::now() + kLastWordPatience;
    takePenAway(deadline);
    restore(deadline);
}

// After the shutdown the main thread can send nothing more. What it has sent lies in the bus's queues, and the bus
// drops a connection only when it has read and passed on all of it.
void MutterLastWord::takePenAway(Deadline deadline) {
    std::string name;
    {
        const std::lock_guard lock(mutex_);
        ::shutdown(engineSocket_.get(), SHUT_WR);
        name = engineName_;
    }
    const auto isGone = std::make_shared<bool>(false);
    bus_->onSignal(dbus::ruleFor(kBus, kBusPath, kBus, "NameOwnerChanged") + ",arg0='" + name + "'",
                   [isGone](sd_bus_message*) { *isGone = true; });
    // Perhaps it was gone before anybody listened.
    bus_->ask(bus_->newCall(kBus, kBusPath, kBus, "NameHasOwner", "s", name.c_str()),
              [isGone](const BusLink::Answer& answer) {
                  int isOwned = 0;
                  *isGone = *isGone || !answer || sd_bus_message_read(*answer, "b", &isOwned) < 0 || isOwned == 0;
              });
    bus_->waitUntil([&] { return *isGone; }, until(deadline));
}

void MutterLastWord::restore(Deadline deadline) {
    // Only now: what the main thread has written was handed over here before.
    std::shared_ptr<const std::vector<CrtcLevels>> tables;
    {
        const std::lock_guard lock(mutex_);
        tables = tables_;
    }
    // Displays may be changing right now.
    while (tables && !isEveryTableTaken(*tables, deadline) && until(deadline) > 0ms) {
    }
    if (!nightLightIsOurs_.load(std::memory_order_acquire)) return;
    static_cast<void>(bus_->ask(switchNightLightCall(*bus_, true), until(deadline)));
}

// False where another serial may help.
bool MutterLastWord::isEveryTableTaken(const std::vector<CrtcLevels>& tables, Deadline deadline) {
    if (tables.empty()) return true;
    const auto answer = bus_->ask(resourcesCall(*bus_), until(deadline));
    const auto resources = answer ? readResources(answer->get()) : Result<DisplayResources>(answer.error());
    bool isStale = false;
    for (const auto& ramp : tables) {
        if (!resources) return true;
        const auto taken = bus_->ask(setLevelsCall(*bus_, resources->serial, ramp), until(deadline));
        isStale = isStale || (!taken && taken.error().code == ErrorCode::PermissionDenied);
    }
    return !isStale;
}

}  // namespace dravo::gnome
