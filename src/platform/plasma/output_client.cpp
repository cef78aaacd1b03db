#include "platform/plasma/output_client.h"

#include <output-management-client.h>
#include <wayland-client-protocol.h>

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace dravo::plasma {
namespace {

using wayland::Connection;

/// With profiles' sources; more that we would have no use for would only come more often.
constexpr std::uint32_t kDeviceVersion = 7;
/// An older one may not be asked for.
constexpr std::uint32_t kRegistryVersion = 21;
/// With the reason of a failure.
constexpr std::uint32_t kManagerVersion = 12;

/// EDIDs of today have a few blocks of 128 bytes.
constexpr std::size_t kLongestEdid = 32768;

std::vector<std::uint8_t> decodedBase64(std::string_view text) {
    constexpr std::string_view kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::vector<std::uint8_t> bytes;
    std::uint32_t bits = 0;
    int count = 0;
    for (const char character : text.substr(0, kLongestEdid)) {
        const auto digit = kAlphabet.find(character);
        if (digit == std::string_view::npos) break;
        bits = bits << 6 | static_cast<std::uint32_t>(digit);
        count += 6;
        if (count < 8) continue;
        count -= 8;
        bytes.push_back(static_cast<std::uint8_t>(bits >> count));
    }
    return bytes;
}

wl_proxy* proxyOf(void* object) { return static_cast<wl_proxy*>(object); }

/// Most of what outputs say is of no use to us: events are told apart by their names, and what has none here is passed
/// over. `Target` has a `note(name, arguments)`.
template <typename Target>
void listen(void* object, Target& target) {
    wl_proxy_add_dispatcher(
        proxyOf(object),
        [](const void*, void* proxy, std::uint32_t, const wl_message* message, wl_argument* arguments) {
            static_cast<Target*>(wl_proxy_get_user_data(proxyOf(proxy)))->note(message->name, arguments);
            return 0;
        },
        nullptr, &target);
}

}  // namespace

/// One output. `name` is its global's number, 0 where a registry has handed it out.
class OutputClient::Device {
public:
    Device(OutputClient& owner, kde_output_device_v2* proxy, std::uint32_t name)
        : owner_(owner), proxy_(proxy), name_(name) {
        listen(proxy_, *this);
    }
    ~Device() {
        for (const auto& mode : modes_) wl_proxy_destroy(mode->proxy);
        if (kde_output_device_v2_get_version(proxy_) >= KDE_OUTPUT_DEVICE_V2_RELEASE_SINCE_VERSION) {
            kde_output_device_v2_release(proxy_);
        } else {
            kde_output_device_v2_destroy(proxy_);
        }
    }
    Device(const Device&) = delete;
    Device& operator=(const Device&) = delete;

    [[nodiscard]] kde_output_device_v2* proxy() const { return proxy_; }
    [[nodiscard]] std::uint32_t name() const { return name_; }
    [[nodiscard]] const Output& output() const { return told_; }
    [[nodiscard]] bool isDescribed() const { return isDescribed_; }
    [[nodiscard]] bool isRemoved() const { return isRemoved_; }

    void note(std::string_view event, const wl_argument* arguments) {
        const auto text = [arguments] { return std::string(arguments[0].s ? arguments[0].s : ""); };
        if (event == "mode") {
            modes_.push_back(std::make_unique<Mode>(*this, proxyOf(arguments[0].o)));
        } else if (event == "name") {
            next_.connector = text();
        } else if (event == "edid") {
            next_.edid = decodedBase64(text());
        } else if (event == "enabled") {
            next_.isOn = arguments[0].i != 0;
        } else if (event == "capabilities") {
            next_.takesProfiles = (arguments[0].u & KDE_OUTPUT_DEVICE_V2_CAPABILITY_ICC_PROFILE) != 0;
        } else if (event == "high_dynamic_range") {
            next_.isHdr = arguments[0].u != 0;
        } else if (event == "icc_profile_path") {
            next_.profile.path = text();
        } else if (event == "color_profile_source") {
            next_.profile.source = ProfileSource{arguments[0].u};
        } else if (event == "done") {
            owner_.hasChanged_ = owner_.hasChanged_ || !isDescribed_ || told_ != next_;
            isDescribed_ = true;
            told_ = next_;
        } else if (event == "removed") {
            isRemoved_ = owner_.hasChanged_ = true;
        }
    }

private:
    /// The compositor refers to an output's modes in events that we pass over: they have to be there.
    struct Mode {
        Mode(Device& its, wl_proxy* made) : device(its), proxy(made) { listen(proxy, *this); }
        void note(std::string_view event, const wl_argument*) {
            if (event != "removed") return;
            wl_proxy_destroy(proxy);
            std::erase_if(device.modes_, [this](const auto& mode) { return mode.get() == this; });
        }
        Device& device;
        wl_proxy* proxy;
    };

    OutputClient& owner_;
    kde_output_device_v2* proxy_;
    std::uint32_t name_;
    std::vector<std::unique_ptr<Mode>> modes_;
    Output next_;
    Output told_;
    bool isDescribed_ = false;
    bool isRemoved_ = false;
};

struct OutputClient::Listeners {
    static OutputClient& from(void* data) { return *static_cast<OutputClient*>(data); }

    static constexpr kde_output_device_registry_v2_listener kRegistry{
        .finished = [](void*, kde_output_device_registry_v2*) {},
        .output = [](void* data, kde_output_device_registry_v2*,
                     kde_output_device_v2* output) { from(data).add(output, 0); },
    };
    static constexpr kde_output_configuration_v2_listener kConfiguration{
        .applied = [](void* data, kde_output_configuration_v2*) { from(data).noteAnswer({}); },
        .failed =
            [](void* data, kde_output_configuration_v2*) {
                from(data).noteAnswer(Error{ErrorCode::PermissionDenied, from(data).reason_});
            },
        .failure_reason = [](void* data, kde_output_configuration_v2*,
                             const char* reason) { from(data).reason_ = reason ? reason : ""; },
    };
};

OutputClient::OutputClient(std::unique_ptr<Connection> connection) : connection_(std::move(connection)) {
    connection_->onGlobal = [this](const Connection::Global& global) { noteGlobal(global); };
    connection_->onGlobalRemoved = [this](std::uint32_t name) { noteRemoval(name); };
    question_ = connection_->ask();
}

OutputClient::~OutputClient() {
    if (configuration_) kde_output_configuration_v2_destroy(configuration_);
    devices_.clear();
    if (registry_) kde_output_device_registry_v2_destroy(registry_);
    if (manager_) kde_output_management_v2_destroy(manager_);
}

void OutputClient::noteGlobal(const Connection::Global& global) {
    const auto bind = [&](const wl_interface& interface, std::uint32_t version) {
        hasNew_ = true;
        return wl_registry_bind(connection_->registry(), global.name, &interface, std::min(global.version, version));
    };
    if (global.interface == kde_output_management_v2_interface.name && !manager_) {
        manager_ = static_cast<kde_output_management_v2*>(bind(kde_output_management_v2_interface, kManagerVersion));
    } else if (global.interface == kde_output_device_registry_v2_interface.name && !registry_ &&
               global.version >= kRegistryVersion) {
        registry_ = static_cast<kde_output_device_registry_v2*>(
            bind(kde_output_device_registry_v2_interface, kRegistryVersion));
        kde_output_device_registry_v2_add_listener(registry_, &Listeners::kRegistry, this);
    } else if (global.interface == kde_output_device_v2_interface.name) {
        add(static_cast<kde_output_device_v2*>(bind(kde_output_device_v2_interface, kDeviceVersion)), global.name);
    }
}

void OutputClient::noteRemoval(std::uint32_t name) {
    hasChanged_ =
        std::erase_if(devices_, [name](const auto& device) { return device->name() == name; }) > 0 || hasChanged_;
}

void OutputClient::add(kde_output_device_v2* proxy, std::uint32_t name) {
    devices_.push_back(std::make_unique<Device>(*this, proxy, name));
}

void OutputClient::notice() {
    std::erase_if(devices_, [](const auto& device) { return device->isRemoved(); });
    if (!connection_->hasAnswered(question_)) return;
    if (std::exchange(hasNew_, false)) {
        question_ = connection_->ask();
    } else {
        isComplete_ = manager_ != nullptr;
    }
}

std::vector<Output> OutputClient::outputs() const {
    std::vector<Output> outputs;
    for (const auto& device : devices_)
        if (device->isDescribed() && !device->isRemoved()) outputs.push_back(device->output());
    return outputs;
}

OutputClient::Device* OutputClient::find(const std::string& connector) const {
    const auto found =
        std::ranges::find_if(devices_, [&](const auto& device) { return device->output().connector == connector; });
    return found == devices_.end() ? nullptr : found->get();
}

void OutputClient::configure(std::span<const Change> changes) {
    reason_.clear();
    configuration_ = kde_output_management_v2_create_configuration(manager_);
    kde_output_configuration_v2_add_listener(configuration_, &Listeners::kConfiguration, this);
    const bool hasSources = kde_output_management_v2_get_version(manager_) >=
                            KDE_OUTPUT_CONFIGURATION_V2_SET_COLOR_PROFILE_SOURCE_SINCE_VERSION;
    for (const auto& [connector, profile] : changes) {
        const Device* const device = find(connector);
        if (!device || device->isRemoved()) continue;
        kde_output_configuration_v2_set_icc_profile_path(configuration_, device->proxy(), profile.path.c_str());
        if (hasSources && profile.source)
            kde_output_configuration_v2_set_color_profile_source(configuration_, device->proxy(),
                                                                 static_cast<std::uint32_t>(*profile.source));
    }
    kde_output_configuration_v2_apply(configuration_);
}

void OutputClient::noteAnswer(Result<void> answer) {
    kde_output_configuration_v2_destroy(std::exchange(configuration_, nullptr));
    answer_ = std::move(answer);
}

std::optional<Result<void>> OutputClient::takeAnswer() { return std::exchange(answer_, std::nullopt); }

}  // namespace dravo::plasma
