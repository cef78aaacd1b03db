#pragma once

#include <xcb/xcb.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace dravo::testing {

/// One display's hardware table, as the server keeps it.
struct Ramp {
    std::vector<std::uint16_t> red;
    std::vector<std::uint16_t> green;
    std::vector<std::uint16_t> blue;

    bool operator==(const Ramp&) const = default;
    /// What a display shows for white and for black, and how it is named in a failed expectation.
    friend std::ostream& operator<<(std::ostream& out, const Ramp& ramp);
};

/// A calibration that nobody takes for neutral or for another `seed`'s: smooth, rising, different in each channel.
Ramp calibrationRamp(unsigned seed, std::size_t size = 256);

/// The displays of a real X server, seen and changed by a client of its own, so that expectations do not rest on the
/// code under test. Outputs are named ("DUMMY1"); each has one CRTC, whose table can be reached also while it is off.
///
/// Throws std::runtime_error when the server refuses or is gone.
class XGamma {
public:
    explicit XGamma(const std::string& address);
    ~XGamma();
    XGamma(const XGamma&) = delete;
    XGamma& operator=(const XGamma&) = delete;

    /// Turns exactly the first `count` outputs on, in a row.
    void arrange(std::size_t count);
    /// Plugs a display in, or turns it on, with its left edge at `x`.
    void enable(const std::string& output, int x);
    void disable(const std::string& output);
    [[nodiscard]] std::vector<std::string> enabledOutputs();

    [[nodiscard]] Ramp ramp(const std::string& output);
    void setRamp(const std::string& output, const Ramp& ramp);
    /// The tables of all outputs that are on, read in one round trip.
    [[nodiscard]] std::map<std::string, Ramp> ramps();
    /// The tables of these outputs, on or off, in one round trip.
    [[nodiscard]] std::map<std::string, Ramp> ramps(const std::vector<std::string>& outputs);

    /// Gives the output a monitor's EDID; an empty one takes it away.
    void setEdid(const std::string& output, std::span<const std::uint8_t> edid);
    /// The output's colour matrix ("CTM"), as 32-bit words; a driver without one has none. Setting one gives it one.
    [[nodiscard]] std::vector<std::uint32_t> matrix(const std::string& output);
    void setMatrix(const std::string& output, std::span<const std::uint32_t> words);
    /// Sets a property of the root window, e.g. "_ICC_PROFILE"; an empty one is removed.
    void setRootProperty(const std::string& name, std::span<const std::uint8_t> value);

private:
    struct Output;

    void refresh();
    const Output& find(const std::string& name);
    [[nodiscard]] xcb_atom_t atom(const std::string& name);

    xcb_connection_t* connection_;
    xcb_window_t root_ = 0;
    std::uint32_t mode_ = 0;
    std::vector<Output> outputs_;
};

}  // namespace dravo::testing
