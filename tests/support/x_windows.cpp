#include "support/x_windows.h"

#include <ostream>
#include <span>

namespace dravo::testing {

std::ostream& operator<<(std::ostream& out, const Box& box) {
    return out << box.width << 'x' << box.height << '+' << box.x << '+' << box.y;
}

xcb_get_property_cookie_t XWindows::askFor(xcb_window_t window, xcb_atom_t name) const {
    return xcb_get_property(connection(), 0, window, name, XCB_GET_PROPERTY_TYPE_ANY, 0, 64);
}

std::string XWindows::textOf(xcb_get_property_cookie_t cookie) const {
    const auto reply = answer(xcb_get_property_reply, cookie);
    if (!reply) return {};
    return {static_cast<const char*>(xcb_get_property_value(reply.get())),
            static_cast<std::size_t>(xcb_get_property_value_length(reply.get()))};
}

// Of "instance\0Class\0" the first word.
std::string XWindows::nameOf(xcb_get_property_cookie_t classes) const { return textOf(classes).c_str(); }

// Level by level, each asked for as a whole. A window that goes while we look answers with an error: not there.
std::vector<XWindows::Window> XWindows::of(const std::string& program) const {
    struct Asked {
        Place parent;
        xcb_get_window_attributes_cookie_t attributes;
        xcb_get_geometry_cookie_t geometry;
        xcb_get_property_cookie_t classes;
        xcb_query_tree_cookie_t tree;
    };
    auto* const c = connection();
    const auto ask = [&](xcb_window_t window, Place parent) {
        return Asked{parent, xcb_get_window_attributes(c, window), xcb_get_geometry(c, window),
                     askFor(window, XCB_ATOM_WM_CLASS), xcb_query_tree(c, window)};
    };
    std::vector<Window> windows;
    std::vector<Asked> level{ask(root(), {})};
    while (!level.empty()) {
        std::vector<Asked> next;
        for (const Asked& one : level) {
            const auto attributes = answer(xcb_get_window_attributes_reply, one.attributes);
            const auto geometry = answer(xcb_get_geometry_reply, one.geometry);
            const std::string name = nameOf(one.classes);
            const auto tree = answer(xcb_query_tree_reply, one.tree);
            if (!attributes || !geometry || !tree || attributes->map_state != XCB_MAP_STATE_VIEWABLE) continue;
            const Place place{one.parent.x + geometry->x + geometry->border_width,
                              one.parent.y + geometry->y + geometry->border_width};
            if (name == program)
                windows.push_back(
                    {{place.x, place.y, geometry->width, geometry->height}, attributes->override_redirect == 0});
            for (const xcb_window_t child :
                 std::span(xcb_query_tree_children(tree.get()), std::size_t{tree->children_len}))
                next.push_back(ask(child, place));
        }
        level = std::move(next);
    }
    return windows;
}

std::string XWindows::focusedProgram() const {
    auto* const c = connection();
    // The focus may be on a child that has no class of its own.
    xcb_window_t window = need(xcb_get_input_focus_reply, xcb_get_input_focus(c))->focus;
    while (window > XCB_INPUT_FOCUS_POINTER_ROOT && window != root()) {
        const auto name = nameOf(askFor(window, XCB_ATOM_WM_CLASS));
        if (!name.empty()) return name;
        const auto tree = answer(xcb_query_tree_reply, xcb_query_tree(c, window));
        window = tree ? tree->parent : root();
    }
    return {};
}

std::vector<std::uint32_t> XWindows::picture(const Box& box) const {
    const auto image =
        answer(xcb_get_image_reply,
               xcb_get_image(connection(), XCB_IMAGE_FORMAT_Z_PIXMAP, root(), static_cast<std::int16_t>(box.x),
                             static_cast<std::int16_t>(box.y), static_cast<std::uint16_t>(box.width),
                             static_cast<std::uint16_t>(box.height), ~0U));
    if (!image) return {};
    const auto* const first = reinterpret_cast<const std::uint32_t*>(xcb_get_image_data(image.get()));
    return {first, first + xcb_get_image_data_length(image.get()) / 4};
}

bool XWindows::areManaged() const { return !textOf(askFor(root(), atom("_NET_SUPPORTING_WM_CHECK"))).empty(); }

}  // namespace dravo::testing
