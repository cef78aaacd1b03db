#include "support/plasma_compositor.h"

#include <output-management-server.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <stdexcept>

#include "display/icc_profile.h"

namespace dravo::testing {
namespace {

using Setting = PlasmaSetting;

struct Output {
    std::string name;
    Setting setting;
    bool isHdr = false;
    std::string profile = {};
    std::vector<std::optional<RampLevels>> shown{std::nullopt};
    wl_global* global = nullptr;
    std::vector<wl_resource*> bound = {};

    // What stands at a path is read when the path becomes another one.
    void follow(const Setting& next) {
        if (next.path != setting.path) {
            std::ifstream file(next.path, std::ios::binary);
            profile.assign(std::istreambuf_iterator<char>(file), {});
        }
        setting = next;
        std::optional<RampLevels> table;
        if (setting.source == KDE_OUTPUT_CONFIGURATION_V2_COLOR_PROFILE_SOURCE_ICC && !isHdr) {
            const auto* const bytes = reinterpret_cast<const std::uint8_t*>(profile.data());
            if (const auto read = calibrationOfProfile({bytes, profile.size()})) table = toLevels(*read, read->size());
        }
        if (shown.back() != table) shown.push_back(std::move(table));
    }
};

/// What one client asks for until it is applied.
struct Configuration {
    PlasmaCompositor::Inside& inside;
    std::map<Output*, Setting> settings = {};
};

template <typename T>
T* of(wl_resource* resource) {
    return static_cast<T*>(wl_resource_get_user_data(resource));
}

/// For requests that nobody here makes.
template <typename... Arguments>
void ignore(wl_client*, wl_resource*, Arguments...) {}

}  // namespace

struct PlasmaCompositor::Inside {
    Output& find(const std::string& name) {
        for (const auto& output : outputs)
            if (output->name == name) return *output;
        throw std::runtime_error("no output " + name);
    }

    [[nodiscard]] bool hasSources() const { return kind.device >= 7; }

    void tell(const Output& output, wl_resource* device) const {
        kde_output_device_v2_send_enabled(device, 1);
        kde_output_device_v2_send_capabilities(device, KDE_OUTPUT_DEVICE_V2_CAPABILITY_ICC_PROFILE);
        const int version = wl_resource_get_version(device);
        if (version >= 2) kde_output_device_v2_send_name(device, output.name.c_str());
        if (version >= 3) kde_output_device_v2_send_high_dynamic_range(device, output.isHdr);
        if (version >= 5) kde_output_device_v2_send_icc_profile_path(device, output.setting.path.c_str());
        if (version >= 7) kde_output_device_v2_send_color_profile_source(device, output.setting.source);
        kde_output_device_v2_send_done(device);
    }
    void tellAll(const Output& output) const {
        for (wl_resource* const device : output.bound) tell(output, device);
    }

    // Modes come and go as real ones do: clients have to keep up with objects that they never use.
    void greet(Output& output, wl_resource* device) {
        static constexpr struct kde_output_device_v2_interface kRequests = {
            .release = [](wl_client*, wl_resource* resource) { wl_resource_destroy(resource); }};
        wl_resource_set_implementation(device, &kRequests, &output, [](wl_resource* gone) {
            if (auto* const bound = of<Output>(gone)) std::erase(bound->bound, gone);
        });
        output.bound.push_back(device);
        kde_output_device_v2_send_geometry(device, 0, 0, 600, 340, 0, "Maker", "Model", 0);
        wl_client* const client = wl_resource_get_client(device);
        wl_resource* modes[3];
        for (wl_resource*& mode : modes) {
            mode = wl_resource_create(client, &kde_output_device_mode_v2_interface, wl_resource_get_version(device), 0);
            kde_output_device_v2_send_mode(device, mode);
            kde_output_device_mode_v2_send_size(mode, 1920, 1080);
        }
        kde_output_device_v2_send_current_mode(device, modes[0]);
        kde_output_device_mode_v2_send_removed(modes[1]);
        kde_output_device_v2_send_scale(device, wl_fixed_from_int(1));
        kde_output_device_v2_send_edid(device, "");
        tell(output, device);
    }

    static void bindDevice(wl_client* client, void* data, std::uint32_t version, std::uint32_t id) {
        wl_resource* const device =
            wl_resource_create(client, &kde_output_device_v2_interface, static_cast<int>(version), id);
        if (const auto* const own = static_cast<std::pair<Inside*, Output*>*>(data))
            own->first->greet(*own->second, device);
    }
    static void bindRegistry(wl_client* client, void* data, std::uint32_t version, std::uint32_t id) {
        auto& self = *static_cast<Inside*>(data);
        wl_resource* const registry =
            wl_resource_create(client, &kde_output_device_registry_v2_interface, static_cast<int>(version), id);
        wl_resource_set_implementation(registry, nullptr, data,
                                       [](wl_resource* gone) { std::erase(of<Inside>(gone)->registries, gone); });
        self.registries.push_back(registry);
        for (const auto& output : self.outputs) self.handOut(*output, registry);
    }
    void handOut(Output& output, wl_resource* registry) {
        wl_resource* const device = wl_resource_create(
            wl_resource_get_client(registry), &kde_output_device_v2_interface, wl_resource_get_version(registry), 0);
        kde_output_device_registry_v2_send_output(registry, device);
        greet(output, device);
    }
    static void bindManagement(wl_client* client, void* data, std::uint32_t version, std::uint32_t id) {
        static constexpr struct kde_output_management_v2_interface kRequests = {
            .create_configuration = [](wl_client* asking, wl_resource* management, std::uint32_t newId) {
                of<Inside>(management)->configure(asking, wl_resource_get_version(management), newId);
            }};
        wl_resource_set_implementation(
            wl_resource_create(client, &kde_output_management_v2_interface, static_cast<int>(version), id), &kRequests,
            data, nullptr);
    }

    static Setting* settingFor(wl_resource* configuration, wl_resource* device) {
        auto* const output = of<Output>(device);
        if (!output) return nullptr;
        return &of<Configuration>(configuration)->settings.try_emplace(output, output->setting).first->second;
    }
    void configure(wl_client* client, int version, std::uint32_t id) {
        static constexpr struct kde_output_configuration_v2_interface kRequests = {
            .enable = ignore,
            .mode = ignore,
            .transform = ignore,
            .position = ignore,
            .scale = ignore,
            .apply = [](wl_client*, wl_resource* resource) { of<Configuration>(resource)->inside.apply(resource); },
            .destroy = [](wl_client*, wl_resource* resource) { wl_resource_destroy(resource); },
            .overscan = ignore,
            .set_vrr_policy = ignore,
            .set_rgb_range = ignore,
            .set_primary_output = ignore,
            .set_priority = ignore,
            .set_high_dynamic_range = ignore,
            .set_sdr_brightness = ignore,
            .set_wide_color_gamut = ignore,
            .set_auto_rotate_policy = ignore,
            .set_icc_profile_path =
                [](wl_client*, wl_resource* resource, wl_resource* device, const char* path) {
                    if (Setting* const next = settingFor(resource, device)) next->path = path;
                },
            .set_brightness_overrides = ignore,
            .set_sdr_gamut_wideness = ignore,
            .set_color_profile_source =
                [](wl_client*, wl_resource* resource, wl_resource* device, std::uint32_t source) {
                    if (Setting* const next = settingFor(resource, device)) next->source = source;
                },
        };
        wl_resource* const resource = wl_resource_create(client, &kde_output_configuration_v2_interface, version, id);
        wl_resource_set_implementation(resource, &kRequests, new Configuration{*this}, [](wl_resource* gone) {
            const std::unique_ptr<Configuration> own(of<Configuration>(gone));
            --own->inside.open;
        });
        books.atOnce = std::max(books.atOnce, ++open);
    }
    void apply(wl_resource* resource) {
        ++books.changes;
        auto& settings = of<Configuration>(resource)->settings;
        const bool isRefused =
            std::ranges::any_of(settings, [this](const auto& each) { return each.first->name == refused; });
        if (isRefused) {
            if (kind.management >= 12) kde_output_configuration_v2_send_failure_reason(resource, reason.c_str());
            return kde_output_configuration_v2_send_failed(resource);
        }
        for (auto& [output, next] : settings) {
            if (!hasSources()) next.source = next.path.empty() ? 0 : 1;
            output->follow(next);
            tellAll(*output);
        }
        kde_output_configuration_v2_send_applied(resource);
    }

    void announce(Output& output) {
        if (kind.hasRegistry) {
            for (wl_resource* const registry : registries) handOut(output, registry);
            return;
        }
        owners.push_back(std::make_unique<std::pair<Inside*, Output*>>(this, &output));
        output.global =
            wl_global_create(display, &kde_output_device_v2_interface, kind.device, owners.back().get(), bindDevice);
    }

    explicit Inside(Kind itsKind) : kind(itsKind) {}

    const Kind kind;
    wl_display* display = nullptr;
    std::vector<std::unique_ptr<Output>> outputs;
    std::map<std::string, Setting> kept;
    std::vector<std::unique_ptr<std::pair<Inside*, Output*>>> owners;
    std::vector<wl_resource*> registries;
    Books books;
    int open = 0;  ///< Configurations that are not destroyed.
    std::string refused;
    std::string reason;
};

PlasmaCompositor::PlasmaCompositor(Kind kind) : inside_(std::make_unique<Inside>(kind)) { start(); }
PlasmaCompositor::~PlasmaCompositor() { end(); }

void PlasmaCompositor::open(wl_display* display) {
    inside_->display = display;
    wl_global_create(display, &kde_output_management_v2_interface, inside_->kind.management, inside_.get(),
                     Inside::bindManagement);
    if (inside_->kind.hasRegistry)
        wl_global_create(display, &kde_output_device_registry_v2_interface, 21, inside_.get(), Inside::bindRegistry);
    for (const auto& output : inside_->outputs) inside_->announce(*output);
}

void PlasmaCompositor::closed() { inside_->owners.clear(); }

void PlasmaCompositor::plug(const std::string& name, const Setting& setting) {
    run([&] {
        auto& output = *inside_->outputs.emplace_back(std::make_unique<Output>(Output{name, {}}));
        const auto kept = inside_->kept.find(name);
        output.follow(kept == inside_->kept.end() ? setting : kept->second);
        inside_->announce(output);
    });
}

void PlasmaCompositor::unplug(const std::string& name) {
    run([&] {
        Output& output = inside_->find(name);
        inside_->kept[name] = output.setting;
        for (wl_resource* const device : output.bound) {
            wl_resource_set_user_data(device, nullptr);
            if (inside_->kind.hasRegistry) kde_output_device_v2_send_removed(device);
        }
        // Whoever binds it too late is not thrown out for that.
        if (output.global) wl_global_set_user_data(output.global, nullptr);
        if (output.global) wl_global_remove(output.global);
        std::erase_if(inside_->outputs, [&](const auto& each) { return each.get() == &output; });
    });
}

void PlasmaCompositor::choose(const std::string& name, const Setting& setting) {
    run([&] {
        inside_->find(name).follow(setting);
        inside_->tellAll(inside_->find(name));
    });
}

void PlasmaCompositor::switchHdr(const std::string& name, bool isOn) {
    run([&] {
        Output& output = inside_->find(name);
        output.isHdr = isOn;
        output.follow(Setting(output.setting));
        inside_->tellAll(output);
    });
}

Setting PlasmaCompositor::setting(const std::string& name) {
    return run([&] { return inside_->find(name).setting; });
}
std::optional<RampLevels> PlasmaCompositor::table(const std::string& name) { return shown(name).back(); }
std::vector<std::optional<RampLevels>> PlasmaCompositor::shown(const std::string& name) {
    return run([&] { return inside_->find(name).shown; });
}
std::string PlasmaCompositor::profile(const std::string& name) {
    return run([&] { return inside_->find(name).profile; });
}
PlasmaCompositor::Books PlasmaCompositor::books() {
    return run([&] { return inside_->books; });
}
void PlasmaCompositor::refuse(const std::string& name, const std::string& reason) {
    run([&] {
        inside_->refused = name;
        inside_->reason = reason;
    });
}

}  // namespace dravo::testing
