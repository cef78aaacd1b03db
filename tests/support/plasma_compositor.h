#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "display/ramp_levels.h"
#include "support/wayland_server.h"

namespace dravo::testing {

/// What a display follows: a source of 0 is sRGB, 1 the profile at the path, 2 the EDID.
struct PlasmaSetting {
    std::string path = {};
    std::uint32_t source = 0;
    bool operator==(const PlasmaSetting&) const = default;
};

/// A compositor that has outputs, draws each by a colour profile, and lets clients say which: nothing else of a Plasma
/// session. What it is told it keeps beyond its own end, as Plasma does.
class PlasmaCompositor final : public WaylandServer {
public:
    /// In what its versions differ.
    struct Kind {
        int management = 12;
        int device = 11;
        bool hasRegistry = false;  ///< Outputs are handed out, and no globals.
    };
    static Kind plasma527() { return {.management = 3, .device = 2}; }
    static Kind plasma60() { return {.management = 7, .device = 6}; }
    static Kind plasma63() { return {}; }
    static Kind plasma67() { return {.device = 21, .hasRegistry = true}; }

    explicit PlasmaCompositor(Kind kind = plasma63());
    ~PlasmaCompositor() override;

    void plug(const std::string& name, const PlasmaSetting& setting = {});
    /// Its setting is kept for the next `plug`.
    void unplug(const std::string& name);
    /// As a person does in the settings.
    void choose(const std::string& name, const PlasmaSetting& setting);
    void switchHdr(const std::string& name, bool isOn);

    [[nodiscard]] PlasmaSetting setting(const std::string& name);
    /// The table that it draws with; none when it has none.
    [[nodiscard]] std::optional<RampLevels> table(const std::string& name);
    /// All that it has drawn with, in order.
    [[nodiscard]] std::vector<std::optional<RampLevels>> shown(const std::string& name);
    /// The profile that it has read last.
    [[nodiscard]] std::string profile(const std::string& name);

    struct Books {
        int changes = 0;
        int atOnce = 0;  ///< The most that one client has let wait.
    };
    [[nodiscard]] Books books();

    /// Refuses changes of this output from now on, for this reason; an empty name: of none.
    void refuse(const std::string& name, const std::string& reason);

    struct Inside;

private:
    void open(wl_display* display) override;
    void closed() override;

    std::unique_ptr<Inside> inside_;
};

}  // namespace dravo::testing
