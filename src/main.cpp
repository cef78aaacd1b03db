// The composition root: the only place that knows everybody.

#include <fcntl.h>
#include <unistd.h>

#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>

#include "app/hand_over.h"
#include "app/interface_locale.h"
#include "base/data_folder.h"
#include "base/files.h"
#include "base/localized.h"
#include "base/report.h"
#include "cli/command_line.h"
#include "cli/running.h"
#include "display/grayscale_switch.h"
#include "filter/custom_preset_store.h"
#include "filter/preferences_store.h"
#include "platform/dbus/bus_control_client.h"
#include "platform/files/preferences_text.h"
#include "platform/files/toml_user_defaults.h"
#include "platform/gettext/catalogue_localizer.h"
#include "platform/gnome/gnome_night_light.h"
#include "platform/pictures/picture_module.h"
#include "platform/posix/instance_lock.h"
#include "platform/posix/sd_event_loop.h"
#include "platform/posix/system_calendar.h"
#include "platform/posix/termination_guard.h"
#include "platform/posix/zone_position.h"
#include "run/command_examination.h"
#include "run/filter_run.h"
#include "session/session.h"

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
        if (const auto run = posix::InstanceLock::run(folder_)) {
            const auto answer = run->ask(SIGUSR1, kPatience);
            if (answer && *answer == kIsOff) return true;
            if (answer) return refused(*answer);
            if (answer.error().code != ErrorCode::NotFound) return answer.error();
        }
        // One that could not make its lock, or cannot be told by it, may still be on the bus.
        const auto byBus = control_.ask(request::Restore{});
        if (byBus) return true;
        if (byBus.error().code == ErrorCode::NotFound) return false;
        return byBus.error().code == ErrorCode::Busy ? byBus.error() : refused(byBus.error().message);
    }

    Result<void> quit() override {
        const auto run = posix::InstanceLock::run(folder_);
        if (const auto asked = control_.ask(request::Quit{}); !asked) {
            // Without a bus it still hears the signal.
            if (asked.error().code != ErrorCode::NotFound || !run || !run->signal(SIGUSR2)) return asked.error();
        }
        constexpr std::chrono::seconds kPatience{5};
        if (run && !run->endsWithin(kPatience))
            return Error{ErrorCode::Busy, textKey("Dravo has been asked to end and does not")};
        return {};
    }

    bool isThere() override { return posix::InstanceLock::isHeld(folder_); }

private:
    static Error refused(const Sentence& why) {
        return {ErrorCode::PermissionDenied, Sentence(textKey("the running Dravo cannot switch off: %@"), {why})};
    }

    const DataFolder& folder_;
    ControlClient& control_;
};

/// What the commands ask for, made when one of them does.
class CommandWorld : public cli::CommandContext {
public:
    CommandWorld() : CommandContext(stdout, stderr) {}

    Result<Displays*> displays() override {
        if (const auto connected = connect(); !connected) return connected.error();
        if (auto* const lasting = session_->lasting()) lasting->begin(LastingDisplays::Beginning::looking);
        return &session_->displays();
    }

    bool wouldTakeDisplays() override { return session().isExclusive(); }

    std::vector<PortReport> examine() override {
        const bool isRunThere = runningInstance().isThere();
        return CommandExamination{loop_, session(), store(), folder(), isRunThere}.run();
    }

    Result<std::vector<FilterPreset>> userPresets() override {
        auto presets = readCustomPresets(folder().home);
        if (!presets && presets.error().code == ErrorCode::NotFound) return std::vector<FilterPreset>{};
        return presets;
    }

    CustomPresetStore& presetStore() override { return store_ ? *store_ : store_.emplace(folder().home); }

    Result<cli::TimeZone> timeZone(std::optional<std::string_view> name) override {
        if (name) {
            // The C library takes any text for a zone and falls back to UTC.
            constexpr std::string_view kMagic = "TZif";
            ::setenv("TZ", std::string(*name).c_str(), 1);
            const auto file = readFile(posix::zoneFile(), kLargestZone);
            if (!file || !file->starts_with(kMagic)) {
                return Error{ErrorCode::NotFound, Sentence(textKey("there is no time zone '%@'"), {*name})};
            }
        }
        return cli::TimeZone{calendar_, []() -> Result<Position> {
                                 const auto place = posix::ZoneTablePosition().current();
                                 return place ? Result<Position>(place->position) : place.error();
                             }};
    }

    std::optional<Position> knownPosition() override {
        const auto latitude = storedDegrees(preference::kLastLatitude);
        const auto longitude = storedDegrees(preference::kLastLongitude);
        const Position position{latitude.value_or(NAN), longitude.value_or(NAN)};
        return isOnEarth(position) ? std::optional(position) : std::nullopt;
    }

    WallTime now() override { return loop_.now(); }

    cli::RunningInstance& runningInstance() override {
        return instance_ ? *instance_ : instance_.emplace(folder(), control_);
    }

    ControlClient& control() override { return control_; }

    cli::ExitCode start(const ControlRequest& first) override {
        posix::TerminationGuard::blockSignals();
        return FilterRun().run(RunKind::atLogin, first);
    }

    /// The person's choice, as the file of preferences has it now.
    AppLanguage language() { return AppLanguage::storedAs(stored(preference::kAppleLanguages)); }

    Result<PictureService*> pictures() override { return pictures::loadPictureModule(DRAVO_VERSION); }

    Result<LastingDisplays*> displaysToRestore() override {
        // Where a look takes the displays, no run can have left anything on them.
        if (session().isExclusive()) return nullptr;
        if (const auto connected = connect(); !connected) return connected.error();
        LastingDisplays* const lasting = session_->lasting();
        if (!lasting) return lasting;
        saved_->ensureDirectory();
        auto lock = posix::InstanceLock::acquire(folder());
        if (lock) {
            lock_.emplace(std::move(*lock));
        } else if (lock.error().code == ErrorCode::Busy) {
            return lock.error();
        } else {
            // A broken home is no reason to leave the displays tinted.
            reportOnce("no-lock",
                       Sentence(textKey("%@; a Dravo started now would not be noticed"), {lock.error().message}));
        }
        lasting->begin(LastingDisplays::Beginning::doubtful);
        GrayscaleSwitch(session_->grayscale(), *saved_).undoUncleanRun();
        gnome::undoPausedNightLight(*saved_);
        return lasting;
    }

private:
    static constexpr std::size_t kLargestZone = 1 << 20;

    Session& session() {
        if (!session_) session_ = Session::choose(Session::Guarding::byCaller, std::getenv);
        return *session_;
    }

    OriginalGammaStore& store() { return saved_ ? *saved_ : saved_.emplace(folder()); }

    Result<void> connect() { return session().openDisplays(store(), loop_); }

    std::optional<DefaultsValue> stored(std::string_view key) {
        const auto path = files::TomlUserDefaults::pathIn(folder().settings);
        const auto text = readFile(path, files::kMaxPreferencesBytes);
        const auto all = text ? files::parsePreferences(*text) : text.error();
        if (!all) return std::nullopt;
        const auto found = all->find(key);
        return found == all->end() ? std::nullopt : std::optional(found->second);
    }
    std::optional<double> storedDegrees(std::string_view key) {
        const auto value = stored(key);
        if (const auto* const whole = value ? std::get_if<std::int64_t>(&*value) : nullptr)
            return static_cast<double>(*whole);
        const auto* const degrees = value ? std::get_if<double>(&*value) : nullptr;
        return degrees ? std::optional(*degrees) : std::nullopt;
    }

    const DataFolder& folder() { return folder_ ? *folder_ : folder_.emplace(DataFolder::ofThisUser()); }

    std::optional<DataFolder> folder_;
    dbus::BusControlClient control_;
    std::optional<LockHolder> instance_;
    std::optional<posix::InstanceLock> lock_;
    posix::SdEventLoop loop_;
    std::optional<OriginalGammaStore> saved_;
    std::unique_ptr<Session> session_;
    std::optional<CustomPresetStore> store_;
    posix::SystemCalendar calendar_;
};

int runCommand(int argc, char** argv) {
    std::signal(SIGPIPE, SIG_IGN);
    CommandWorld world;
    const gettext::CatalogueLocalizer texts(gettext::CatalogueLocalizer::programFolder(),
                                            [&] { return interfaceLocaleFor(world.language(), std::getenv); });
    const InstalledLocalizer installed(texts);
    return static_cast<int>(cli::runCommandLine(argc, argv, world));
}

}  // namespace

int main(int argc, char** argv) {
    fillStandardDescriptors();
    auto kind = cli::asksToFilter(argc, argv);
    // A run that a command began is started again by the command's words.
    if (!kind && std::getenv(kHandOverVariable)) kind = RunKind::atLogin;
    if (!kind) return runCommand(argc, argv);
    posix::TerminationGuard::blockSignals();
    return static_cast<int>(FilterRun().run(*kind));
}
