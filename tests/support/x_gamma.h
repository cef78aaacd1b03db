#pragma once

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <map>
#include <span>
#include <string>
#include <vector>

#include "display/ramp_levels.h"
#include "support/x_client.h"

namespace dravo {

/// What a display shows for black and for white, for a failed expectation.
std::ostream& operator<<(std::ostream& out, const RampLevels& levels);

namespace testing {

/// A calibration that nobody takes for neutral or for another `seed`'s: smooth, rising, different in each channel.
RampLevels calibrationRamp(unsigned seed);

/// The tables of outputs, by their names ("DUMMY1").
using Ramps = std::map<std::string, RampLevels>;

/// The displays of a real X server. Each output has one CRTC, whose table can be reached also while it is off.
///
/// Throws std::runtime_error when the server refuses or is gone.
class XGamma : public XClient {
public:
    explicit XGamma(const std::string& address);

    /// Turns exactly the first `count` outputs on, in a row, with room for four.
    void arrange(std::size_t count);
    /// Plugs a display in, or turns it on, with its left edge at `x`.
    void enable(const std::string& output, int x) { configure(outputs_.at(output), x, true); }
    void disable(const std::string& output) { configure(outputs_.at(output), 0, false); }
    [[nodiscard]] std::vector<std::string> enabledOutputs() const;

    [[nodiscard]] RampLevels ramp(const std::string& output) const { return ramps({output}).at(output); }
    void setRamp(const std::string& output, const RampLevels& ramp);
    /// The tables of all outputs that are on.
    [[nodiscard]] Ramps ramps() const { return ramps(enabledOutputs()); }
    /// The tables of these outputs, on or off, in one round trip.
    [[nodiscard]] Ramps ramps(const std::vector<std::string>& outputs) const;

    /// Gives the output a monitor's EDID; an empty one takes it away.
    void setEdid(const std::string& output, std::span<const std::uint8_t> edid);
    /// The output's colour matrix ("CTM"), as 32-bit words; a driver without one has none. Setting one gives it one.
    [[nodiscard]] std::vector<std::uint32_t> matrix(const std::string& output) const;
    void setMatrix(const std::string& output, std::span<const std::uint32_t> words);
    /// Sets a property of the root window, e.g. "_ICC_PROFILE".
    void setRootProperty(const std::string& name, std::span<const std::uint8_t> value);

private:
    struct Output {
        std::uint32_t id = 0;
        std::uint32_t crtc = 0;
        bool isOn = false;
    };

    void configure(Output& output, int x, bool isOn);

    std::uint32_t mode_ = 0;
    std::map<std::string, Output> outputs_;
};

}  // namespace testing
}  // namespace dravo
