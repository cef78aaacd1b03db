#include "support/x_gamma.h"

#include <xcb/randr.h>

#include <algorithm>
#include <cmath>
#include <ostream>

namespace dravo {

std::ostream& operator<<(std::ostream& out, const RampLevels& levels) {
    if (levels.size() == 0) return out << "no table";
    return out << levels.size() << " entries, black " << levels.red.front() << ' ' << levels.green.front() << ' '
               << levels.blue.front() << ", white " << levels.red.back() << ' ' << levels.green.back() << ' '
               << levels.blue.back();
}

namespace testing {

namespace {

constexpr std::uint16_t kWidth = 1024;
constexpr std::uint16_t kHeight = 768;

void demand(bool isAccepted) {
    if (!isAccepted) throw std::runtime_error("the X server refuses");
}

}  // namespace

RampLevels calibrationRamp(unsigned seed) {
    const auto channel = [](double gamma, double white) {
        std::vector<std::uint16_t> levels;
        for (int i = 0; i < 256; ++i)
            levels.push_back(static_cast<std::uint16_t>(std::lround(65535.0 * white * std::pow(i / 255.0, gamma))));
        return levels;
    };
    const double shift = 0.01 * (seed % 16 + 1);
    return {channel(1.0 + shift, 1.0), channel(1.05 + shift, 1.0 - shift / 8), channel(1.1 - shift, 0.97 - shift / 4)};
}

XGamma::XGamma(const std::string& address) : XClient(address) {
    const auto resources = need(xcb_randr_get_screen_resources_current_reply,
                                xcb_randr_get_screen_resources_current(connection(), root()));
    for (auto mode = xcb_randr_get_screen_resources_current_modes_iterator(resources.get()); mode.rem > 0;
         xcb_randr_mode_info_next(&mode)) {
        if (mode.data->width == kWidth && mode.data->height == kHeight) mode_ = mode.data->id;
    }
    for (const auto id : std::span(xcb_randr_get_screen_resources_current_outputs(resources.get()),
                                   std::size_t{resources->num_outputs})) {
        const auto info = need(xcb_randr_get_output_info_reply,
                               xcb_randr_get_output_info(connection(), id, resources->config_timestamp));
        const auto* const name = xcb_randr_get_output_info_name(info.get());
        const bool isOn = info->crtc != 0;
        outputs_[{name, name + info->name_len}] = {id, isOn ? info->crtc : *xcb_randr_get_output_info_crtcs(info.get()),
                                                   isOn};
    }
}

void XGamma::arrange(std::size_t count) {
    const auto width = static_cast<std::uint16_t>(std::max<std::size_t>(count, 4) * kWidth);
    demand(accepts(xcb_randr_set_screen_size_checked(connection(), root(), width, kHeight, width / 4U, kHeight / 4)));
    for (std::size_t i = 0; i < outputs_.size(); ++i)
        configure(outputs_.at("DUMMY" + std::to_string(i)), static_cast<int>(i) * kWidth, i < count);
}

void XGamma::configure(Output& output, int x, bool isOn) {
    if (output.isOn == isOn) return;
    // Refused where it has the mode already.
    static_cast<void>(accepts(xcb_randr_add_output_mode_checked(connection(), output.id, mode_)));
    const auto reply = need(xcb_randr_set_crtc_config_reply,
                            xcb_randr_set_crtc_config(connection(), output.crtc, XCB_CURRENT_TIME, XCB_CURRENT_TIME,
                                                      static_cast<std::int16_t>(isOn ? x : 0), 0, isOn ? mode_ : 0,
                                                      XCB_RANDR_ROTATION_ROTATE_0, isOn ? 1 : 0, &output.id));
    demand(reply->status == XCB_RANDR_SET_CONFIG_SUCCESS);
    output.isOn = isOn;
}

std::vector<std::string> XGamma::enabledOutputs() const {
    std::vector<std::string> names;
    for (const auto& [name, output] : outputs_)
        if (output.isOn) names.push_back(name);
    return names;
}

void XGamma::setRamp(const std::string& output, const RampLevels& ramp) {
    demand(accepts(xcb_randr_set_crtc_gamma_checked(connection(), outputs_.at(output).crtc,
                                                    static_cast<std::uint16_t>(ramp.size()), ramp.red.data(),
                                                    ramp.green.data(), ramp.blue.data())));
}

Ramps XGamma::ramps(const std::vector<std::string>& outputs) const {
    std::vector<xcb_randr_get_crtc_gamma_cookie_t> asked;
    for (const auto& name : outputs) asked.push_back(xcb_randr_get_crtc_gamma(connection(), outputs_.at(name).crtc));
    Ramps ramps;
    for (std::size_t i = 0; i < outputs.size(); ++i) {
        const auto reply = need(xcb_randr_get_crtc_gamma_reply, asked[i]);
        const auto channel = [&](const std::uint16_t* first) {
            return std::vector<std::uint16_t>(first, first + reply->size);
        };
        ramps[outputs[i]] = {channel(xcb_randr_get_crtc_gamma_red(reply.get())),
                             channel(xcb_randr_get_crtc_gamma_green(reply.get())),
                             channel(xcb_randr_get_crtc_gamma_blue(reply.get()))};
    }
    return ramps;
}

void XGamma::setEdid(const std::string& output, std::span<const std::uint8_t> edid) {
    const auto id = outputs_.at(output).id;
    const auto size = static_cast<std::uint32_t>(edid.size());
    demand(accepts(edid.empty()
                       ? xcb_randr_delete_output_property_checked(connection(), id, atom("EDID"))
                       : xcb_randr_change_output_property_checked(connection(), id, atom("EDID"), XCB_ATOM_INTEGER, 8,
                                                                  XCB_PROP_MODE_REPLACE, size, edid.data())));
}

std::vector<std::uint32_t> XGamma::matrix(const std::string& output) const {
    const auto reply = answer(xcb_randr_get_output_property_reply,
                              xcb_randr_get_output_property(connection(), outputs_.at(output).id, atom("CTM"),
                                                            XCB_GET_PROPERTY_TYPE_ANY, 0, 18, 0, 0));
    if (!reply || reply->format != 32) return {};
    const auto* words = reinterpret_cast<const std::uint32_t*>(xcb_randr_get_output_property_data(reply.get()));
    return {words, words + reply->num_items};
}

void XGamma::setMatrix(const std::string& output, std::span<const std::uint32_t> words) {
    demand(accepts(xcb_randr_change_output_property_checked(connection(), outputs_.at(output).id, atom("CTM"),
                                                            XCB_ATOM_INTEGER, 32, XCB_PROP_MODE_REPLACE,
                                                            static_cast<std::uint32_t>(words.size()), words.data())));
}

void XGamma::setRootProperty(const std::string& name, std::span<const std::uint8_t> value) {
    demand(
        accepts(xcb_change_property_checked(connection(), XCB_PROP_MODE_REPLACE, root(), atom(name), XCB_ATOM_CARDINAL,
                                            8, static_cast<std::uint32_t>(value.size()), value.data())));
}

}  // namespace testing
}  // namespace dravo
