// The composition root: the only place that knows everybody.

#include <fcntl.h>
#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>

#include "app/interface_locale.h"
#include "base/data_folder.h"
#include "base/files.h"
#include "base/localized.h"
#include "base/report.h"
#include "base/unique_fd.h"
#include "cli/command_context.h"
#include "cli/command_line.h"
#include "cli/running_instance.h"
#include "display/original_gamma_store.h"
#include "filter/custom_preset_store.h"
#include "filter/preferences_store.h"
#include "filter_run.h"
#include "platform/dbus/bus_control_client.h"
#include "platform/files/preferences_text.h"
#include "platform/files/toml_user_defaults.h"
#include "platform/gettext/catalogue_localizer.h"
#include "platform/pictures/picture_module.h"
#include "platform/posix/instance_lock.h"
#include "platform/posix/sd_event_loop.h"
#include "platform/posix/system_calendar.h"
#include "platform/posix/termination_guard.h"
#include "platform/posix/zone_position.h"
#include "platform/x11/x11_display_server.h"

namespace {

using namespace dravo;

/// A descriptor 0, 1 or 2 that the caller closed would be given to the first file or socket opened here, and what is
/// printed would land in it. Opened for reading only, so that printing fails as it should.
void fillStandardDescriptors() {
    for (int descriptor = 0; descriptor <= 2; ++descriptor) {
        if (::fcntl(descriptor, F_GETFD) == -1) static_cast<void>(::open("/dev/null", O_RDONLY | O_NOCTTY));
    }
}

/// Another run of this user, known by the lock that it holds.
class LockHolder : public cli::RunningInstance {
public:
    LockHolder(const DataFolder& folder, ControlClient& control) : folder_(folder), control_(control) {}

    Result<bool> switchOff() override {
        constexpr std::chrono::seconds kPatience{3};
        const auto answer = posix::InstanceLock::ask(folder_, SIGUSR1, kPatience);
        if (answer && *answer == kIsOff) return true;
        if (answer) return refused(*answer);
        if (answer.error().code != ErrorCode::NotFound) return answer.error();
        // A run that could not make its lock is still on the bus.
        const auto byBus = control_.restore();
        if (byBus) return true;
        if (byBus.error().code == ErrorCode::NotFound) return false;
        return byBus.error().code == ErrorCode::Busy ? byBus.error() : refused(byBus.error().message);
    }

    Result<void> quit() override {
        const pid_t holder = posix::InstanceLock::holder(folder_);
        // Can be read once that process has ended.
        const UniqueFd process(holder > 0 ? static_cast<int>(::syscall(SYS_pidfd_open, holder, 0)) : -1);
        if (const auto asked = control_.quit(); !asked) {
            if (asked.error().code != ErrorCode::NotFound || !process) return asked;
            // Without a bus it still hears the signal.
            if (::kill(holder, SIGUSR2) != 0) return asked;
        }
        constexpr int kPatience = 5000;
        pollfd end{process.get(), POLLIN, 0};
        if (process && ::poll(&end, 1, kPatience) == 0)
            return Error{ErrorCode::Busy, localized("Dravo has been asked to end and does not")};
        return {};
    }

    bool isThere() override { return posix::InstanceLock::holder(folder_) > 0; }

private:
    static Error refused(const std::string& why) {
        return {ErrorCode::PermissionDenied, filled(localized("the running Dravo cannot switch off: %@"), {why})};
    }

    const DataFolder& folder_;
    ControlClient& control_;
};

/// What the commands ask for, made when one of them does.
class CommandWorld {
public:
    Result<DisplayServer*> displays() {
        if (!server_) {
            auto server = x11::X11DisplayServer::create("", nullptr);
            if (!server) return server.error();
            server_ = std::move(*server);
        }
        return server_.get();
    }

    Result<std::vector<FilterPreset>> userPresets() {
        auto presets = readCustomPresets(folder().home);
        if (!presets && presets.error().code == ErrorCode::NotFound) return std::vector<FilterPreset>{};
        return presets;
    }

    CustomPresetStore& presetStore() { return store_ ? *store_ : store_.emplace(folder().home); }

    Result<cli::TimeZone> timeZone(std::optional<std::string_view> name) {
        if (name) {
            // The C library takes any text for a zone and falls back to UTC.
            std::error_code ignored;
            ::setenv("TZ", std::string(*name).c_str(), 1);
            if (!std::filesystem::is_regular_file(posix::zoneFile(), ignored)) {
                return Error{ErrorCode::NotFound, filled(localized("there is no time zone '%@'"), {*name})};
            }
        }
        return cli::TimeZone{calendar_, []() -> Result<Position> {
                                 const auto place = posix::ZoneTablePosition().current();
                                 return place ? Result<Position>(place->position) : place.error();
                             }};
    }

    cli::RunningInstance& runningInstance() { return instance_ ? *instance_ : instance_.emplace(folder(), control_); }

    ControlClient& control() { return control_; }

    /// The person's choice, as the file of preferences has it now.
    AppLanguage language() {
        const auto path = files::TomlUserDefaults::defaultPath(folder().home.parent_path());
        const auto text = readFile(path, files::kMaxPreferencesBytes);
        const auto stored = text ? files::parsePreferences(*text) : text.error();
        if (!stored) return AppLanguage::storedAs(std::nullopt);
        const auto value = stored->find(preference::kAppleLanguages);
        return AppLanguage::storedAs(value == stored->end() ? std::nullopt : std::optional(value->second));
    }

    Result<OriginalGammaStore*> savedTables(DisplayServer& server) {
        OriginalGammaStore& saved = saved_.emplace(server, folder());
        saved.ensureDirectory();
        auto lock = posix::InstanceLock::acquire(folder());
        if (lock) {
            lock_.emplace(std::move(*lock));
        } else if (lock.error().code == ErrorCode::Busy) {
            return lock.error();
        } else {
            // A broken home is no reason to leave the displays tinted.
            reportOnce("no-lock",
                       filled(localized("%@; a Dravo started now would not be noticed"), {lock.error().message}));
        }
        return &saved;
    }

private:
    const DataFolder& folder() { return folder_ ? *folder_ : folder_.emplace(DataFolder::ofThisUser()); }

    std::optional<DataFolder> folder_;
    dbus::BusControlClient control_;
    std::optional<LockHolder> instance_;
    std::optional<posix::InstanceLock> lock_;
    std::unique_ptr<DisplayServer> server_;
    std::optional<OriginalGammaStore> saved_;
    std::optional<CustomPresetStore> store_;
    posix::SystemCalendar calendar_;
};

int runCommand(int argc, char** argv) {
    std::signal(SIGPIPE, SIG_IGN);
    cli::Output out(stdout);
    cli::Output err(stderr);
    CommandWorld world;
    const gettext::CatalogueLocalizer texts(gettext::CatalogueLocalizer::programFolder(),
                                            [&] { return interfaceLocaleFor(world.language(), std::getenv); });
    const InstalledLocalizer installed(texts);
    cli::CommandContext context{
        .out = out,
        .err = err,
        .displays = [&] { return world.displays(); },
        .userPresets = [&] { return world.userPresets(); },
        .presetStore = [&]() -> CustomPresetStore& { return world.presetStore(); },
        .timeZone = [&](std::optional<std::string_view> name) { return world.timeZone(name); },
        .now = [] { return posix::SdEventLoop().now(); },
        .control = [&]() -> ControlClient& { return world.control(); },
        .runningInstance = [&]() -> cli::RunningInstance& { return world.runningInstance(); },
        .savedTables = [&](DisplayServer& server) { return world.savedTables(server); },
        .pictures = [] { return pictures::loadPictureModule(DRAVO_VERSION); },
    };
    return static_cast<int>(cli::runCommandLine(argc, argv, context));
}

}  // namespace

int main(int argc, char** argv) {
    fillStandardDescriptors();
    const auto kind = cli::asksToFilter(argc, argv);
    if (!kind) return runCommand(argc, argv);
    posix::TerminationGuard::blockSignals();
    return static_cast<int>(FilterRun().run(*kind));
}
