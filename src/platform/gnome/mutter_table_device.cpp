#include "platform/gnome/mutter_table_device.h"

#include <algorithm>
#include <string>
#include <utility>

#include "platform/gnome/color_settings.h"

namespace dravo::gnome {

namespace {

using namespace std::chrono_literals;

/// For a compositor that is busy when we start.
constexpr std::chrono::milliseconds kStartPatience{2000};
/// For what a third program writes, which nobody announces.
constexpr Duration kLookPeriod = 30s;

/// How long after a step of Night Light or a change of profiles a table that is not ours is the compositor's own.
constexpr Duration kColorManagerTakes = 1s;

/// Between announcements that somebody writes, where they come one after the other.
constexpr Duration kFirstPause = 50ms;
constexpr Duration kLongestPause = 5s;
constexpr Duration kQuiet = 10s;

constexpr const char* kProfiles = "org.freedesktop.ColorManager";

Error disconnected() { return {ErrorCode::Disconnected, textKey("the display server is gone")}; }

Error outcomeOf(const Error& error) {
    switch (error.code) {
        case ErrorCode::PermissionDenied:
            return error;
        case ErrorCode::NotFound:
        case ErrorCode::Disconnected:
            return disconnected();
        default:
            return {ErrorCode::Internal, error.message, error.nativeCode};
    }
}

}  // namespace

struct MutterTableDevice::Batch {
    std::vector<CrtcLevels> rows;  ///< With levels where they are written.
    bool isWrite = false;
    OnBatch done;
    std::uint64_t writesBefore = 0;             ///< The number of the latest write that left before this.
    std::vector<Result<RampLevels>> results{};  ///< In the rows' order; levels only where they are read.
    std::size_t awaited = 0;
    bool isRepeated = false;
};

Result<std::unique_ptr<BusLink>> MutterTableDevice::connect() {
    auto bus = BusLink::open(dbus::Bus::Kind::session);
    if (!bus) return bus;
    constexpr const char* kBus = "org.freedesktop.DBus";
    const auto answer = (*bus)->ask(
        (*bus)->newCall(kBus, "/org/freedesktop/DBus", kBus, "NameHasOwner", "s", kDisplayConfig), kStartPatience);
    if (!answer) return answer.error();
    int isOwned = 0;
    if (sd_bus_message_read(answer->get(), "b", &isOwned) < 0 || isOwned == 0)
        return Error{ErrorCode::NotFound, textKey("the display server does not answer")};
    return bus;
}

Result<std::unique_ptr<MutterTableDevice>> MutterTableDevice::create(std::unique_ptr<BusLink> bus,
                                                                     MutterLastWord* lastWord) {
    std::unique_ptr<MutterTableDevice> device(new MutterTableDevice(std::move(bus), lastWord));
    device->fetch();
    device->finish(kStartPatience);
    if (!device->latestFetch_) return device->latestFetch_.error();
    return device;
}

MutterTableDevice::MutterTableDevice(std::unique_ptr<BusLink> bus, MutterLastWord* lastWord)
    : bus_(std::move(bus)), lastWord_(lastWord) {}

MutterTableDevice::~MutterTableDevice() = default;

void MutterTableDevice::listen(DescriptorWatch& watch, Scheduler& scheduler) {
    scheduler_ = &scheduler;
    const std::string from = std::string("sender='") + kDisplayConfig + "',path='" + kDisplayConfigPath + "',";
    bus_->onSignal(from + "interface='" + kDisplayConfig + "',member='MonitorsChanged'", [this](sd_bus_message*) {
        isDoubtful_ = true;
        fetch();
    });
    bus_->onSignal(std::string("sender='org.freedesktop.DBus',member='NameOwnerChanged',arg0='") + kDisplayConfig + "'",
                   [this](sd_bus_message* signal) {
                       const char* owner = nullptr;
                       if (sd_bus_message_read(signal, "sss", nullptr, nullptr, &owner) >= 0)
                           nameOwnerChanged(*owner != '\0');
                   });
    bus_->onSignal(
        std::string("interface='") + kProperties + "',member='PropertiesChanged',arg0='" + kColorSettings + "'",
        [this](sd_bus_message*) { profilesChange(); });
    bus_->listen(watch, scheduler, [this] { lost_.deliver(); });
    // What changed before anybody listened.
    fetch();

    auto systemBus = BusLink::open(dbus::Bus::Kind::system);
    if (!systemBus) return;
    systemBus_ = std::move(*systemBus);
    systemBus_->onSignal(std::string("sender='") + kProfiles + "',interface='" + kProfiles + "'",
                         [this](sd_bus_message*) { profilesChange(); });
    systemBus_->listen(watch, scheduler, [] {});
}

Duration MutterTableDevice::lookPeriod() const { return kLookPeriod; }

Result<void> MutterTableDevice::refresh() {
    if (bus_->isLost() || !isThere_) return disconnected();
    return {};
}

void MutterTableDevice::read(std::span<const CrtcId> crtcs, std::function<void(Result<Levels>)> done) {
    std::vector<CrtcLevels> rows;
    for (const CrtcId crtc : crtcs) rows.push_back({crtc, {}});
    start(std::move(rows), false, [done = std::move(done)](const Batch& reading) {
        Levels levels;
        for (const auto& result : reading.results) {
            if (!result && outcomeOf(result.error()).code == ErrorCode::Disconnected) return done(disconnected());
            levels.push_back(result ? *result : RampLevels{});
        }
        done(std::move(levels));
    });
}

void MutterTableDevice::write(std::span<const CrtcLevels> ramps, std::function<void(Outcomes)> done) {
    ++writesAwaited_;
    start({ramps.begin(), ramps.end()}, true, [this, done = std::move(done)](const Batch& writing) {
        --writesAwaited_;
        Outcomes outcomes;
        for (const auto& result : writing.results)
            outcomes.push_back(result ? Result<void>() : Result<void>(outcomeOf(result.error())));
        done(std::move(outcomes));
    });
}

std::optional<std::vector<bool>> MutterTableDevice::lookAt(std::span<const CrtcLevels>) { return std::nullopt; }

void MutterTableDevice::guard(std::vector<CrtcLevels> own) {
    if (lastWord_) lastWord_->setTables(std::make_shared<const std::vector<CrtcLevels>>(std::move(own)));
}

void MutterTableDevice::start(std::vector<CrtcLevels> rows, bool isWrite, OnBatch done) {
    if (isWrite) ++writes_;
    const auto batch = std::make_shared<Batch>(Batch{std::move(rows), isWrite, std::move(done), writes_});
    batch->results.resize(batch->rows.size(), Result<RampLevels>(RampLevels{}));
    std::vector<std::size_t> all;
    for (std::size_t i = 0; i < batch->rows.size(); ++i) {
        if (isWrite) latestWrites_[batch->rows[i].crtc] = {writes_, batch->rows[i].levels};
        if (isWrite || hasTables_) all.push_back(i);
    }
    send(batch, all);
}

void MutterTableDevice::send(const std::shared_ptr<Batch>& batch, const std::vector<std::size_t>& rows) {
    batch->awaited = rows.size();
    for (const std::size_t i : rows) {
        const auto& row = batch->rows[i];
        auto call = batch->isWrite ? setLevelsCall(*bus_, resources_.serial, row)
                                   : levelsCall(*bus_, resources_.serial, row.crtc);
        bus_->ask(std::move(call), [this, batch, i](const BusLink::Answer& answer) {
            batch->results[i] = !answer          ? Result<RampLevels>(answer.error())
                                : batch->isWrite ? Result<RampLevels>(RampLevels{})
                                                 : Result<RampLevels>(readLevels(*answer));
            if (--batch->awaited == 0) noteAnswers(batch);
        });
    }
    if (rows.empty()) end(*batch);
}

void MutterTableDevice::noteAnswers(const std::shared_ptr<Batch>& batch) {
    std::vector<std::size_t> stale;
    for (std::size_t i = 0; i < batch->rows.size(); ++i)
        if (const auto& result = batch->results[i]; !result && result.error().code == ErrorCode::PermissionDenied)
            stale.push_back(i);
    if (stale.empty() || std::exchange(batch->isRepeated, true)) return end(*batch);
    // Resources that are on their way were asked for after what was refused: the compositor answers in order.
    afterFetch_.push_back([this, batch, stale] { repeat(batch, stale); });
    fetch();
}

// A later write has the word.
void MutterTableDevice::repeat(const std::shared_ptr<Batch>& batch, std::vector<std::size_t> rows) {
    if (batch->isWrite) {
        std::erase_if(rows, [&](std::size_t i) {
            const auto latest = latestWrites_.find(batch->rows[i].crtc);
            const bool isOvertaken = latest == latestWrites_.end() || latest->second.number != batch->writesBefore;
            if (isOvertaken) batch->results[i] = RampLevels{};
            return isOvertaken;
        });
    }
    send(batch, rows);
}

void MutterTableDevice::end(Batch& batch) {
    for (std::size_t i = 0; batch.isWrite && i < batch.rows.size(); ++i) {
        const auto latest = latestWrites_.find(batch.rows[i].crtc);
        if (latest == latestWrites_.end() || latest->second.number != batch.writesBefore) continue;
        if (batch.results[i]) {
            latest->second.isConfirmed = true;
        } else {
            latestWrites_.erase(latest);
        }
    }
    if (!batch.isWrite && scheduler_ && scheduler_->steadyNow() < learnsUntil_) learn(batch);
    batch.done(batch);
}

void MutterTableDevice::fetch() {
    if (std::exchange(isFetching_, true)) return;
    bus_->ask(hasTablesCall(*bus_), [this](const BusLink::Answer& answer) { hasTables_ = readHasTables(answer); });
    bus_->ask(resourcesCall(*bus_), [this](const BusLink::Answer& answer) { noteResources(answer); });
}

void MutterTableDevice::noteResources(const BusLink::Answer& answer) {
    isFetching_ = false;
    const bool isDoubtful = std::exchange(isDoubtful_, false);
    auto resources = answer ? readResources(*answer) : Result<DisplayResources>(answer.error());
    latestFetch_ = resources ? Result<void>() : Result<void>(resources.error());
    const bool isNew = resources && (!isThere_ || *resources != resources_);
    if (isNew) resources_ = std::move(*resources);
    for (const auto& next : std::exchange(afterFetch_, {})) next();
    if (isNew) {
        readAll();
    } else if (resources && isDoubtful) {
        tellOfDoubt();
    }
}

void MutterTableDevice::readAll() {
    // Known with the first answer, and nothing is written before.
    if (lastWord_) lastWord_->setEngine(bus_->descriptor(), bus_->uniqueName());
    std::vector<CrtcLevels> rows;
    for (const CrtcId crtc : resources_.crtcs) rows.push_back({crtc, {}});
    start(std::move(rows), false, [this, number = ++readings_](const Batch& reading) {
        if (number == readings_) adopt(reading);
    });
}

void MutterTableDevice::adopt(const Batch& reading) {
    DeviceTopology topology{resources_.outputs, {}};
    for (std::size_t i = 0; i < reading.rows.size(); ++i) {
        const auto& result = reading.results[i];
        if (!result && outcomeOf(result.error()).code == ErrorCode::Disconnected) return;
        topology.crtcs.push_back({reading.rows[i].crtc, result ? *result : RampLevels{}});
    }
    for (auto& output : topology.outputs)
        if (const auto own = own_.find({output.connector, output.edid}); own != own_.end()) output.own = own->second;
    topology_ = std::move(topology);
    isThere_ = true;
    announceChange();
}

void MutterTableDevice::announceChange() {
    if (scheduler_) announcement_ = scheduler_->after(Duration::zero(), [this] { changed_.deliver(); });
}

// What the tables held stays in the hardware, or goes with it: nobody knows before the compositor is back.
void MutterTableDevice::nameOwnerChanged(bool isOwned) {
    isThere_ = false;
    ++readings_;
    if (isOwned) return fetch();
    for (auto& output : topology_.outputs) output.crtc.reset();
    announceChange();
}

// The compositor writes, at once or a little later.
void MutterTableDevice::profilesChange() {
    learnsUntil_ = scheduler_->steadyNow() + kColorManagerTakes + kFirstPause;
    secondLook_ = scheduler_->after(kColorManagerTakes, [this] { look(); });
    look();
    tellOfForeignWrite(Duration::zero());
}

void MutterTableDevice::look() {
    std::vector<CrtcLevels> rows;
    for (const auto& [crtc, written] : latestWrites_) rows.push_back({crtc, {}});
    start(std::move(rows), false, [](const Batch&) {});
}

// What is neither ours nor on its way.
void MutterTableDevice::learn(const Batch& reading) {
    bool isNews = false;
    for (std::size_t i = 0; i < reading.rows.size(); ++i) {
        const auto written = latestWrites_.find(reading.rows[i].crtc);
        const auto& held = reading.results[i];
        if (written == latestWrites_.end() || !held || !written->second.isConfirmed ||
            written->second.number > reading.writesBefore || *held == written->second.levels)
            continue;
        for (auto& output : topology_.outputs) {
            if (output.crtc != reading.rows[i].crtc) continue;
            const auto own = toTable(*held);
            isNews = isNews || output.own != own;
            output.own = own;
            own_[{output.connector, output.edid}] = own;
        }
    }
    if (isNews) tellOfForeignWrite(Duration::zero());
}

void MutterTableDevice::tellOfForeignWrite(Duration pause) {
    foreignWrite_ = scheduler_->after(pause, [this] { foreignWrites_.deliver(); });
}

// At once, and ever later where one comes after the other: perhaps somebody answers each write of ours by one of his.
void MutterTableDevice::tellOfDoubt() {
    if (!scheduler_ || foreignWrite_.isPending()) return;
    const SteadyTime now = scheduler_->steadyNow();
    pause_ = now - latestDoubt_ < kQuiet ? std::clamp(2 * pause_, kFirstPause, kLongestPause) : Duration::zero();
    latestDoubt_ = now + pause_;
    tellOfForeignWrite(pause_);
}

}  // namespace dravo::gnome
