#include "display/table_fade.h"

#include <algorithm>
#include <utility>

namespace dravo {
namespace {

using namespace std::chrono_literals;

constexpr int kRampSteps = 10;
constexpr Duration kFrameTime = 30ms;

}  // namespace

TableFade::TableFade(std::vector<Way> ways, SteadyTime start) : ways_(std::move(ways)), start_(start) {}

bool TableFade::advance(SteadyTime now) {
    const auto due = static_cast<int>(std::min<Duration::rep>((now - start_) / kFrameTime + 1, kRampSteps));
    if (due <= framesShown_) return false;
    framesShown_ = due;
    const float weight = static_cast<float>(due) / static_cast<float>(kRampSteps);
    frame_.clear();
    for (const auto& [crtc, from, to] : ways_) {
        const bool isLast = due == kRampSteps;
        frame_.push_back({crtc, isLast ? to : toLevels(interpolate(toTable(from), toTable(to), weight), to.size())});
    }
    return true;
}

bool TableFade::isAtEnd() const { return framesShown_ == kRampSteps; }

bool TableFade::isOver(SteadyTime now) const { return now >= start_ + kRampSteps * kFrameTime; }

SteadyTime TableFade::nextFrame() const { return start_ + framesShown_ * kFrameTime; }

}  // namespace dravo
