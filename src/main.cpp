// The composition root: the only place that knows everybody.

#include <fcntl.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>

#include "app/stored_filter.h"
#include "base/data_folder.h"
#include "base/report.h"
#include "cli/command_context.h"
#include "cli/command_line.h"
#include "cli/running_instance.h"
#include "display/gamma_applicator.h"
#include "display/grayscale_switch.h"
#include "display/launch_batch.h"
#include "display/original_gamma_store.h"
#include "filter/model/custom_preset_store.h"
#include "filter/model/preferences_store.h"
#include "platform/freedesktop/toml_user_defaults.h"
#include "platform/pictures/picture_module.h"
#include "platform/posix/instance_lock.h"
#include "platform/posix/sd_event_loop.h"
#include "platform/posix/signal_watch.h"
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

/// What a run that filters answers to SIGUSR1, once the displays have their tables back.
constexpr const char* kIsOff = "off";

/// Another run of this user, known by the lock that it holds.
class LockHolder : public cli::RunningInstance {
public:
    explicit LockHolder(const DataFolder& folder) : folder_(folder) {}

    Result<bool> switchOff() override {
        constexpr std::chrono::seconds kPatience{3};
        const auto answer = posix::InstanceLock::ask(folder_, SIGUSR1, kPatience);
        if (answer) return *answer == kIsOff;
        if (answer.error().code == ErrorCode::NotFound) return false;
        return answer.error();
    }

    /// A run that filters reads the person's presets and never writes them: the file is there for everybody.
    Result<std::optional<std::vector<std::string>>> importPresets(const std::string&) override {
        return std::optional<std::vector<std::string>>{};
    }

private:
    const DataFolder& folder_;
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

    std::vector<FilterPreset> userPresets() {
        auto presets = readCustomPresets(folder().home);
        if (presets) return std::move(*presets);
        if (presets.error().code != ErrorCode::NotFound) reportOnce("own presets", presets.error().message);
        return {};
    }

    CustomPresetStore& presetStore() { return store_ ? *store_ : store_.emplace(folder().home); }

    Result<cli::TimeZone> timeZone(std::optional<std::string_view> name) {
        if (name) {
            // The C library takes any text for a zone and falls back to UTC.
            std::error_code ignored;
            ::setenv("TZ", std::string(*name).c_str(), 1);
            if (!std::filesystem::is_regular_file(posix::zoneFile(), ignored)) {
                return Error{ErrorCode::NotFound, "there is no time zone '" + std::string(*name) + "'"};
            }
        }
        return cli::TimeZone{calendar_, []() -> Result<Position> {
                                 const auto place = posix::ZoneTablePosition().current();
                                 return place ? Result<Position>(place->position) : place.error();
                             }};
    }

    cli::RunningInstance& runningInstance() { return instance_ ? *instance_ : instance_.emplace(folder()); }

    Result<OriginalGammaStore*> savedTables(DisplayServer& server) {
        OriginalGammaStore& saved = saved_.emplace(server, folder());
        saved.ensureDirectory();
        auto lock = posix::InstanceLock::acquire(folder());
        if (!lock) return lock.error();
        lock_.emplace(std::move(*lock));
        return &saved;
    }

private:
    const DataFolder& folder() { return folder_ ? *folder_ : folder_.emplace(DataFolder::ofThisUser()); }

    std::optional<DataFolder> folder_;
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
    cli::CommandContext context{
        .out = out,
        .err = err,
        .displays = [&] { return world.displays(); },
        .userPresets = [&] { return world.userPresets(); },
        .presetStore = [&]() -> CustomPresetStore& { return world.presetStore(); },
        .timeZone = [&](std::optional<std::string_view> name) { return world.timeZone(name); },
        .now = [] { return posix::SdEventLoop().now(); },
        .runningInstance = [&]() -> cli::RunningInstance& { return world.runningInstance(); },
        .savedTables = [&](DisplayServer& server) { return world.savedTables(server); },
        .pictures = [] { return pictures::loadPictureModule(DRAVO_VERSION); },
    };
    return static_cast<int>(cli::runCommandLine(argc, argv, context));
}

/// Until a service tells of sleep: none.
class NoWakeSource : public WakeSource {
public:
    Subscription onWake(std::function<void()>) override { return {}; }
};

/// A run that filters the screen. Members are in the order of building: what is declared later uses what is above.
///
/// Up to the first table nothing waits for a disk, a bus or a toolkit.
class FilterRun {
public:
    /// Runs until somebody ends it. Answers with the exit code.
    cli::ExitCode run();

private:
    bool takeLock();
    bool connect();
    void launch();
    void listen();
    void quit();
    void serverIsGone();

    DataFolder folder_ = DataFolder::ofThisUser();
    std::optional<posix::InstanceLock> lock_;
    x11::EmergencyRestore emergency_{""};
    posix::TerminationGuard guard_{[this] { static_cast<void>(emergency_.open()); }, [this] { emergency_.restore(); }};
    posix::SdEventLoop loop_;
    freedesktop::TomlUserDefaults defaults_{freedesktop::TomlUserDefaults::defaultPath(folder_.home.parent_path()),
                                            loop_, loop_};
    PreferencesStore preferences_{defaults_};
    NoWakeSource wake_;
    cli::ExitCode failure_ = cli::ExitCode::Ok;

    std::unique_ptr<x11::X11DisplayServer> server_;
    std::optional<LaunchBatch> displays_;
    std::optional<OriginalGammaStore> originalGamma_;
    std::optional<GrayscaleSwitch> grayscale_;
    std::optional<GammaApplicator> applicator_;
    std::optional<StoredFilter> filter_;
    std::optional<posix::SignalWatch> offRequest_;
    std::optional<posix::SignalWatch> quitRequest_;
    Subscription loss_;
};

cli::ExitCode FilterRun::run() {
    if (!takeLock() || !connect()) return failure_;
    launch();
    listen();
    const int code = loop_.run();
    guard_.standStillIfEnding();
    return static_cast<cli::ExitCode>(code);
}

bool FilterRun::takeLock() {
    auto lock = posix::InstanceLock::acquire(folder_);
    if (lock) {
        lock_.emplace(std::move(*lock));
        return true;
    }
    if (lock.error().code == ErrorCode::Busy) {
        std::fprintf(stderr, "dravo: Dravo is already running (process %d)\n", lock.error().nativeCode);
        failure_ = cli::ExitCode::Refused;
        return false;
    }
    reportOnce("no-lock", lock.error().message + "; a second Dravo would not be noticed");
    return true;
}

bool FilterRun::connect() {
    auto server = x11::X11DisplayServer::create("", &emergency_);
    if (server) {
        server_ = std::move(*server);
        return true;
    }
    std::fprintf(stderr, "dravo: %s\n", server.error().message.c_str());
    failure_ = cli::ExitCode::NoDisplayServer;
    return false;
}

void FilterRun::launch() {
    displays_.emplace(*server_);
    originalGamma_.emplace(*displays_, folder_);
    originalGamma_->onUnsynced = [this] { loop_.post([this] { originalGamma_->sync(); }); };
    grayscale_.emplace(server_->grayscale());
    applicator_.emplace(*displays_, wake_, loop_, *originalGamma_);
    defaults_.setMayWrite([this] { return !applicator_->isRamping(); });
    if (originalGamma_->restoreIfNeeded()) {
        std::puts("Restored gamma from previous crash");
        std::fflush(stdout);
        server_->grayscale().undoUncleanRun();
    }
    originalGamma_->saveIfAbsent();
    filter_.emplace(preferences_, *applicator_, *originalGamma_, *grayscale_);
    filter_->start();
    guard_.waitUntilReady();
    displays_->commit();
}

void FilterRun::listen() {
    server_->listen(loop_, loop_);
    loss_ = server_->onLoss([this] { serverIsGone(); });
    offRequest_.emplace(loop_, SIGUSR1, [this] {
        filter_->switchOff();
        if (lock_) lock_->answer(kIsOff);
    });
    quitRequest_.emplace(loop_, SIGUSR2, [this] { quit(); });
}

void FilterRun::quit() {
    defaults_.flush();
    grayscale_->set(false);
    // Unconfirmed, the saved tables stay: the next start gives the displays back.
    if (applicator_->shutDown()) originalGamma_->clear();
    loop_.quit(static_cast<int>(cli::ExitCode::Ok));
}

void FilterRun::serverIsGone() {
    guard_.standStillIfEnding();  // it was the guard that took the connection away
    std::fputs("dravo: the X server is gone\n", stderr);
    loop_.quit(static_cast<int>(cli::ExitCode::NoDisplayServer));
}

}  // namespace

int main(int argc, char** argv) {
    fillStandardDescriptors();
    if (!cli::asksToFilter(argc, argv)) return runCommand(argc, argv);
    posix::TerminationGuard::blockSignals();
    return static_cast<int>(FilterRun().run());
}
