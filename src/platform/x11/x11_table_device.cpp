#include "platform/x11/x11_table_device.h"

#include <algorithm>
#include <utility>

#include "base/localized.h"

namespace dravo::x11 {

namespace {

/// A little early, so that a foreign change is undone within a second, the look's own delay included.
constexpr std::chrono::milliseconds kLookPeriod{990};
/// From a look's question to its use, at most: one period and a little for the timer.
constexpr std::chrono::milliseconds kLookIsFresh{992};

Result<void> outcomeOf(xcb_connection_t* connection, xcb_void_cookie_t cookie) {
    const Reply<xcb_generic_error_t> error(xcb_request_check(connection, cookie));
    if (xcb_connection_has_error(connection) != 0) return disconnected();
    if (!error) return {};
    if (error->error_code == XCB_ACCESS)
        return Error{ErrorCode::PermissionDenied, textKey("the X server refuses access to this display"),
                     error->error_code};
    return Error{ErrorCode::Internal, textKey("the X server refused a table"), error->error_code};
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

Result<std::unique_ptr<X11TableDevice>> X11TableDevice::create(const std::string& display,
                                                               EmergencyRestore* emergency) {
    auto connection = connect(display);
    if (!connection) return connection.error();
    auto facts = negotiate(*connection);
    if (!facts) return facts.error();
    std::unique_ptr<X11TableDevice> device(new X11TableDevice(display, std::move(*connection), *facts, emergency));
    if (const auto read = device->refresh(); !read) return read.error();
    const auto isWayland = [](const DeviceOutput& output) { return output.connector.starts_with("XWAYLAND"); };
    if (std::ranges::any_of(device->topology_.outputs, isWayland)) return waylandSession();
    return device;
}

X11TableDevice::X11TableDevice(std::string display, Connection connection, ServerFacts facts,
                               EmergencyRestore* emergency)
    : displayName_(std::move(display)),
      connection_(std::move(connection)),
      facts_(facts),
      emergency_(emergency),
      grayscale_(
          connection_, facts_, [this] { return isGuarded(); }, [this] { publishTargets(); }) {
    if (!emergency_) return;
    // The guard ends this connection by a resource of it; a client without any cannot be named. It is there before the
    // answer to the first question about displays is, so before the guard has anything to give back.
    killHandle_ = xcb_generate_id(connection_.get());
    xcb_create_window(connection_.get(), 0, killHandle_, connection_.root, -1, -1, 1, 1, 0, XCB_WINDOW_CLASS_INPUT_ONLY,
                      XCB_COPY_FROM_PARENT, 0, nullptr);
}

X11TableDevice::~X11TableDevice() = default;

void X11TableDevice::listen(DescriptorWatch& watch, Scheduler& scheduler) {
    scheduler_ = &scheduler;
    readable_ = watch.whenReadable(xcb_get_file_descriptor(connection_.get()), [this] { handleEvents(); });
    noteQueuedEvents();
}

Duration X11TableDevice::lookPeriod() const { return kLookPeriod; }

Result<void> X11TableDevice::refresh() {
    auto topology = queryTopology(connection_, facts_);
    if (!topology) return topology.error();
    grayscale_.outputsAre(std::move(topology->matrixOutputs));
    topology_ = std::move(topology->device);
    return {};
}

void X11TableDevice::read(std::span<const CrtcId> crtcs, std::function<void(Result<Levels>)> done) {
    auto levels = readLevels(connection_, crtcs);
    noteQueuedEvents();
    done(std::move(levels));
}

// All requests leave together; the first outcome waits for the server, the others lie there by then.
void X11TableDevice::write(std::span<const CrtcLevels> ramps, std::function<void(Outcomes)> done) {
    std::vector<xcb_void_cookie_t> cookies;
    for (const auto& ramp : ramps) cookies.push_back(sendRamp(connection_.get(), ramp));
    Outcomes outcomes;
    for (const auto cookie : cookies) outcomes.push_back(outcomeOf(connection_.get(), cookie));
    noteQueuedEvents();
    done(std::move(outcomes));
}

std::optional<std::vector<bool>> X11TableDevice::lookAt(std::span<const CrtcLevels> wanted) {
    if (!look_ && !lookIsImpossible_) {
        auto look = GammaLook::open(displayName_);
        lookIsImpossible_ = !look.hasValue();
        if (look) look_ = std::move(*look);
    }
    if (!look_ || !scheduler_) return std::nullopt;
    const SteadyTime now = scheduler_->steadyNow();
    // What is still to come, or was read long before this tick, says nothing about now: a busy machine, a first tick,
    // or one that an `apply` has put off. A plain look costs a wake-up more and is right.
    const auto held = look_->collect();
    const bool isFresh = held && now - lookAsked_ <= kLookIsFresh;
    std::vector<CrtcId> crtcs;
    std::vector<bool> isKept;
    for (const auto& [crtc, levels] : wanted) {
        crtcs.push_back(crtc);
        if (!isFresh) continue;
        const auto found = held->find(crtc);
        isKept.push_back(found != held->end() && found->second == levels);
    }
    if (!look_->isPending()) {
        look_->ask(crtcs);
        lookAsked_ = now;
    }
    return isFresh ? std::optional(std::move(isKept)) : std::nullopt;
}

void X11TableDevice::guard(std::vector<CrtcLevels> own) {
    guarded_ = std::move(own);
    publishTargets();
}

void X11TableDevice::publishTargets() {
    if (!emergency_) return;
    auto targets = std::make_shared<EmergencyTargets>();
    targets->engineWindow = killHandle_;
    targets->calibrations = guarded_;
    targets->matrixOutputs = grayscale_.grayOutputs();
    targets->matrix = facts_.matrix;
    emergency_->setTargets(std::move(targets));
}

Subscription X11TableDevice::onChange(std::function<void()> callback) { return changed_.add(std::move(callback)); }

Subscription X11TableDevice::onLoss(std::function<void()> callback) { return lost_.add(std::move(callback)); }

void X11TableDevice::note(const xcb_generic_event_t& event) {
    outputsChanged_ = outputsChanged_ || tellsOfOutputs(event, facts_);
}

// Waiting for a reply brings events along; they lie in the library's queue while the descriptor stays silent.
void X11TableDevice::noteQueuedEvents() {
    while (const Reply<xcb_generic_event_t> event{xcb_poll_for_queued_event(connection_.get())}) note(*event);
    if (outputsChanged_ && scheduler_ && !queuedEvents_.isPending())
        queuedEvents_ = scheduler_->after(Duration::zero(), [this] { handleEvents(); });
}

bool X11TableDevice::takeOutputChange() {
    while (const Reply<xcb_generic_event_t> event{xcb_poll_for_event(connection_.get())}) note(*event);
    return std::exchange(outputsChanged_, false);
}

void X11TableDevice::handleEvents() {
    while (takeOutputChange() && refresh()) changed_.deliver();
    if (connection_.isBroken()) serverIsGone();
}

void X11TableDevice::serverIsGone() {
    if (std::exchange(isLost_, true)) return;
    readable_.reset();
    lost_.deliver();
}

}  // namespace dravo::x11
