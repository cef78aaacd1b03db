#include "platform/x11/x11_topology.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <string_view>

#include "base/localized.h"
#include "display/display_identity.h"
#include "display/icc_profile.h"

namespace dravo::x11 {

namespace {

constexpr std::uint32_t kMaxEdidWords = 64 * 1024 / 4;
constexpr std::uint32_t kMaxProfileWords = 4 * 1024 * 1024 / 4;

xcb_intern_atom_cookie_t intern(xcb_connection_t* connection, std::string_view name) {
    return xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.data());
}

xcb_query_extension_cookie_t queryExtension(xcb_connection_t* connection, std::string_view name) {
    return xcb_query_extension(connection, static_cast<std::uint16_t>(name.size()), name.data());
}

xcb_atom_t atomOf(xcb_connection_t* connection, xcb_intern_atom_cookie_t cookie) {
    const auto reply = fetchReply(connection, xcb_intern_atom_reply, cookie);
    return reply ? reply->atom : static_cast<xcb_atom_t>(XCB_NONE);
}

using Bytes = std::vector<std::uint8_t>;

Bytes bytesOf(const Reply<xcb_randr_get_output_property_reply_t>& reply) {
    if (!reply || reply->format != 8) return {};
    const auto* data = xcb_randr_get_output_property_data(reply.get());
    return {data, data + xcb_randr_get_output_property_data_length(reply.get())};
}

Bytes bytesOf(const Reply<xcb_get_property_reply_t>& reply) {
    if (!reply || reply->format != 8) return {};
    const auto* data = static_cast<const std::uint8_t*>(xcb_get_property_value(reply.get()));
    return {data, data + xcb_get_property_value_length(reply.get())};
}

struct OutputQuery {
    xcb_randr_get_output_info_cookie_t info;
    xcb_randr_get_output_property_cookie_t edid;
    xcb_randr_get_output_property_cookie_t profile;
    xcb_randr_get_output_property_cookie_t matrix;
};

xcb_randr_get_output_property_cookie_t askProperty(xcb_connection_t* connection, xcb_randr_output_t output,
                                                   xcb_atom_t property, std::uint32_t maxWords) {
    return xcb_randr_get_output_property(connection, output, property, XCB_GET_PROPERTY_TYPE_ANY, 0, maxWords, 0, 0);
}

/// But for its calibration.
DeviceOutput readOutput(xcb_connection_t* connection, const OutputQuery& query) {
    DeviceOutput output;
    if (const auto info = fetchReply(connection, xcb_randr_get_output_info_reply, query.info)) {
        const auto* name = reinterpret_cast<const char*>(xcb_randr_get_output_info_name(info.get()));
        output.connector.assign(name, static_cast<std::size_t>(xcb_randr_get_output_info_name_length(info.get())));
        if (info->crtc != XCB_NONE) output.crtc = CrtcId{info->crtc};
        const auto* crtcs = xcb_randr_get_output_info_crtcs(info.get());
        for (int i = 0; i < xcb_randr_get_output_info_crtcs_length(info.get()); ++i)
            output.possibleCrtcs.push_back(CrtcId{crtcs[i]});
    }
    output.edid = bytesOf(fetchReply(connection, xcb_randr_get_output_property_reply, query.edid));
    return output;
}

/// Only atoms that somebody made already: most servers have none of these, and then nothing more is asked.
std::vector<xcb_intern_atom_cookie_t> askRootProfileAtoms(xcb_connection_t* connection) {
    std::vector<xcb_intern_atom_cookie_t> cookies;
    for (std::size_t monitor = 0; monitor < kMaxDisplays; ++monitor) {
        const std::string name = monitor == 0 ? "_ICC_PROFILE" : "_ICC_PROFILE_" + std::to_string(monitor);
        cookies.push_back(xcb_intern_atom(connection, 1, static_cast<std::uint16_t>(name.size()), name.data()));
    }
    return cookies;
}

std::vector<std::optional<xcb_get_property_cookie_t>> askRootProfiles(
    const Connection& connection, const std::vector<xcb_intern_atom_cookie_t>& atomCookies) {
    std::vector<std::optional<xcb_get_property_cookie_t>> cookies;
    for (const auto atomCookie : atomCookies) {
        const xcb_atom_t atom = atomOf(connection.get(), atomCookie);
        cookies.emplace_back();
        if (atom != XCB_NONE)
            cookies.back() = xcb_get_property(connection.get(), 0, connection.root, atom, XCB_GET_PROPERTY_TYPE_ANY, 0,
                                              kMaxProfileWords);
    }
    return cookies;
}

/// Where profiles are set: on outputs, in their order, and on the root window, by monitor number. Monitors are numbered
/// as Xinerama does: the primary output's CRTC first, then the others in the server's order.
struct Profiles {
    std::vector<Bytes> ofOutputs;
    std::vector<Bytes> ofMonitors;
    std::vector<CrtcId> monitors;

    /// The display's on `crtc`; empty without. Of several outputs one stands for them all.
    [[nodiscard]] Bytes of(CrtcId crtc, const std::vector<DeviceOutput>& outputs) const {
        std::vector<std::size_t> mirrored;
        std::vector<std::string> names;
        for (std::size_t i = 0; i < outputs.size(); ++i) {
            if (outputs[i].crtc != crtc) continue;
            mirrored.push_back(i);
            names.push_back(outputs[i].connector);
        }
        if (const auto& own = ofOutputs[mirrored[representativeOutput(names)]]; !own.empty()) return own;
        const auto number = static_cast<std::size_t>(std::ranges::find(monitors, crtc) - monitors.begin());
        return number < ofMonitors.size() ? ofMonitors[number] : Bytes{};
    }
};

}  // namespace

Error disconnected() { return Error{ErrorCode::Disconnected, textKey("the display server is gone")}; }

Error waylandSession() {
    return Error{ErrorCode::Unsupported, textKey("this is a Wayland session: its X server cannot tint the screen")};
}

Result<ServerFacts> negotiate(const Connection& connection) {
    auto* xcb = connection.get();
    xcb_prefetch_extension_data(xcb, &xcb_randr_id);
    const auto waylandCookie = queryExtension(xcb, "XWAYLAND");
    const std::array atoms{intern(xcb, "EDID"), intern(xcb, "_ICC_PROFILE"), intern(xcb, "CTM")};

    const auto* randr = xcb_get_extension_data(xcb, &xcb_randr_id);
    if (connection.isBroken()) return disconnected();
    if (!randr || !randr->present)
        return Error{ErrorCode::Unsupported, textKey("this X server has no RandR extension")};
    const auto versionCookie = xcb_randr_query_version(xcb, XCB_RANDR_MAJOR_VERSION, XCB_RANDR_MINOR_VERSION);
    xcb_randr_select_input(xcb, connection.root,
                           XCB_RANDR_NOTIFY_MASK_SCREEN_CHANGE | XCB_RANDR_NOTIFY_MASK_CRTC_CHANGE |
                               XCB_RANDR_NOTIFY_MASK_OUTPUT_CHANGE | XCB_RANDR_NOTIFY_MASK_OUTPUT_PROPERTY);

    const auto wayland = fetchReply(xcb, xcb_query_extension_reply, waylandCookie);
    if (wayland && wayland->present) return waylandSession();
    ServerFacts facts;
    facts.randrFirstEvent = randr->first_event;
    facts.edid = atomOf(xcb, atoms[0]);
    facts.iccProfile = atomOf(xcb, atoms[1]);
    facts.matrix = atomOf(xcb, atoms[2]);
    const auto version = fetchReply(xcb, xcb_randr_query_version_reply, versionCookie);
    if (!version) return disconnected();
    if (version->major_version < 1 || (version->major_version == 1 && version->minor_version < 3))
        return Error{ErrorCode::Unsupported, textKey("this X server's RandR extension is older than 1.3")};
    return facts;
}

RampLevels levelsOf(const xcb_randr_get_crtc_gamma_reply_t& reply) {
    const auto* red = xcb_randr_get_crtc_gamma_red(&reply);
    const auto* green = xcb_randr_get_crtc_gamma_green(&reply);
    const auto* blue = xcb_randr_get_crtc_gamma_blue(&reply);
    return {{red, red + reply.size}, {green, green + reply.size}, {blue, blue + reply.size}};
}

Result<std::vector<RampLevels>> readLevels(const Connection& connection, std::span<const CrtcId> crtcs) {
    std::vector<xcb_randr_get_crtc_gamma_cookie_t> cookies;
    cookies.reserve(crtcs.size());
    for (const auto crtc : crtcs) cookies.push_back(xcb_randr_get_crtc_gamma(connection.get(), native(crtc)));
    std::vector<RampLevels> levels;
    levels.reserve(crtcs.size());
    for (const auto cookie : cookies) {
        const auto reply = fetchReply(connection.get(), xcb_randr_get_crtc_gamma_reply, cookie);
        levels.push_back(reply ? levelsOf(*reply) : RampLevels{});
    }
    if (connection.isBroken()) return disconnected();
    return levels;
}

Result<Topology> queryTopology(const Connection& connection, const ServerFacts& facts) {
    auto* xcb = connection.get();
    const auto profileAtoms = askRootProfileAtoms(xcb);
    const auto primaryCookie = xcb_randr_get_output_primary(xcb, connection.root);
    const auto resources = fetchReply(xcb, xcb_randr_get_screen_resources_current_reply,
                                      xcb_randr_get_screen_resources_current(xcb, connection.root));
    if (!resources) return disconnected();
    const auto* outputIds = xcb_randr_get_screen_resources_current_outputs(resources.get());
    const auto outputCount =
        static_cast<std::size_t>(xcb_randr_get_screen_resources_current_outputs_length(resources.get()));
    const auto* crtcIds = xcb_randr_get_screen_resources_current_crtcs(resources.get());
    const auto crtcCount =
        static_cast<std::size_t>(xcb_randr_get_screen_resources_current_crtcs_length(resources.get()));

    const auto profileCookies = askRootProfiles(connection, profileAtoms);
    std::vector<OutputQuery> outputQueries;
    outputQueries.reserve(outputCount);
    for (std::size_t i = 0; i < outputCount; ++i) {
        outputQueries.push_back({xcb_randr_get_output_info(xcb, outputIds[i], XCB_CURRENT_TIME),
                                 askProperty(xcb, outputIds[i], facts.edid, kMaxEdidWords),
                                 askProperty(xcb, outputIds[i], facts.iccProfile, kMaxProfileWords),
                                 askProperty(xcb, outputIds[i], facts.matrix, 0)});
    }
    std::vector<CrtcId> crtcs;
    std::transform(crtcIds, crtcIds + crtcCount, std::back_inserter(crtcs), [](auto id) { return CrtcId{id}; });
    auto levels = readLevels(connection, crtcs);
    if (!levels) return levels.error();

    Topology topology;
    Profiles profiles;
    std::optional<CrtcId> primaryCrtc;
    const auto primary = fetchReply(xcb, xcb_randr_get_output_primary_reply, primaryCookie);
    for (const auto cookie : profileCookies)
        profiles.ofMonitors.push_back(cookie ? bytesOf(fetchReply(xcb, xcb_get_property_reply, *cookie)) : Bytes{});
    auto& outputs = topology.device.outputs;
    for (std::size_t i = 0; i < outputCount; ++i) {
        outputs.push_back(readOutput(xcb, outputQueries[i]));
        if (primary && primary->output == outputIds[i]) primaryCrtc = outputs.back().crtc;
        const auto fetchProperty = [&](auto cookie) {
            return fetchReply(xcb, xcb_randr_get_output_property_reply, cookie);
        };
        profiles.ofOutputs.push_back(bytesOf(fetchProperty(outputQueries[i].profile)));
        const auto matrix = fetchProperty(outputQueries[i].matrix);
        if (matrix && matrix->type != XCB_NONE) topology.matrixOutputs.push_back(outputIds[i]);
    }
    for (std::size_t i = 0; i < crtcCount; ++i) {
        topology.device.crtcs.push_back({crtcs[i], std::move((*levels)[i])});
        if (std::ranges::find(outputs, crtcs[i], &DeviceOutput::crtc) != outputs.end())
            profiles.monitors.push_back(crtcs[i]);
    }
    std::stable_partition(profiles.monitors.begin(), profiles.monitors.end(),
                          [&](CrtcId crtc) { return crtc == primaryCrtc; });
    for (auto& output : outputs)
        if (output.crtc) output.calibration = calibrationOfProfile(profiles.of(*output.crtc, outputs));
    if (connection.isBroken()) return disconnected();
    return topology;
}

}  // namespace dravo::x11
