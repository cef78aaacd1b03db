#pragma once

#include <map>
#include <vector>

#include "display/display_identity.h"
#include "display/gamma_table.h"
#include "display/table_device.h"

namespace dravo {

/// What an earlier run that was cut off may have left on CRTCs that no display is on now, and what belongs there.
///
/// A display that is off keeps its place in the ramps of an idle CRTC: what is left there would come back with the next
/// plug, perhaps when no Dravo runs any more. `saved` are that run's tables. A CRTC gets one where only one display of
/// that run can have been on it, and where it holds something else.
[[nodiscard]] std::vector<CrtcLevels> remainsOnIdleCrtcs(const DeviceTopology& topology,
                                                         const DisplayIdentities& identities,
                                                         const std::map<DisplayId, GammaTable>& saved);

}  // namespace dravo
