#include "platform/wayland/wlr_displays.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <utility>

namespace dravo::wayland {
namespace {

using namespace std::chrono_literals;

constexpr Duration kRetryPause = 1s;
constexpr Duration kFlushPause = 50ms;

constexpr Duration kFirstReconnect = 50ms;
constexpr int kDoublings = 7;
/// A connection that has lived for so long was a good one.
constexpr Duration kGoodLife = 10s;
/// A compositor that starts again is there within seconds; a person who has logged out is not kept out of the next
/// session by a run that waits for the last.
constexpr Duration kLongestAbsence = 120s;

constexpr TextKey kIsGone = textKey("the compositor is gone; Dravo waits for its return");

CrtcId crtcOf(const GammaOutput& output) { return CrtcId{output.name()}; }

Error disconnected() { return {ErrorCode::Disconnected, "the compositor is gone"}; }

std::chrono::milliseconds inMilliseconds(Duration time) {
    return std::chrono::ceil<std::chrono::milliseconds>(std::max(time, Duration::zero()));
}

/// Whether the folder in which a compositor would be found went with the login.
bool isLoginOver() {
    const char* const folder = std::getenv("XDG_RUNTIME_DIR");
    std::error_code error;
    return folder && !std::filesystem::exists(folder, error);
}

}  // namespace

WlrDisplays::WlrDisplays(std::unique_ptr<GammaClient> client, Scheduler& scheduler)
    : scheduler_(scheduler), client_(std::move(client)), greetedAt_(scheduler.steadyNow()) {}

WlrDisplays::~WlrDisplays() = default;

void WlrDisplays::listen(DescriptorWatch& watch) {
    watch_ = &watch;
    if (!client_) return;
    readable_ = watch.whenReadable(client_->connection().descriptor(), [this] { serve(); });
    // What came before may have been taken in without being there to be read again.
    serve();
}

void WlrDisplays::serve() {
    if (client_ && client_->connection().serve()) {
        react();
    } else if (client_) {
        lose();
    }
    tell();
}

// The launch's own: there is no loop yet that would bring the answers.
void WlrDisplays::waitUntilSettled() {
    const SteadyTime deadline = scheduler_.steadyNow() + kPatience;
    while (!watch_ && client_ && client_->isWaiting()) {
        const Duration left = deadline - scheduler_.steadyNow();
        if (left <= Duration::zero()) return;
        if (client_->connection().wait(inMilliseconds(left))) {
            react();
        } else if (client_->connection().isBroken()) {
            lose();
        }
    }
}

void WlrDisplays::react() {
    client_->notice();
    Connection& connection = client_->connection();
    if (!greetedAt_ && client_->isGreeted()) greetedAt_ = scheduler_.steadyNow();
    if (client_->isGreeted() && !client_->isWaiting()) absent_.clear();
    if (client_->takeOutputChange()) adoptOutputs();
    if (wish_) client_->take();
    if (fadeQuestion_ && connection.hasAnswered(*fadeQuestion_)) {
        fadeQuestion_.reset();
        startFade();
    }
    bringWish();
    send();
}

void WlrDisplays::adoptOutputs() {
    std::vector<OutputIdentity> identities;
    for (const auto& output : client_->outputs())
        if (output->isDescribed()) identities.push_back(output->identity());
    ids_ = identities_.assign(identities);
    needsLoad_ = true;
    tryRefusedAgain(kRetryPause);
}

void WlrDisplays::tryRefusedAgain(Duration pause) {
    const auto isRefused = [](const auto& output) { return output->isRefused(); };
    if (!wish_ || !client_ || retry_.isPending() || std::ranges::none_of(client_->outputs(), isRefused)) return;
    const SteadyTime now = scheduler_.steadyNow();
    if (lastTry_ && *lastTry_ + pause > now) {
        retry_ = scheduler_.after(*lastTry_ + pause - now, [this] {
            tryRefusedAgain(Duration::zero());
            send();
        });
        return;
    }
    lastTry_ = now;
    client_->takeRefused();
}

Result<std::vector<DisplayDescription>> WlrDisplays::list() {
    if (isGone_) return disconnected();
    waitUntilSettled();
    return rows();
}

std::vector<DisplayDescription> WlrDisplays::rows() const {
    if (!absent_.empty() || !client_) return absent_;
    std::vector<DisplayDescription> rows;
    auto id = ids_.begin();
    for (const auto& output : client_->outputs()) {
        if (!output->isDescribed() || id == ids_.end()) continue;
        rows.push_back({*id++, output->connector(), output->tableSize(), output->state(), output->problem()});
        if (client_->handsOutTables() || !client_->isGreeted()) continue;
        rows.back().state = DisplayState::refused;
        rows.back().problem = {textKey("this Wayland session offers no way to tint the screen")};
    }
    return rows;
}

std::vector<Result<GammaTable>> WlrDisplays::held(std::span<const DisplayId> displays) {
    const auto heldBy = [this](DisplayId id) -> Result<GammaTable> {
        auto next = ids_.begin();
        if (client_)
            for (const auto& output : client_->outputs()) {
                if (!output->isDescribed() || next == ids_.end() || *next++ != id) continue;
                if (output->loaded()) return toTable(*output->loaded());
                const bool hasNone = output->state() == DisplayState::noTable;
                return Error{ErrorCode::Unsupported,
                             inEnglish(hasNone ? output->problem() : Sentence{textKey("it cannot be read")})};
            }
        return Error{ErrorCode::NotFound, textKey("this display is not on")};
    };
    waitUntilSettled();
    std::vector<Result<GammaTable>> tables;
    for (const DisplayId id : displays)
        tables.push_back(isGone_ || !client_ ? Result<GammaTable>(disconnected()) : heldBy(id));
    return tables;
}

void WlrDisplays::show(const std::optional<GammaTable>& wish, Fade fade) {
    if (isGivenBack_ || isGone_ || (wish && !isLoadable(*wish))) return;
    const bool isFirst = !std::exchange(wish_, wish).has_value();
    cutFade();
    if (client_ && wish_) {
        tryRefusedAgain(isFirst ? Duration::zero() : kRetryPause);
        client_->take();
        const auto isAwaited = [](const auto& output) { return output->isAwaited(); };
        if (fade == Fade::animated && std::ranges::any_of(client_->outputs(), isAwaited))
            fadeQuestion_ = client_->question();
    }
    if (client_ && !fadeQuestion_) {
        if (fade == Fade::animated) {
            startFade();
        } else {
            bringWish();
        }
    }
    send();
    waitUntilSettled();
    tell();
}

void WlrDisplays::cutFade() {
    fade_.reset();
    fadeQuestion_.reset();
    frameTimer_.cancel();
}

// What a display holds that has only just been handed out nobody knows: most likely what it would have without us.
void WlrDisplays::startFade() {
    std::vector<TableFade::Way> ways;
    for (const auto& output : client_->outputs()) {
        if (!output->isOurs()) continue;
        const auto neutral = toLevels(GammaTable::identity(), output->tableSize());
        auto from = output->loaded().value_or(neutral);
        if (from.size() != output->tableSize()) continue;
        ways.push_back({crtcOf(*output), std::move(from), wish_ ? toLevels(*wish_, output->tableSize()) : neutral});
    }
    if (std::ranges::all_of(ways, [](const TableFade::Way& way) { return way.from == way.to; })) return bringWish();
    fade_.emplace(std::move(ways), scheduler_.steadyNow());
    showDueFrame();
}

void WlrDisplays::showDueFrame() {
    const SteadyTime now = scheduler_.steadyNow();
    fade_->advance(now);
    bringWish();
    if (fade_->isOver(now)) return endFade();
    frameTimer_ = scheduler_.after(fade_->nextFrame() - now, [this] {
        showDueFrame();
        send();
        tell();
    });
}

void WlrDisplays::endFade() {
    cutFade();
    bringWish();
}

// Without a wish and a fade this lets go of the tables. A display that came in the middle of a fade gets at once what
// the others are on their way to.
void WlrDisplays::bringWish() {
    if (!client_ || fadeQuestion_) return;
    if (!wish_ && !fade_) return releaseAll();
    if (!client_->connection().hasAnswered(loadQuestion_)) return;
    std::vector<GammaOutput*> sent;
    RampLevels levels;
    for (const auto& output : client_->outputs()) {
        if (!output->isOurs()) continue;
        const std::vector<CrtcLevels> none;
        const auto& frame = fade_ ? fade_->frame() : none;
        const auto step = std::ranges::find(frame, crtcOf(*output), &CrtcLevels::crtc);
        if (step != frame.end()) {
            if (output->load(step->levels)) sent.push_back(output.get());
        } else if (wish_) {
            if (levels.size() != output->tableSize()) levels = toLevels(*wish_, output->tableSize());
            if (output->load(levels)) sent.push_back(output.get());
        }
    }
    if (sent.empty()) return;
    loadQuestion_ = client_->connection().ask();
    for (GammaOutput* const output : sent) output->awaitConfirmation(loadQuestion_);
}

void WlrDisplays::releaseAll() {
    retry_.cancel();
    client_->releaseAll();
}

void WlrDisplays::send() {
    if (!client_ || client_->connection().flush()) return;
    flushing_ = scheduler_.after(kFlushPause, [this] { send(); });
}

void WlrDisplays::loadAgain() {
    if (isGivenBack_ || !wish_ || !client_) return;
    if (std::exchange(mayTryAgain_, false)) tryRefusedAgain(kRetryPause);
    bringWish();
    send();
    tell();
}

void WlrDisplays::forgetContents() {
    mayTryAgain_ = true;
    if (client_)
        for (const auto& output : client_->outputs()) output->doubt();
}

Result<void> WlrDisplays::giveBack(GivingBack how) {
    if (isGivenBack_) return {};
    isGivenBack_ = how == GivingBack::forGood;
    wish_.reset();
    cutFade();
    if (isGone_) return disconnected();
    // A compositor that is gone has taken its tables along.
    bool isConfirmed = !client_;
    if (client_) {
        releaseAll();
        const auto question = client_->connection().ask();
        const SteadyTime deadline = scheduler_.steadyNow() + kPatience;
        while (client_ && !(isConfirmed = client_->connection().hasAnswered(question))) {
            const Duration left = deadline - scheduler_.steadyNow();
            if (left <= Duration::zero()) break;
            if (!client_->connection().wait(inMilliseconds(left)) && client_->connection().isBroken()) lose();
        }
        isConfirmed = isConfirmed || !client_;
        if (client_) react();
    }
    tell();
    if (isConfirmed) return {};
    return Error{ErrorCode::Busy, "the compositor does not answer"};
}

void WlrDisplays::finishFade() {
    if (!isFading()) return;
    const bool awaitsTables = fadeQuestion_.has_value();
    cutFade();
    if (!awaitsTables || client_) bringWish();
    send();
    tell();
}

// In one place, behind everything: a callback may do anything here.
void WlrDisplays::tell() {
    const bool isFadeOver = std::exchange(wasFading_, isFading()) && !isFading();
    const bool isListNew = std::exchange(told_, rows()) != told_;
    const bool isLoadNeeded = std::exchange(needsLoad_, false);
    if (isListNew) listChanges_.deliver();
    if (isLoadNeeded) loadsNeeded_.deliver();
    if (isFadeOver) fadeEnds_.deliver();
}

// The compositor takes back what was ours when it goes, and when it throws us out.
void WlrDisplays::lose() {
    const SteadyTime now = scheduler_.steadyNow();
    if (const auto fault = client_->connection().fault())
        for (const auto& output : client_->outputs())
            if (output->isControl(fault->object)) shunned_.insert(output->connector());
    absent_ = rows();
    for (auto& row : absent_) {
        row.state = DisplayState::refused;
        row.problem = {kIsGone};
    }
    cutFade();
    retry_.cancel();
    flushing_.cancel();
    readable_.reset();
    client_.reset();
    ids_.clear();
    loadQuestion_ = 0;
    if (greetedAt_) {
        goneSince_ = now;
        if (now - *greetedAt_ >= kGoodLife) attempts_ = 0;
        greetedAt_.reset();
    }
    awaitReturn();
}

void WlrDisplays::awaitReturn() {
    const Duration pause = kFirstReconnect * (1 << std::min(attempts_++, kDoublings));
    reconnection_ = scheduler_.after(pause, [this] { reconnect(); });
}

void WlrDisplays::reconnect() {
    auto connection = Connection::create();
    if (!connection) {
        if (isLoginOver() || scheduler_.steadyNow() - goneSince_ >= kLongestAbsence) return giveUp();
        return awaitReturn();
    }
    const auto greeting = (*connection)->ask();
    client_ = std::make_unique<GammaClient>(std::move(*connection), std::vector<Connection::Global>(), greeting);
    client_->shunned = std::exchange(shunned_, {});
    if (watch_) listen(*watch_);
}

void WlrDisplays::giveUp() {
    isGone_ = true;
    absent_.clear();
    losses_.deliver();
}

}  // namespace dravo::wayland
