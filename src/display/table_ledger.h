#pragma once

#include <map>
#include <optional>
#include <vector>

#include "display/displays.h"
#include "display/table_device.h"

namespace dravo {

/// Keeps the books on whose table is whose: which table belongs to a display, and which CRTCs carry ours.
///
/// It reads and writes nothing itself: `RememberedDisplays` drives it.
///
/// A CRTC is dirty from our first write of a table that is not its display's own until its restore is confirmed.
///
/// Thread: one thread.
class TableLedger {
public:
    /// Tables known from an earlier run that did not end cleanly. They hold from now on, also for displays seen before.
    void declareOwnTables(const std::map<DisplayId, GammaTable>& tables);

    /// What displays hold, or held when they appeared, is nobody's own: their own table is their calibration.
    void distrustFoundTables();

    /// The `vcgt` of the display's ICC profile, none if it has no profile with one. Tell it before `appeared`.
    void setProfile(DisplayId display, std::optional<GammaTable> vcgt);

    /// What belongs to `display` from now on, whatever was found or declared before.
    void setOwn(DisplayId display, const GammaTable& table);

    /// Whether `display` is booked as being on `crtc`. If not, read the CRTC and call `appeared`.
    [[nodiscard]] bool isShowing(CrtcId crtc, DisplayId display) const;

    /// `display` is on `crtc` now, which holds `held`.
    void appeared(DisplayId display, CrtcId crtc, const RampLevels& held);

    /// No display is on `crtc` any more; its table stays in it and comes back with the next display.
    void left(CrtcId crtc);

    /// `crtc` does not exist any more.
    void removed(CrtcId crtc);

    /// Whether the display's own table is merely what was found when it appeared, and nothing has been written since:
    /// then what it holds right before the first write counts.
    [[nodiscard]] bool needsFirstLook(DisplayId display) const;
    void firstLook(DisplayId display, const RampLevels& held);

    /// `levels` were sent to `crtc`; also when nobody knows yet whether they arrived.
    void wrote(CrtcId crtc, const RampLevels& levels);

    /// Whether `levels` are what we last knew `crtc` to hold, so that a load may read back instead of writing.
    [[nodiscard]] bool holds(CrtcId crtc, const RampLevels& levels) const;

    /// What we last sent to `crtc`, if it carries ours.
    [[nodiscard]] std::optional<RampLevels> carried(CrtcId crtc) const;

    /// The hardware may differ from the server's copy: `holds` is false for every CRTC until its next write.
    void forgetContents();

    /// The calibrations of displays that appeared carrying a table of ours, of this run or, where own tables were
    /// declared or found ones are distrusted, of an earlier one: to be written at once while nothing is filtered.
    [[nodiscard]] std::vector<CrtcLevels> owedCalibrations() const;

    /// The server has confirmed that `crtc` holds `levels`, its calibration: nothing is owed to it any more, unless
    /// something else has been sent meanwhile.
    void restored(CrtcId crtc, const RampLevels& levels);

    /// What restoring has to write now: the calibration of every CRTC that carries ours; of one that has no display
    /// now, by the display that was last on it. Displays that others may be tinting while the filter is off are not in
    /// it.
    [[nodiscard]] std::vector<CrtcLevels> calibrations() const;

    /// The display's own table: declared; else of the CRTC on which it appeared if that held our table; else found.
    /// None for a display that never appeared and was not declared.
    [[nodiscard]] std::optional<GammaTable> own(DisplayId display) const;

    /// The table to restore: the profile's, else the display's own, else neutral.
    [[nodiscard]] GammaTable calibration(DisplayId display) const;

private:
    struct Book {
        std::optional<GammaTable> declared;
        std::optional<GammaTable> found;
        std::optional<GammaTable> profile;
        bool foundIsFinal = false;  ///< Written to since, or taken over from a CRTC's previous display.
        bool writtenTo = false;     ///< Since the declaration, if there is one.
    };
    struct Crtc {
        std::size_t size = 0;
        std::optional<DisplayId> showing;
        DisplayId last{};  ///< The display that is or was last on it.
        std::optional<RampLevels> written;
        bool writtenIsCurrent = false;  ///< Neither the hardware nor the display has changed since.
        bool dirty = false;
        bool owed = false;              ///< Its display appeared on it carrying a table of ours.
        bool restoredWhileOff = false;  ///< Some drivers drop what an idle CRTC is given, so it is given once more.
    };

    [[nodiscard]] bool mayHoldRemains(const Book& book) const;
    [[nodiscard]] CrtcLevels calibrationFor(CrtcId id, const Crtc& crtc) const;

    std::map<DisplayId, Book> books_;
    std::map<CrtcId, Crtc> crtcs_;
    bool foundIsTrusted_ = true;
};

}  // namespace dravo
