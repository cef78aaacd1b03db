#pragma once

#include <functional>
#include <string>
#include <vector>

#include "app/control_service.h"

namespace dravo {

/// The running program, seen from another process: one call, one answer. Every call waits, for two seconds at most.
///
/// Errors of every call: `NotFound` (no program is running, or there is no session bus to find it on), `Busy` (it runs
/// and does not answer), else the running program's own error with its sentence.
///
/// Thread: one thread, without a loop.
class ControlClient {
public:
    virtual ~ControlClient() = default;

    virtual Result<ControlState> state() = 0;

    /// Calls `onState` with the state now and after each change, until it returns false or the program ends: that is
    /// no error. Countdowns alone are no change.
    virtual Result<void> follow(const std::function<bool(const ControlState&)>& onState) = 0;

    virtual Result<void> toggle() = 0;
    virtual Result<void> switchOn() = 0;
    virtual Result<void> switchOff() = 0;
    virtual Result<void> pause(const PauseLength& length) = 0;
    virtual Result<void> resume() = 0;
    virtual Result<void> selectPreset(const std::string& id) = 0;
    virtual Result<void> setAdjustments(const AdjustmentChange& change) = 0;
    virtual Result<void> setSchedule(const ScheduleChange& change) = 0;
    virtual Result<void> setLocation(const LocationChange& change) = 0;
    virtual Result<void> setBreaks(const BreaksChange& change) = 0;
    virtual Result<void> dismissBreak() = 0;
    virtual Result<std::vector<std::string>> importPresets(const std::string& text) = 0;
    virtual Result<std::string> exportPresets(const std::vector<std::string>& ids) = 0;
    virtual Result<void> activate() = 0;
    virtual Result<void> restore() = 0;
    virtual Result<void> quit() = 0;
};

}  // namespace dravo
