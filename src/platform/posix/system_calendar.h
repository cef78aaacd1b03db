#pragma once

#include <filesystem>
#include <optional>

#include "base/calendar.h"
#include "base/descriptor_watch.h"
#include "base/observable.h"
#include "platform/posix/file_watch.h"

namespace dravo::posix {

/// The calendar of the C library: the zone that `TZ` names, else the one /etc/localtime leads to.
///
/// A change of either file takes effect at the next split, and subscribers hear of it; the folder is watched from the
/// first subscription on. `TZ` itself is the caller's and is read anew at every split.
class SystemCalendar : public Calendar {
public:
    /// Without a watch it answers all the same, and never tells of a change. Lifetime: `descriptors` outlives this.
    explicit SystemCalendar(DescriptorWatch* descriptors = nullptr);

    [[nodiscard]] LocalFields fields(WallTime instant) const override;
    [[nodiscard]] WallTime instant(const LocalFields& fields) const override;
    [[nodiscard]] Subscription onZoneChange(std::function<void()> callback) override;

private:
    DescriptorWatch* descriptors_;
    std::optional<FileWatch> watch_;
    SubscriberList<> zoneChanges_;
};

/// The file that decides the zone now: the one `TZ` names (relative names lie in the zone database), else
/// /etc/localtime. Empty when `TZ` describes its rules itself ("CET-1CEST").
[[nodiscard]] std::filesystem::path zoneFile();

}  // namespace dravo::posix
