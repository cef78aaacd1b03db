#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <vector>

#include "display/display_server.h"
#include "display/ramp_levels.h"

namespace dravo {

/// A server's number for one piece of hardware with one transfer table.
enum class CrtcId : std::uint32_t {};

/// What a CRTC is to be loaded with.
struct CrtcLevels {
    CrtcId crtc{};
    RampLevels levels;
};

/// Keeps the books on whose table is whose: which table belongs to a display, and which CRTCs carry ours.
///
/// Every adapter of a server whose tables outlive their writer drives one. It reads and writes nothing itself:
///
///     on start and on every change of outputs, once ids are known:
///         left(c) for each CRTC without a display; for each (display, CRTC) with !isShowing: appeared(display, CRTC,
///         read) forgetContents(), deliver the change, and after that write owedCalibrations(), reporting each by
///         `wrote` and, once confirmed, `restored`: an engine that filters has loaded its table by then, and nothing is
///         owed
///     before a load:  if needsFirstLook(display): firstLook(display, read)
///                     loading(CRTC, levels); if holds(CRTC, levels): read back and write on difference, else write
///     after a write:  wrote(CRTC, levels)
///     restoring:      beginRestore(), write all of it, and once the server has confirmed: restored(CRTC) for each
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

    /// `levels` are wanted on `crtc`. If they are not the display's own table, the filter is on until `beginRestore`.
    void loading(CrtcId crtc, const RampLevels& levels);

    /// `levels` were sent to `crtc`; also when nobody knows yet whether they arrived.
    void wrote(CrtcId crtc, const RampLevels& levels);

    /// Whether `levels` are what we last knew `crtc` to hold, so that a load may read back instead of writing.
    [[nodiscard]] bool holds(CrtcId crtc, const RampLevels& levels) const;

    /// The hardware may differ from the server's copy: `holds` is false for every CRTC until its next write.
    void forgetContents();

    /// While the filter is off: the calibrations of displays that appeared carrying a table of ours, of this run or,
    /// where own tables were declared or found ones are distrusted, of an earlier one. To be written at once.
    [[nodiscard]] std::vector<CrtcLevels> owedCalibrations() const;

    /// The filter is off from now on. The calibration of every CRTC that carries a table of ours; of one that has no
    /// display now, by the display that was last on it.
    [[nodiscard]] std::vector<CrtcLevels> beginRestore();

    /// The server has confirmed that `crtc` holds its calibration.
    void restored(CrtcId crtc);

    /// What restoring would write now to each CRTC that carries ours: what a guard needs that ends the program in the
    /// middle of anything. Displays that others may be tinting while the filter is off are not in it.
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
    [[nodiscard]] CrtcLevels calibrationOn(CrtcId id, const Crtc& crtc) const;

    std::map<DisplayId, Book> books_;
    std::map<CrtcId, Crtc> crtcs_;
    bool foundIsTrusted_ = true;
    bool filtering_ = false;
};

}  // namespace dravo
