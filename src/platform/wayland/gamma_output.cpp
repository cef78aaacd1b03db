#include "platform/wayland/gamma_output.h"

#include <wayland-client-protocol.h>
#include <wlr-gamma-control-client.h>

#include <algorithm>
#include <cerrno>
#include <string_view>
#include <utility>

#include "base/system_reason.h"
#include "base/utf8.h"
#include "platform/wayland/gamma_file.h"

namespace dravo::wayland {
namespace {

/// With names and a word when all is said.
constexpr std::uint32_t kOutputVersion = 4;
/// Sixteen bits of input. Some drivers tell millions.
constexpr std::uint32_t kLargestTable = 65536;
constexpr std::size_t kLongestText = 128;
constexpr std::uint64_t kNotAsked = UINT64_MAX;

/// What the compositor says, fit for a line on a terminal and for JSON.
std::string cleaned(const char* text) {
    std::string_view said = text ? text : "";
    said = said.substr(0, kLongestText);
    const auto isControl = [](char byte) { return static_cast<unsigned char>(byte) < 0x20 || byte == 0x7f; };
    return isUtf8(said) && std::ranges::none_of(said, isControl) ? std::string(said) : std::string();
}

}  // namespace

struct GammaOutput::Listeners {
    static GammaOutput& from(void* data) { return *static_cast<GammaOutput*>(data); }

    static constexpr wl_output_listener kOutput{
        .geometry =
            [](void* data, wl_output*, std::int32_t, std::int32_t, std::int32_t, std::int32_t, std::int32_t,
               const char* make, const char* model, std::int32_t) {
                from(data).make_ = cleaned(make);
                from(data).model_ = cleaned(model);
            },
        .mode = [](void*, wl_output*, std::uint32_t, std::int32_t, std::int32_t, std::int32_t) {},
        .done = [](void* data, wl_output*) { from(data).isDescribed_ = true; },
        .scale = [](void*, wl_output*, std::int32_t) {},
        .name =
            [](void* data, wl_output*, const char* name) {
                if (auto said = cleaned(name); !said.empty()) from(data).connector_ = std::move(said);
            },
        .description = [](void* data, wl_output*,
                          const char* description) { from(data).description_ = cleaned(description); },
    };
    static constexpr zwlr_gamma_control_v1_listener kControl{
        .gamma_size = [](void* data, zwlr_gamma_control_v1*, std::uint32_t size) { from(data).noteSize(size); },
        .failed = [](void* data, zwlr_gamma_control_v1*) { from(data).noteFailure(); },
    };
};

GammaOutput::GammaOutput(Connection& connection, const Connection::Global& global)
    : connection_(connection),
      name_(global.name),
      output_(static_cast<wl_output*>(wl_registry_bind(connection.registry(), global.name, &wl_output_interface,
                                                       std::min(global.version, kOutputVersion)))),
      connector_("output-" + std::to_string(global.name)) {
    wl_output_add_listener(output_, &Listeners::kOutput, this);
    isDescribed_ = global.version < WL_OUTPUT_DONE_SINCE_VERSION;
}

GammaOutput::~GammaOutput() {
    release();
    if (wl_output_get_version(output_) >= WL_OUTPUT_RELEASE_SINCE_VERSION) {
        wl_output_release(output_);
    } else {
        wl_output_destroy(output_);
    }
}

// The description of one monitor names its connector, too, and that may be another one tomorrow.
OutputIdentity GammaOutput::identity() const {
    std::string monitor = make_ + '\n' + model_ + '\n' + description_;
    if (const auto found = monitor.rfind(connector_); found != std::string::npos)
        monitor.erase(found, connector_.size());
    const bool isKnown = make_.size() + model_.size() + description_.size() > 0;
    return {connector_,
            isKnown ? std::vector<std::uint8_t>(monitor.begin(), monitor.end()) : std::vector<std::uint8_t>()};
}

void GammaOutput::take(zwlr_gamma_control_manager_v1* manager) {
    control_ = zwlr_gamma_control_manager_v1_get_gamma_control(manager, output_);
    zwlr_gamma_control_v1_add_listener(control_, &Listeners::kControl, this);
}

// Old compositors take the table from its holder without a word to the next client, which gets it if it asks again.
bool GammaOutput::noticeSilence(zwlr_gamma_control_manager_v1* manager) {
    const bool isFirst = !std::exchange(wasAskedTwice_, true);
    if (!isFirst) {
        refuse(DisplayState::refused, {textKey("the display server does not answer")});
        return false;
    }
    zwlr_gamma_control_v1_destroy(control_);
    take(manager);
    return true;
}

void GammaOutput::release() {
    if (control_) zwlr_gamma_control_v1_destroy(control_);
    control_ = nullptr;
    wasAskedTwice_ = isOurs_ = isDoubtful_ = false;
    loaded_.reset();
}

bool GammaOutput::isControl(std::uint32_t object) const {
    return control_ && wl_proxy_get_id(reinterpret_cast<wl_proxy*>(control_)) == object;
}

bool GammaOutput::load(const RampLevels& levels) {
    if (loaded_ == levels && !isDoubtful_) return false;
    const UniqueFd file = makeGammaFile(levels);
    if (!file) {
        refuse(DisplayState::refused, {{"%@", "%@"}, {systemReason(errno)}});
        return false;
    }
    zwlr_gamma_control_v1_set_gamma(control_, file.get());
    loaded_ = levels;
    isDoubtful_ = false;
    loadQuestion_ = kNotAsked;
    return true;
}

void GammaOutput::refuse(DisplayState state, Sentence problem) {
    release();
    state_ = state;
    problem_ = std::move(problem);
}

void GammaOutput::noteSize(std::uint32_t size) {
    if (size < 2) {
        size_ = 0;
        return refuse(DisplayState::noTable, {textKey("its driver has no transfer table")});
    }
    if (size > kLargestTable) {
        size_ = 0;
        return refuse(DisplayState::noTable,
                      {textKey("its transfer table is said to have %@ entries"), {std::to_string(size)}});
    }
    size_ = size;
    isOurs_ = true;
    state_ = DisplayState::ready;
    problem_ = {};
}

// Nobody tells why: it shows in what came before.
void GammaOutput::noteFailure() {
    if (loaded_ && !connection_.hasAnswered(loadQuestion_)) return refuseLoad();
    if (size_ > 0) return refuse(DisplayState::held, {textKey("another program holds its transfer table")});
    refuse(DisplayState::refused, {textKey("it has no transfer table, or another program holds it")});
}

}  // namespace dravo::wayland
