#include "support/x_gamma.h"

#include <xcb/randr.h>

#include <cmath>
#include <ostream>
#include <stdexcept>

#include "base/owned.h"

namespace dravo::testing {

namespace {

constexpr std::uint16_t kWidth = 1024;
constexpr std::uint16_t kHeight = 768;

template <typename T>
Freed<T> need(T* reply, const char* what) {
    if (!reply) throw std::runtime_error(std::string("the X server did not answer ") + what);
    return Freed<T>(reply);
}

void check(xcb_connection_t* connection, xcb_void_cookie_t cookie, const char* what) {
    const Freed<xcb_generic_error_t> error(xcb_request_check(connection, cookie));
    if (error) {
        throw std::runtime_error(std::string("the X server refused ") + what + ": " +
                                 std::to_string(error->error_code));
    }
}

Ramp rampOf(const xcb_randr_get_crtc_gamma_reply_t& reply) {
    const auto channel = [&](const std::uint16_t* first) {
        return std::vector<std::uint16_t>(first, first + reply.size);
    };
    return {channel(xcb_randr_get_crtc_gamma_red(&reply)), channel(xcb_randr_get_crtc_gamma_green(&reply)),
            channel(xcb_randr_get_crtc_gamma_blue(&reply))};
}

}  // namespace

std::ostream& operator<<(std::ostream& out, const Ramp& ramp) {
    if (ramp.red.empty()) return out << "no table";
    return out << ramp.red.size() << " entries, black " << ramp.red.front() << ' ' << ramp.green.front() << ' '
               << ramp.blue.front() << ", white " << ramp.red.back() << ' ' << ramp.green.back() << ' '
               << ramp.blue.back();
}

Ramp calibrationRamp(unsigned seed, std::size_t size) {
    const auto channel = [&](double gamma, double white) {
        std::vector<std::uint16_t> levels(size);
        for (std::size_t i = 0; i < size; ++i) {
            const double input = static_cast<double>(i) / static_cast<double>(size - 1);
            levels[i] = static_cast<std::uint16_t>(std::lround(65535.0 * white * std::pow(input, gamma)));
        }
        return levels;
    };
    const double shift = 0.01 * (seed % 16 + 1);
    return {channel(1.0 + shift, 1.0), channel(1.05 + shift, 1.0 - shift / 8), channel(1.1 - shift, 0.97 - shift / 4)};
}

struct XGamma::Output {
    std::string name;
    xcb_randr_output_t id = 0;
    xcb_randr_crtc_t crtc = 0;
    bool isOn = false;
    bool hasMode = false;
};

XGamma::XGamma(const std::string& address) : connection_(xcb_connect(address.c_str(), nullptr)) {
    if (xcb_connection_has_error(connection_) != 0) {
        xcb_disconnect(connection_);
        throw std::runtime_error("no X server at " + address);
    }
    root_ = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data->root;
    refresh();
}

XGamma::~XGamma() { xcb_disconnect(connection_); }

void XGamma::refresh() {
    const auto resources = need(xcb_randr_get_screen_resources_current_reply(
                                    connection_, xcb_randr_get_screen_resources_current(connection_, root_), nullptr),
                                "for its screen's resources");
    for (auto mode = xcb_randr_get_screen_resources_current_modes_iterator(resources.get()); mode.rem > 0;
         xcb_randr_mode_info_next(&mode)) {
        if (mode.data->width == kWidth && mode.data->height == kHeight) mode_ = mode.data->id;
    }
    outputs_.clear();
    const auto* ids = xcb_randr_get_screen_resources_current_outputs(resources.get());
    for (int i = 0; i < resources->num_outputs; ++i) {
        const auto info =
            need(xcb_randr_get_output_info_reply(
                     connection_, xcb_randr_get_output_info(connection_, ids[i], resources->config_timestamp), nullptr),
                 "for an output");
        const auto* name = xcb_randr_get_output_info_name(info.get());
        const auto* modes = xcb_randr_get_output_info_modes(info.get());
        Output output;
        output.name.assign(name, name + xcb_randr_get_output_info_name_length(info.get()));
        output.id = ids[i];
        output.isOn = info->crtc != 0;
        output.crtc = output.isOn ? info->crtc : *xcb_randr_get_output_info_crtcs(info.get());
        for (int m = 0; m < info->num_modes; ++m) output.hasMode |= modes[m] == mode_;
        outputs_.push_back(std::move(output));
    }
}

const XGamma::Output& XGamma::find(const std::string& name) {
    for (const auto& output : outputs_) {
        if (output.name == name) return output;
    }
    throw std::runtime_error("no output " + name);
}

xcb_atom_t XGamma::atom(const std::string& name) {
    const auto length = static_cast<std::uint16_t>(name.size());
    return need(xcb_intern_atom_reply(connection_, xcb_intern_atom(connection_, 0, length, name.c_str()), nullptr),
                "for an atom")
        ->atom;
}

void XGamma::arrange(std::size_t count) {
    refresh();
    std::vector<std::string> names;
    for (const auto& output : outputs_) names.push_back(output.name);
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (i < count) {
            enable(names[i], static_cast<int>(i) * kWidth);
        } else {
            disable(names[i]);
        }
    }
}

void XGamma::enable(const std::string& name, int x) {
    refresh();
    const Output& output = find(name);
    if (output.isOn) return;
    if (!output.hasMode) {
        check(connection_, xcb_randr_add_output_mode_checked(connection_, output.id, mode_), "a mode");
    }
    const auto geometry =
        need(xcb_get_geometry_reply(connection_, xcb_get_geometry(connection_, root_), nullptr), "for its size");
    if (geometry->width < x + kWidth) {
        check(connection_,
              xcb_randr_set_screen_size_checked(connection_, root_, static_cast<std::uint16_t>(x + kWidth), kHeight,
                                                static_cast<std::uint32_t>(x + kWidth) / 4, kHeight / 4),
              "a larger screen");
    }
    const auto reply = need(
        xcb_randr_set_crtc_config_reply(connection_,
                                        xcb_randr_set_crtc_config(connection_, output.crtc, XCB_CURRENT_TIME,
                                                                  XCB_CURRENT_TIME, static_cast<std::int16_t>(x), 0,
                                                                  mode_, XCB_RANDR_ROTATION_ROTATE_0, 1, &output.id),
                                        nullptr),
        "for a display to be turned on");
    if (reply->status != XCB_RANDR_SET_CONFIG_SUCCESS) throw std::runtime_error("cannot turn on " + name);
    refresh();
}

void XGamma::disable(const std::string& name) {
    refresh();
    const Output& output = find(name);
    if (!output.isOn) return;
    need(xcb_randr_set_crtc_config_reply(
             connection_,
             xcb_randr_set_crtc_config(connection_, output.crtc, XCB_CURRENT_TIME, XCB_CURRENT_TIME, 0, 0, 0,
                                       XCB_RANDR_ROTATION_ROTATE_0, 0, nullptr),
             nullptr),
         "for a display to be turned off");
    refresh();
}

std::vector<std::string> XGamma::enabledOutputs() {
    refresh();
    std::vector<std::string> names;
    for (const auto& output : outputs_) {
        if (output.isOn) names.push_back(output.name);
    }
    return names;
}

Ramp XGamma::ramp(const std::string& output) {
    return rampOf(*need(
        xcb_randr_get_crtc_gamma_reply(connection_, xcb_randr_get_crtc_gamma(connection_, find(output).crtc), nullptr),
        "for a table"));
}

void XGamma::setRamp(const std::string& output, const Ramp& ramp) {
    check(connection_,
          xcb_randr_set_crtc_gamma_checked(connection_, find(output).crtc, static_cast<std::uint16_t>(ramp.red.size()),
                                           ramp.red.data(), ramp.green.data(), ramp.blue.data()),
          "a table");
}

std::map<std::string, Ramp> XGamma::ramps() {
    std::vector<std::string> names;
    for (const auto& output : outputs_) {
        if (output.isOn) names.push_back(output.name);
    }
    return ramps(names);
}

std::map<std::string, Ramp> XGamma::ramps(const std::vector<std::string>& outputs) {
    std::vector<xcb_randr_get_crtc_gamma_cookie_t> asked;
    for (const auto& name : outputs) asked.push_back(xcb_randr_get_crtc_gamma(connection_, find(name).crtc));
    std::map<std::string, Ramp> ramps;
    for (std::size_t i = 0; i < outputs.size(); ++i) {
        ramps[outputs[i]] =
            rampOf(*need(xcb_randr_get_crtc_gamma_reply(connection_, asked[i], nullptr), "for a table"));
    }
    return ramps;
}

void XGamma::setEdid(const std::string& output, std::span<const std::uint8_t> edid) {
    const auto id = find(output).id;
    const auto property = atom("EDID");
    const auto cookie = edid.empty() ? xcb_randr_delete_output_property_checked(connection_, id, property)
                                     : xcb_randr_change_output_property_checked(
                                           connection_, id, property, XCB_ATOM_INTEGER, 8, XCB_PROP_MODE_REPLACE,
                                           static_cast<std::uint32_t>(edid.size()), edid.data());
    check(connection_, cookie, "an EDID");
}

std::vector<std::uint32_t> XGamma::matrix(const std::string& output) {
    const auto cookie = xcb_randr_get_output_property(connection_, find(output).id, atom("CTM"),
                                                      XCB_GET_PROPERTY_TYPE_ANY, 0, 18, 0, 0);
    const Freed<xcb_randr_get_output_property_reply_t> reply(
        xcb_randr_get_output_property_reply(connection_, cookie, nullptr));
    if (!reply || reply->format != 32) return {};
    const auto* words = reinterpret_cast<const std::uint32_t*>(xcb_randr_get_output_property_data(reply.get()));
    return {words, words + reply->num_items};
}

void XGamma::setMatrix(const std::string& output, std::span<const std::uint32_t> words) {
    const auto cookie = xcb_randr_change_output_property_checked(
        connection_, find(output).id, atom("CTM"), XCB_ATOM_INTEGER, 32, XCB_PROP_MODE_REPLACE,
        static_cast<std::uint32_t>(words.size()), words.data());
    check(connection_, cookie, "a matrix");
}

void XGamma::setRootProperty(const std::string& name, std::span<const std::uint8_t> value) {
    const auto property = atom(name);
    const auto cookie = value.empty() ? xcb_delete_property_checked(connection_, root_, property)
                                      : xcb_change_property_checked(
                                            connection_, XCB_PROP_MODE_REPLACE, root_, property, XCB_ATOM_CARDINAL, 8,
                                            static_cast<std::uint32_t>(value.size()), value.data());
    check(connection_, cookie, "a property");
}

}  // namespace dravo::testing
