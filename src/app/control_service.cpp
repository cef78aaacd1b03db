#include "app/control_service.h"

#include <string_view>

#include "base/localized.h"
#include "base/shortest_text.h"
#include "filter/adjustment_ranges.h"

namespace dravo {

namespace {

using namespace std::chrono_literals;

constexpr auto kLongestPause = std::chrono::seconds{366 * 24h};
constexpr AdjustmentRange kMinutesOfDay{0, 24 * 60 - 1};
constexpr AdjustmentRange kBreakInterval{1, 24 * 60};

template <typename Number>
Result<void> within(std::string_view name, const std::optional<Number>& value, const AdjustmentRange& range) {
    if (!value || range.contains(static_cast<double>(*value))) return {};
    return Error{ErrorCode::InvalidInput, filled(localized("%1$@ lies from %2$@ to %3$@"),
                                                 {name, shortestText(range.lowest), shortestText(range.highest)})};
}

/// The first refusal, if there is one.
Result<void> allOf(std::initializer_list<Result<void>> results) {
    for (const auto& result : results)
        if (!result) return result;
    return {};
}

}  // namespace

Result<void> validate(const PauseLength& length) {
    const auto* span = std::get_if<std::chrono::seconds>(&length);
    if (!span || (*span >= 1s && *span <= kLongestPause)) return {};
    return Error{ErrorCode::InvalidInput, localized("a pause lasts from one second to 366 days")};
}

Result<void> validate(const AdjustmentChange& change) {
    return allOf({within("intensity", change.intensity, kIntensityRange),
                  within("dimming", change.dimming, kDimmingRange),
                  within("blackPoint", change.blackPoint, kBlackPointRange),
                  within("contrast", change.contrast, kContrastRange)});
}

Result<void> validate(const ScheduleChange& change) {
    return allOf({within("startMinutes", change.startMinutes, kMinutesOfDay),
                  within("endMinutes", change.endMinutes, kMinutesOfDay)});
}

Result<void> validate(const BreaksChange& change) {
    return within("intervalMinutes", change.intervalMinutes, kBreakInterval);
}

Result<void> validate(const LocationChange& change) {
    if (change.position.has_value() != (change.source == LocationSource::typed))
        return Error{ErrorCode::InvalidInput, "a position is given with the source typed, and only with it"};
    return change.position ? requireOnEarth(*change.position) : Result<void>();
}

}  // namespace dravo
