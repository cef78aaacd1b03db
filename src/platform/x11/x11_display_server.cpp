#include "platform/x11/x11_display_server.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "base/localized.h"

namespace dravo::x11 {

namespace {

const std::string kNoTable(textKey("its driver has no transfer table").english);
const std::string kUnguarded(textKey("not filtered until the X server grants another connection").english);

/// From a look's question to its use, at most: one period and a little for the timer.
constexpr std::chrono::milliseconds kLookIsFresh{992};

xcb_randr_crtc_t native(CrtcId crtc) { return static_cast<xcb_randr_crtc_t>(crtc); }
CrtcId crtcId(xcb_randr_crtc_t crtc) { return static_cast<CrtcId>(crtc); }

Result<void> outcomeOf(xcb_connection_t* connection, xcb_void_cookie_t cookie) {
    const Reply<xcb_generic_error_t> error(xcb_request_check(connection, cookie));
    if (xcb_connection_has_error(connection) != 0) return disconnected();
    if (!error) return {};
    if (error->error_code == XCB_ACCESS)
        return Error{ErrorCode::PermissionDenied,
                     std::string(textKey("the X server refuses access to this display").english), error->error_code};
    return Error{ErrorCode::Internal, std::string(textKey("the X server refused a table").english), error->error_code};
}

// Of the outputs' properties only those that say who is there and how it is calibrated; a brightness key changes one
// too.
bool tellsOfOutputs(const xcb_generic_event_t& event, const ServerFacts& facts) {
    const int type = (event.response_type & 0x7f) - facts.randrFirstEvent;
    if (type == XCB_RANDR_SCREEN_CHANGE_NOTIFY) return true;
    if (type != XCB_RANDR_NOTIFY) return false;
    const auto& notification = reinterpret_cast<const xcb_randr_notify_event_t&>(event);
    if (notification.subCode != XCB_RANDR_NOTIFY_OUTPUT_PROPERTY) return true;
    const xcb_atom_t property = notification.u.op.atom;
    return property == facts.edid || property == facts.iccProfile;
}

}  // namespace

struct X11DisplayServer::PendingLoad {
    std::size_t index;  ///< In the caller's list.
    DisplayId display;
    CrtcLevels ramp;
    bool readFirst = false;
    bool isUnchanged = false;
};

Result<std::unique_ptr<X11DisplayServer>> X11DisplayServer::create(const std::string& display,
                                                                   EmergencyRestore* emergency) {
    auto connection = connect(display);
    if (!connection) return connection.error();
    auto facts = negotiate(*connection);
    if (!facts) return facts.error();
    auto topology = queryTopology(*connection, *facts);
    if (!topology) return topology.error();
    const auto isWayland = [](const Output& output) { return output.name.starts_with("XWAYLAND"); };
    if (std::any_of(topology->outputs.begin(), topology->outputs.end(), isWayland)) return waylandSession();

    std::unique_ptr<X11DisplayServer> server(new X11DisplayServer(display, std::move(*connection), *facts, emergency));
    server->adopt(*topology);
    return server;
}

X11DisplayServer::X11DisplayServer(std::string display, Connection connection, ServerFacts facts,
                                   EmergencyRestore* emergency)
    : displayName_(std::move(display)),
      connection_(std::move(connection)),
      facts_(facts),
      emergency_(emergency),
      grayscale_(
          connection_, facts_, [this] { return isGuarded(); }, [this] { publishTargets(); }) {
    if (!emergency_) return;
    // The guard ends this connection by a resource of it; a client without any cannot be named.
    killHandle_ = xcb_generate_id(connection_.get());
    xcb_create_window(connection_.get(), 0, killHandle_, connection_.root, -1, -1, 1, 1, 0, XCB_WINDOW_CLASS_INPUT_ONLY,
                      XCB_COPY_FROM_PARENT, 0, nullptr);
}

X11DisplayServer::~X11DisplayServer() = default;

void X11DisplayServer::listen(DescriptorWatch& watch, Scheduler& scheduler) {
    contentsAreFresh_ = false;
    scheduler_ = &scheduler;
    readable_ = watch.whenReadable(xcb_get_file_descriptor(connection_.get()), [this] { handleEvents(); });
    noteQueuedEvents();
}

Result<const X11DisplayServer::Display*> X11DisplayServer::find(DisplayId id) const {
    if (isLost_ || connection_.isBroken()) return disconnected();
    const auto found = std::find_if(displays_.begin(), displays_.end(), [&](const Display& d) { return d.id == id; });
    if (found == displays_.end())
        return Error{ErrorCode::NotFound, std::string(textKey("this display is not on").english)};
    if (found->tableSize < 2) return Error{ErrorCode::Unsupported, kNoTable};
    return &*found;
}

Result<std::vector<DisplayId>> X11DisplayServer::onlineDisplays(std::size_t capacity) {
    if (isLost_ || connection_.isBroken()) return disconnected();
    std::vector<DisplayId> ids;
    for (const auto& display : displays_)
        if (display.tableSize >= 2 && ids.size() < capacity) ids.push_back(display.id);
    return ids;
}

Result<std::vector<DisplayDescription>> X11DisplayServer::describeDisplays() {
    if (isLost_ || connection_.isBroken()) return disconnected();
    std::vector<DisplayDescription> descriptions;
    for (const auto& display : displays_) {
        const std::string problem = display.tableSize < 2 ? kNoTable : isGuarded() ? "" : kUnguarded;
        descriptions.push_back({display.id, display.name, display.tableSize, problem});
    }
    return descriptions;
}

std::vector<Result<GammaTable>> X11DisplayServer::readTables(std::span<const DisplayId> displays) {
    std::vector<xcb_randr_crtc_t> crtcs;
    for (const auto id : displays)
        if (const auto display = find(id)) crtcs.push_back(native((*display)->crtc));
    const auto levels = readLevels(connection_, crtcs);
    noteQueuedEvents();

    std::vector<Result<GammaTable>> tables;
    std::size_t next = 0;
    for (const auto id : displays) {
        if (const auto display = find(id); !display) {
            tables.emplace_back(display.error());
        } else if (!levels) {
            tables.emplace_back(levels.error());
        } else if (const auto& read = (*levels)[next++]; read.size() < 2) {
            tables.emplace_back(Error{ErrorCode::NotFound, std::string(textKey("this display is not on").english)});
        } else {
            tables.emplace_back(toTable(read));
        }
    }
    return tables;
}

std::vector<Result<void>> X11DisplayServer::loadTables(std::span<const DisplayTable> tables) {
    std::vector<Result<void>> results(tables.size());
    if (!isGuarded()) return results.assign(tables.size(), Error{ErrorCode::Busy, kUnguarded}), results;
    std::vector<PendingLoad> loads;
    for (std::size_t i = 0; i < tables.size(); ++i) {
        const auto display = find(tables[i].display);
        if (!display) {
            results[i] = display.error();
        } else if (!isLoadable(tables[i].table)) {
            results[i] = Error{ErrorCode::InvalidInput, "a table needs three channels of the same length, at least 2"};
        } else {
            const CrtcId crtc = (*display)->crtc;
            loads.push_back({i, (*display)->id, {crtc, toLevels(tables[i].table, (*display)->tableSize)}});
        }
    }
    readBack(loads);
    for (const auto& load : loads) ledger_.loading(load.ramp.crtc, load.ramp.levels);
    std::erase_if(loads, [](const PendingLoad& load) { return load.isUnchanged; });

    std::vector<CrtcLevels> ramps;
    for (const auto& load : loads) ramps.push_back(load.ramp);
    write(ramps, [&](std::size_t i, Result<void> outcome) { results[loads[i].index] = std::move(outcome); });
    noteQueuedEvents();
    return results;
}

// One round trip for all that must be looked at before they are written, none if nothing must.
void X11DisplayServer::readBack(std::vector<PendingLoad>& loads) {
    std::vector<xcb_randr_crtc_t> crtcs;
    for (auto& load : loads) {
        const bool isFirst = ledger_.needsFirstLook(load.display) && !contentsAreFresh_;
        load.readFirst = isFirst || ledger_.holds(load.ramp.crtc, load.ramp.levels);
        if (load.readFirst) crtcs.push_back(native(load.ramp.crtc));
    }
    if (crtcs.empty()) return;
    const auto levels = readLevels(connection_, crtcs);
    if (!levels) return;
    std::size_t next = 0;
    for (auto& load : loads) {
        if (!load.readFirst) continue;
        const auto& held = (*levels)[next++];
        if (held.size() < 2) continue;
        if (ledger_.needsFirstLook(load.display)) ledger_.firstLook(load.display, held);
        load.isUnchanged = held == load.ramp.levels && ledger_.holds(load.ramp.crtc, load.ramp.levels);
    }
}

void X11DisplayServer::write(const std::vector<CrtcLevels>& ramps, const OnOutcome& onOutcome) {
    if (ramps.empty()) return;
    // Booked and made known to the guard before the first request leaves: nothing of ours may be on a display that
    // nobody would take back.
    for (const auto& ramp : ramps) ledger_.wrote(ramp.crtc, ramp.levels);
    const auto isGuarded = [this](const CrtcLevels& ramp) { return guarded_.contains(ramp.crtc); };
    if (!std::all_of(ramps.begin(), ramps.end(), isGuarded)) publishTargets();

    bool allWritten = true;
    send(ramps, [&](std::size_t i, Result<void> outcome) {
        allWritten = allWritten && outcome.hasValue();
        onOutcome(i, std::move(outcome));
    });
    if (!allWritten) ledger_.forgetContents();
}

// All requests leave together; the first outcome waits for the server, the others lie there by then.
void X11DisplayServer::send(const std::vector<CrtcLevels>& ramps, const OnOutcome& onOutcome) {
    std::vector<xcb_void_cookie_t> cookies;
    for (const auto& ramp : ramps) cookies.push_back(sendRamp(connection_.get(), ramp));
    for (std::size_t i = 0; i < ramps.size(); ++i) onOutcome(i, outcomeOf(connection_.get(), cookies[i]));
    noteQueuedEvents();
}

void X11DisplayServer::keepTables(std::span<const DisplayTable> tables) {
    if (!look_ && !lookIsImpossible_) {
        auto look = GammaLook::open(displayName_);
        lookIsImpossible_ = !look.hasValue();
        if (look) look_ = std::move(*look);
    }
    if (!look_ || !scheduler_) {
        loadTables(tables);
        return;
    }
    const SteadyTime now = scheduler_->steadyNow();
    // What is still to come, or was read long before this tick, says nothing about now: a busy machine, a first tick,
    // or one that an `apply` has put off. A plain look costs a wake-up more and is right.
    const auto held = look_->collect();
    const bool isFresh = held && now - lookAsked_ <= kLookIsFresh;
    std::vector<DisplayTable> doubtful;
    std::ranges::copy_if(tables, std::back_inserter(doubtful),
                         [&](const DisplayTable& wanted) { return !isFresh || !isKept(wanted, *held); });
    if (!doubtful.empty()) loadTables(doubtful);
    if (look_->isPending()) return;
    std::vector<xcb_randr_crtc_t> crtcs;
    for (const auto& wanted : tables)
        if (const auto display = find(wanted.display)) crtcs.push_back(native((*display)->crtc));
    look_->ask(crtcs);
    lookAsked_ = now;
}

bool X11DisplayServer::isKept(const DisplayTable& wanted, const GammaLook::Answers& held) const {
    const auto display = find(wanted.display);
    if (!display) return true;  // it went; nothing to keep
    const auto levels = toLevels(wanted.table, (*display)->tableSize);
    const auto found = held.find(native((*display)->crtc));
    return ledger_.holds((*display)->crtc, levels) && found != held.end() && found->second == levels;
}

Result<void> X11DisplayServer::restoreCalibration() {
    // Profiles come and go without an event; what they say now counts.
    if (auto refreshed = refresh(); !refreshed) return refreshed;
    const auto ramps = ledger_.beginRestore();
    Result<void> worst;
    send(ramps, [&](std::size_t i, Result<void> outcome) {
        if (outcome) {
            ledger_.restored(ramps[i].crtc);
        } else {
            worst = std::move(outcome);
        }
    });
    publishTargets();
    return worst;
}

Result<GammaTable> X11DisplayServer::ownTable(DisplayId id) {
    if (auto own = ledger_.own(id)) return *std::move(own);
    const auto display = find(id);
    return display ? Error{ErrorCode::NotFound, "nothing was read from this display yet"} : display.error();
}

void X11DisplayServer::declareOwnTables(const std::map<DisplayId, GammaTable>& tables) {
    std::vector<DisplayId> ids;
    for (const auto& [id, table] : tables) ids.push_back(id);
    identities_.know(ids);
    ledger_.declareOwnTables(tables);
    const auto topology = queryTopology(connection_, facts_);
    if (!topology) return;
    adopt(*topology);
    restoreIdleCrtcs(*topology, tables);
}

// A display that is off keeps its place in the ramps of an idle CRTC: what an unclean run left there would come back
// with the next plug, perhaps when no Dravo runs any more. Where only one display of that run can have been on it, the
// CRTC gets that display's table now.
void X11DisplayServer::restoreIdleCrtcs(const Topology& topology, const std::map<DisplayId, GammaTable>& tables) {
    std::vector<const Output*> idleOutputs;
    std::vector<OutputIdentity> identities;
    for (const auto& output : topology.outputs) {
        if (output.crtc != XCB_NONE) continue;
        idleOutputs.push_back(&output);
        identities.push_back({output.name, output.edid});
    }
    const auto ids = DisplayIdentities(identities_).assign(identities);
    std::vector<CrtcLevels> ramps;
    for (const auto& crtc : topology.crtcs) {
        if (crtc.enabled || crtc.levels.size() < 2) continue;
        std::vector<const GammaTable*> candidates;
        for (std::size_t i = 0; i < idleOutputs.size(); ++i) {
            const auto table = tables.find(ids[i]);
            const bool fits = std::ranges::find(idleOutputs[i]->crtcs, crtc.id) != idleOutputs[i]->crtcs.end();
            if (fits && table != tables.end()) candidates.push_back(&table->second);
        }
        if (candidates.size() != 1) continue;
        auto levels = toLevels(*candidates.front(), crtc.levels.size());
        if (levels.size() >= 2 && levels != crtc.levels) ramps.push_back({crtcId(crtc.id), std::move(levels)});
    }
    send(ramps, [](std::size_t, const Result<void>&) {});
}

void X11DisplayServer::distrustFoundTables() { ledger_.distrustFoundTables(); }

Subscription X11DisplayServer::onDisplayChange(std::function<void()> callback) {
    return changed_.add(std::move(callback));
}

Subscription X11DisplayServer::onLoss(std::function<void()> callback) { return lost_.add(std::move(callback)); }

Result<void> X11DisplayServer::refresh() {
    const auto topology = queryTopology(connection_, facts_);
    if (!topology) return topology.error();
    adopt(*topology);
    return {};
}

void X11DisplayServer::adopt(const Topology& topology) {
    grayscale_.outputsAre(topology.outputs);
    std::vector<OutputIdentity> identities;
    std::vector<Display> displays;
    std::set<CrtcId> crtcs;
    for (const auto& crtc : topology.crtcs) {
        crtcs.insert(crtcId(crtc.id));
        if (const Output* output = representativeOf(topology, crtc)) {
            identities.push_back({output->name, output->edid});
            displays.push_back({{}, output->name, crtcId(crtc.id), crtc.levels.size()});
        } else {
            ledger_.left(crtcId(crtc.id));
        }
    }
    for (const auto crtc : crtcs_)
        if (!crtcs.contains(crtc)) ledger_.removed(crtc);
    crtcs_ = std::move(crtcs);

    const auto ids = identities_.assign(identities);
    for (std::size_t i = 0; i < displays.size(); ++i) displays[i].id = ids[i];
    displays_ = std::move(displays);
    for (const auto& display : displays_) {
        if (display.tableSize < 2) continue;
        const auto& crtc = *std::find_if(topology.crtcs.begin(), topology.crtcs.end(),
                                         [&](const Crtc& candidate) { return crtcId(candidate.id) == display.crtc; });
        ledger_.setProfile(display.id, calibrationOfProfile(profileOf(topology, crtc)));
        if (!ledger_.isShowing(display.crtc, display.id)) ledger_.appeared(display.id, display.crtc, crtc.levels);
    }
}

void X11DisplayServer::note(const xcb_generic_event_t& event) {
    outputsChanged_ = outputsChanged_ || tellsOfOutputs(event, facts_);
}

// Waiting for a reply brings events along; they lie in the library's queue while the descriptor stays silent.
void X11DisplayServer::noteQueuedEvents() {
    while (const Reply<xcb_generic_event_t> event{xcb_poll_for_queued_event(connection_.get())}) note(*event);
    if (outputsChanged_ && scheduler_ && !queuedEvents_.isPending())
        queuedEvents_ = scheduler_->after(Duration::zero(), [this] { handleEvents(); });
}

bool X11DisplayServer::takeOutputChange() {
    while (const Reply<xcb_generic_event_t> event{xcb_poll_for_event(connection_.get())}) note(*event);
    return std::exchange(outputsChanged_, false);
}

void X11DisplayServer::handleEvents() {
    while (takeOutputChange()) {
        if (!refresh()) break;
        ledger_.forgetContents();
        publishTargets();
        changed_.deliver();
        const auto owed = ledger_.owedCalibrations();
        write(owed, [&](std::size_t i, const Result<void>& outcome) {
            if (outcome) ledger_.restored(owed[i].crtc);
        });
        if (!owed.empty()) publishTargets();
    }
    if (connection_.isBroken()) serverIsGone();
}

void X11DisplayServer::serverIsGone() {
    if (std::exchange(isLost_, true)) return;
    readable_.reset();
    lost_.deliver();
}

void X11DisplayServer::publishTargets() {
    if (!emergency_) return;
    auto targets = std::make_shared<EmergencyTargets>();
    targets->engineWindow = killHandle_;
    targets->calibrations = ledger_.calibrations();
    targets->matrixOutputs = grayscale_.grayOutputs();
    targets->matrix = facts_.matrix;
    guarded_.clear();
    for (const auto& calibration : targets->calibrations) guarded_.insert(calibration.crtc);
    emergency_->setTargets(std::move(targets));
}

}  // namespace dravo::x11
