#pragma once

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "cli/command_context.h"
#include "cli/command_line.h"
#include "cli/running.h"
#include "display/remembered_displays.h"
#include "filter/custom_preset_store.h"
#include "support/fixed_offset_calendar.h"
#include "support/memory/memory_table_device.h"
#include "support/memory/virtual_scheduler.h"
#include "support/temporary_folder.h"

namespace dravo::testing {

/// What a command left behind.
struct Outcome {
    cli::ExitCode code{};
    std::string out;
    std::string err;
};

/// A running program that notes what it is asked for; not running until a test says so.
class FakeControlClient final : public ControlClient {
public:
    /// What every call fails with; nothing while the program runs and agrees.
    std::optional<Error> failure = Error{ErrorCode::NotFound, "Dravo is not running"};
    /// What it is at first, and what it becomes while somebody follows.
    std::vector<ControlState> states{ControlState{}};
    std::vector<ControlRequest> asked;
    ControlAnswer answer;

    Result<ControlState> state() override { return failure ? Result<ControlState>(*failure) : states.front(); }
    Result<void> follow(const std::function<bool(const ControlState&)>& onState) override {
        if (failure) return *failure;
        for (const auto& state : states)
            if (!onState(state)) break;
        return {};
    }
    Result<ControlAnswer> ask(const ControlRequest& request) override {
        if (failure) return *failure;
        asked.push_back(request);
        return answer;
    }
};

/// Runs commands in this process, in a world of memory. What a test does not set up is not there.
class CommandWorld {
public:
    memory::VirtualDesk desk;
    bool hasDisplayServer = true;
    bool isExclusive = false;
    std::vector<PortReport> reports;
    std::vector<FilterPreset> ownPresets;
    Result<bool> runningInstanceSays = false;
    FakeControlClient control;
    std::optional<Position> position;
    TemporaryFolder folder;
    FixedOffsetCalendar calendar{std::chrono::hours(1)};
    WallTime now{};

    /// A file with this text. Its path.
    [[nodiscard]] std::string save(const char* name, const std::string& text) const {
        std::ofstream(folder / name) << text;
        return folder / name;
    }
    [[nodiscard]] DataFolder dataFolder() const { return {folder / "data", {}}; }

    /// Words without blanks in them.
    Outcome run(const char* line) {
        std::istringstream words(line);
        return run({std::istream_iterator<std::string>(words), {}});
    }
    Outcome run(std::vector<std::string> words) {
        std::vector<char*> argv;
        words.insert(words.begin(), "dravo");
        for (std::string& word : words) argv.push_back(word.data());
        argv.push_back(nullptr);
        Capture out;
        Capture err;
        Context context(*this, out.stream, err.stream);
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
    };

    struct Context : cli::CommandContext, cli::RunningInstance {
        Context(CommandWorld& owner, std::FILE* toOut, std::FILE* toErr) : CommandContext(toOut, toErr), world(owner) {}

        Result<LastingDisplays*> displays(LastingDisplays::Beginning how) {
            if (!world.hasDisplayServer || !world.desk.isUp())
                return Error{ErrorCode::NotFound, "no display server to talk to"};
            remembered.emplace(device.emplace(world.desk), saved.emplace(world.dataFolder()), scheduler).begin(how);
            return &*remembered;
        }
        Result<Displays*> displays() override {
            const auto found = displays(LastingDisplays::Beginning::looking);
            return found ? Result<Displays*>(*found) : found.error();
        }
        bool wouldTakeDisplays() override { return world.isExclusive; }
        std::vector<PortReport> examine() override { return world.reports; }
        Result<LastingDisplays*> displaysToRestore() override { return displays(LastingDisplays::Beginning::doubtful); }
        Result<std::vector<FilterPreset>> userPresets() override { return world.ownPresets; }
        CustomPresetStore& presetStore() override { return store.emplace(world.dataFolder().home); }
        Result<cli::TimeZone> timeZone(std::optional<std::string_view>) override {
            return cli::TimeZone{world.calendar, []() -> Result<Position> { return Position{51.5, -0.13}; }};
        }
        std::optional<Position> knownPosition() override { return world.position; }
        WallTime now() override { return world.now; }
        ControlClient& control() override { return world.control; }
        RunningInstance& runningInstance() override { return *this; }
        cli::ExitCode start(const ControlRequest&) override { return cli::ExitCode::Ok; }
        Result<PictureService*> pictures() override { return Error{ErrorCode::NotFound, "pictures cannot be made"}; }

        Result<bool> switchOff() override { return world.runningInstanceSays; }
        Result<void> quit() override {
            const auto asked = world.control.ask(request::Quit{});
            return asked ? Result<void>() : asked.error();
        }
        bool isThere() override { return !world.runningInstanceSays || *world.runningInstanceSays; }

        CommandWorld& world;
        memory::VirtualScheduler scheduler;
        std::optional<memory::MemoryTableDevice> device;
        std::optional<OriginalGammaStore> saved;
        std::optional<RememberedDisplays> remembered;
        std::optional<CustomPresetStore> store;
    };
};

}  // namespace dravo::testing
