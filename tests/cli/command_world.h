#pragma once

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cli/command_context.h"
#include "cli/command_line.h"
#include "cli/fake_control_client.h"
#include "cli/running_instance.h"
#include "display/original_gamma_store.h"
#include "filter/custom_preset_store.h"
#include "support/fixed_offset_calendar.h"
#include "support/memory/memory_display_server.h"
#include "support/temporary_folder.h"

namespace dravo::testing {

/// What a command left behind.
struct Outcome {
    cli::ExitCode code{};
    std::string out;
    std::string err;
};

/// Runs commands in this process, in a world of memory. What a test does not set up is not there.
class CommandWorld {
public:
    memory::VirtualDesk desk;
    bool hasDisplayServer = true;
    std::vector<FilterPreset> ownPresets;
    Result<bool> runningInstanceSays = false;
    FakeControlClient control;
    TemporaryFolder folder;
    FixedOffsetCalendar calendar{std::chrono::hours(1)};
    WallTime now{};

    /// A file with this text. Its path.
    [[nodiscard]] std::string save(const char* name, const std::string& text) const {
        std::ofstream(folder / name) << text;
        return folder / name;
    }
    [[nodiscard]] DataFolder dataFolder() const { return {folder / "data", {}}; }

    Outcome run(std::vector<std::string> words) {
        std::vector<char*> argv;
        words.insert(words.begin(), "dravo");
        for (std::string& word : words) argv.push_back(word.data());
        argv.push_back(nullptr);
        Capture out;
        Capture err;
        cli::CommandContext context{
            .out = out.output,
            .err = err.output,
            .displays = [this] { return displays(); },
            .userPresets = [this] { return ownPresets; },
            .presetStore = [this]() -> CustomPresetStore& { return store_.emplace(dataFolder().home); },
            .timeZone = [this](std::optional<std::string_view>) -> Result<cli::TimeZone> {
                return cli::TimeZone{calendar, []() -> Result<Position> { return Position{51.5, -0.13}; }};
            },
            .now = [this] { return now; },
            .control = [this]() -> ControlClient& { return control; },
            .runningInstance = [this]() -> cli::RunningInstance& { return instance_; },
            .savedTables = [this](DisplayServer& server) -> Result<OriginalGammaStore*> {
                return &saved_.emplace(server, dataFolder());
            },
            .pictures = []() -> Result<cli::PictureService*> {
                return Error{ErrorCode::NotFound, "pictures cannot be made"};
            },
        };
        const cli::ExitCode code = cli::runCommandLine(static_cast<int>(words.size()), argv.data(), context);
        return {code, out.text(), err.text()};
    }

private:
    struct Capture {
        ~Capture() {
            std::fclose(stream);
            std::free(buffer);
        }
        std::string text() {
            std::fflush(stream);
            return {buffer, size};
        }
        char* buffer = nullptr;
        std::size_t size = 0;
        std::FILE* stream = ::open_memstream(&buffer, &size);
        cli::Output output{stream};
    };

    struct Instance : cli::RunningInstance {
        explicit Instance(CommandWorld& owner) : world(owner) {}
        Result<bool> switchOff() override { return world.runningInstanceSays; }
        Result<void> quit() override { return world.control.quit(); }
        bool isThere() override { return !world.runningInstanceSays || *world.runningInstanceSays; }
        CommandWorld& world;
    };

    Result<DisplayServer*> displays() {
        if (!hasDisplayServer) return Error{ErrorCode::NotFound, "no display server to talk to"};
        server_ = std::make_unique<memory::MemoryDisplayServer>(desk);
        return server_.get();
    }

    Instance instance_{*this};
    std::unique_ptr<DisplayServer> server_;
    std::optional<OriginalGammaStore> saved_;
    std::optional<CustomPresetStore> store_;
};

}  // namespace dravo::testing
