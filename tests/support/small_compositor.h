#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "display/ramp_levels.h"
#include "support/wayland_server.h"

namespace dravo::testing {

/// A Wayland compositor that has outputs and hands out their transfer tables, and nothing else. What a test asks of it
/// is done when the call returns. What clients did shows in its books.
class SmallCompositor final : public WaylandServer {
public:
    /// In what the compositors of the family differ.
    struct Kind {
        /// A second client for a table: the first one is told that it failed and the second nothing, or the second one
        /// is refused.
        bool duplicateTakesOver = false;
        /// A file is read from where it stands, not from its beginning.
        bool readsFromOffset = false;
        /// A file of the wrong length: throws the client out if it is too short, or in any case, or answers "failed".
        enum class WrongLength { shortIsFatal, isFatal, fails } wrongLength = WrongLength::shortIsFatal;
        /// An output that goes says "failed" to the holder of its table.
        bool tellsHolderOfEnd = false;
        /// A global that goes is forgotten at once: who binds it too late is thrown out.
        bool forgetsAtOnce = false;
        bool handsOutTables = true;
    };
    static Kind sway() { return {}; }
    static Kind oldSway() { return {.duplicateTakesOver = true, .readsFromOffset = true}; }
    static Kind hyprland() {
        return {.readsFromOffset = true, .wrongLength = Kind::WrongLength::isFatal, .tellsHolderOfEnd = true};
    }
    static Kind niri() { return {.readsFromOffset = true, .wrongLength = Kind::WrongLength::fails}; }

    explicit SmallCompositor(Kind kind = sway());
    ~SmallCompositor() override;

    /// An output with a table of `size` entries, or none; of one make, `model` for a model.
    void plug(const std::string& name, std::size_t size = 256, const std::string& model = "Model");
    void unplug(const std::string& name);

    /// What the output shows: a client's table, or none when it shows its own.
    [[nodiscard]] std::optional<RampLevels> table(const std::string& name);
    /// What it has shown so far, in order.
    [[nodiscard]] std::vector<std::optional<RampLevels>> shown(const std::string& name);
    /// The process that holds its table; 0: nobody.
    [[nodiscard]] pid_t holder(const std::string& name);
    /// What clients did since it began.
    struct Books {
        int requests = 0;             ///< For a table.
        int loads = 0;                ///< Of one.
        bool wereFilesSealed = true;  ///< Each against every change.
        std::chrono::steady_clock::time_point lastLoad{};
    };
    [[nodiscard]] Books books();

    /// Refuses what is loaded from now on, or throws its sender out.
    enum class Loads { taken, refused, fatal };
    void answerLoads(Loads how);
    /// Tells this many clients nothing about the tables that they ask for.
    void passOver(int requests);
    struct Inside;

private:
    void open(wl_display* display) override;
    /// Outputs and all.
    void closed() override;
    template <typename Action>
    auto inside(Action action);

    std::unique_ptr<Inside> inside_;
};

}  // namespace dravo::testing
