#include "platform/gnome/display_config.h"

#include <array>
#include <string_view>
#include <utility>

#include "base/files.h"

namespace dravo::gnome {

namespace {

constexpr std::size_t kUsualSize = 256;
constexpr std::size_t kLargestEdid = 32 << 10;

constexpr std::array kChannels{&RampLevels::red, &RampLevels::green, &RampLevels::blue};

template <typename... Arguments>
dbus::Message displayConfigCall(BusLink& bus, const char* member, const char* types = "", Arguments... arguments) {
    return bus.newCall(kDisplayConfig, kDisplayConfigPath, kDisplayConfig, member, types, arguments...);
}

template <typename Number>
std::vector<Number> readNumbers(sd_bus_message* message, char type) {
    const void* numbers = nullptr;
    std::size_t bytes = 0;
    if (sd_bus_message_read_array(message, type, &numbers, &bytes) < 0) return {};
    const auto* const first = static_cast<const Number*>(numbers);
    return {first, first + bytes / sizeof(Number)};
}

/// Calls `readEntry` for each structure of `contents` in an array.
template <typename ReadEntry>
bool forEachEntry(sd_bus_message* message, const std::string& contents, ReadEntry readEntry) {
    if (sd_bus_message_enter_container(message, 'a', ("(" + contents + ")").c_str()) < 0) return false;
    while (sd_bus_message_enter_container(message, 'r', contents.c_str()) > 0)
        if (!readEntry() || sd_bus_message_exit_container(message) < 0) return false;
    return sd_bus_message_exit_container(message) >= 0;
}

/// What makes a monitor the same one again: its EDID, else what the compositor took from it.
std::optional<std::vector<std::uint8_t>> readEdid(sd_bus_message* message) {
    std::vector<std::uint8_t> edid;
    std::string maker;
    const auto isUnderstood = dbus::readDictionary(message, [&](std::string_view key, std::string_view signature,
                                                                sd_bus_message* value) {
        const char* text = nullptr;
        if (key == "edid" && signature == "ay") {
            edid = readNumbers<std::uint8_t>(value, 'y');
        } else if (signature == "s" && (key == "edid-file" || key == "vendor" || key == "product" || key == "serial") &&
                   sd_bus_message_read(value, "s", &text) >= 0) {
            const auto file =
                key == "edid-file" && edid.empty() ? readFile(text, kLargestEdid) : Result<std::string>(Error{});
            if (file) edid.assign(file->begin(), file->end());
            if (key != "edid-file" && std::string_view(text) != "unknown") maker.append(text).append("\n");
        }
    });
    if (!isUnderstood) return std::nullopt;
    if (edid.empty()) edid.assign(maker.begin(), maker.end());
    return edid;
}

}  // namespace

dbus::Message resourcesCall(BusLink& bus) { return displayConfigCall(bus, "GetResources"); }

Result<DisplayResources> readResources(sd_bus_message* answer) {
    DisplayResources resources;
    const auto readCrtc = [&] {
        std::uint32_t id = 0;
        if (sd_bus_message_read(answer, "u", &id) < 0 || sd_bus_message_skip(answer, "xiiiiiuaua{sv}") < 0)
            return false;
        resources.crtcs.push_back(CrtcId{id});
        return true;
    };
    const auto readOutput = [&] {
        DeviceOutput output;
        std::int32_t crtc = -1;
        const char* connector = nullptr;
        if (sd_bus_message_skip(answer, "ux") < 0 || sd_bus_message_read(answer, "i", &crtc) < 0) return false;
        for (const std::uint32_t possible : readNumbers<std::uint32_t>(answer, 'u'))
            output.possibleCrtcs.push_back(CrtcId{possible});
        if (sd_bus_message_read(answer, "s", &connector) < 0 || sd_bus_message_skip(answer, "auau") < 0) return false;
        auto edid = readEdid(answer);
        if (!edid) return false;
        output.connector = connector;
        output.edid = std::move(*edid);
        if (crtc >= 0) output.crtc = CrtcId{static_cast<std::uint32_t>(crtc)};
        resources.outputs.push_back(std::move(output));
        return true;
    };
    if (sd_bus_message_read(answer, "u", &resources.serial) < 0 || !forEachEntry(answer, "uxiiiiiuaua{sv}", readCrtc) ||
        !forEachEntry(answer, "uxiausauaua{sv}", readOutput))
        return Error{ErrorCode::Internal, "an answer of an unknown form"};
    return resources;
}

dbus::Message hasTablesCall(BusLink& bus) {
    return bus.newCall(kDisplayConfig, kDisplayConfigPath, "org.freedesktop.DBus.Properties", "Get", "ss",
                       kDisplayConfig, "NightLightSupported");
}

bool readHasTables(const BusLink::Answer& answer) {
    int hasTables = 1;
    if (answer) sd_bus_message_read(*answer, "v", "b", &hasTables);
    return hasTables != 0;
}

dbus::Message levelsCall(BusLink& bus, std::uint32_t serial, CrtcId crtc) {
    return displayConfigCall(bus, "GetCrtcGamma", "uu", serial, static_cast<std::uint32_t>(crtc));
}

RampLevels readLevels(sd_bus_message* answer) {
    RampLevels levels;
    for (const auto channel : kChannels) levels.*channel = readNumbers<std::uint16_t>(answer, 'q');
    const bool isUsable =
        levels.size() >= 2 && levels.green.size() == levels.size() && levels.blue.size() == levels.size();
    return isUsable ? levels : toLevels(GammaTable::identity(), kUsualSize);
}

dbus::Message setLevelsCall(BusLink& bus, std::uint32_t serial, const CrtcLevels& ramp) {
    const auto& levels = ramp.levels;
    if (levels.size() < 2 || levels.green.size() != levels.size() || levels.blue.size() != levels.size())
        return nullptr;
    auto call = displayConfigCall(bus, "SetCrtcGamma", "uu", serial, static_cast<std::uint32_t>(ramp.crtc));
    if (!call) return call;
    for (const auto channel : kChannels)
        sd_bus_message_append_array(call.get(), 'q', (levels.*channel).data(), levels.size() * sizeof(std::uint16_t));
    return call;
}

}  // namespace dravo::gnome
