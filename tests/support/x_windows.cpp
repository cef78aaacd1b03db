#include "support/x_windows.h"

#include <algorithm>
#include <ostream>
#include <stdexcept>
#include <string_view>

#include "base/owned.h"

namespace dravo::testing {

namespace {

Freed<xcb_get_property_reply_t> property(xcb_connection_t* connection, xcb_get_property_cookie_t cookie) {
    return Freed<xcb_get_property_reply_t>(xcb_get_property_reply(connection, cookie, nullptr));
}

xcb_get_property_cookie_t askFor(xcb_connection_t* connection, xcb_window_t window, xcb_atom_t name) {
    return xcb_get_property(connection, 0, window, name, XCB_GET_PROPERTY_TYPE_ANY, 0, 64);
}

std::string textOf(const Freed<xcb_get_property_reply_t>& reply) {
    if (!reply) return {};
    return {static_cast<const char*>(xcb_get_property_value(reply.get())),
            static_cast<std::size_t>(xcb_get_property_value_length(reply.get()))};
}

/// Of "instance\0Class\0" the first word.
std::string instanceOf(const std::string& classes) { return classes.substr(0, classes.find('\0')); }

}  // namespace

std::ostream& operator<<(std::ostream& out, const Box& box) {
    return out << box.width << 'x' << box.height << '+' << box.x << '+' << box.y;
}

XWindows::XWindows(const std::string& address) : connection_(xcb_connect(address.c_str(), nullptr), xcb_disconnect) {
    if (xcb_connection_has_error(connection_.get()) != 0) throw std::runtime_error("no X server at " + address);
    root_ = xcb_setup_roots_iterator(xcb_get_setup(connection_.get())).data->root;
}

/// A window to look at, and where its parent begins.
struct XWindows::Found {
    xcb_window_t id = 0;
    Place parent;
};

// Level by level, each in one round trip. A window that goes while we look answers with an error: not there.
std::vector<XWindows::Window> XWindows::of(const std::string& program) {
    struct Asked {
        Found window;
        xcb_get_window_attributes_cookie_t attributes;
        xcb_get_geometry_cookie_t geometry;
        xcb_get_property_cookie_t classes;
        xcb_get_property_cookie_t title;
        xcb_query_tree_cookie_t tree;
    };
    auto* const c = connection_.get();
    std::vector<Window> windows;
    std::vector<Found> level{{root_, {}}};
    while (!level.empty()) {
        std::vector<Asked> asked;
        for (const Found& window : level) {
            asked.push_back({window, xcb_get_window_attributes(c, window.id), xcb_get_geometry(c, window.id),
                             askFor(c, window.id, XCB_ATOM_WM_CLASS), askFor(c, window.id, XCB_ATOM_WM_NAME),
                             xcb_query_tree(c, window.id)});
        }
        level.clear();
        for (const Asked& one : asked) {
            const Freed<xcb_get_window_attributes_reply_t> attributes(
                xcb_get_window_attributes_reply(c, one.attributes, nullptr));
            const Freed<xcb_get_geometry_reply_t> geometry(xcb_get_geometry_reply(c, one.geometry, nullptr));
            const std::string classes = textOf(property(c, one.classes));
            const std::string title = textOf(property(c, one.title));
            const Freed<xcb_query_tree_reply_t> tree(xcb_query_tree_reply(c, one.tree, nullptr));
            if (!attributes || !geometry || !tree || attributes->map_state != XCB_MAP_STATE_VIEWABLE) continue;
            const Box box{one.window.parent.x + geometry->x + geometry->border_width,
                          one.window.parent.y + geometry->y + geometry->border_width, geometry->width,
                          geometry->height};
            if (instanceOf(classes) == program)
                windows.push_back({program, title, box, attributes->override_redirect == 0});
            const auto* const children = xcb_query_tree_children(tree.get());
            for (int i = 0; i < xcb_query_tree_children_length(tree.get()); ++i)
                level.push_back({children[i], {box.x, box.y}});
        }
    }
    return windows;
}

std::string XWindows::focusedProgram() {
    auto* const c = connection_.get();
    const Freed<xcb_get_input_focus_reply_t> focus(xcb_get_input_focus_reply(c, xcb_get_input_focus(c), nullptr));
    if (!focus) throw std::runtime_error("the X server does not say who has the focus");
    // The focus may be on a child that has no class of its own.
    for (xcb_window_t window = focus->focus; window > XCB_INPUT_FOCUS_POINTER_ROOT && window != root_;) {
        const auto classes = textOf(property(c, askFor(c, window, XCB_ATOM_WM_CLASS)));
        if (!classes.empty()) return instanceOf(classes);
        const Freed<xcb_query_tree_reply_t> tree(xcb_query_tree_reply(c, xcb_query_tree(c, window), nullptr));
        window = tree ? tree->parent : root_;
    }
    return {};
}

std::vector<std::uint32_t> XWindows::picture(const Box& box) {
    auto* const c = connection_.get();
    const auto cookie = xcb_get_image(c, XCB_IMAGE_FORMAT_Z_PIXMAP, root_, static_cast<std::int16_t>(box.x),
                                      static_cast<std::int16_t>(box.y), static_cast<std::uint16_t>(box.width),
                                      static_cast<std::uint16_t>(box.height), ~0U);
    const Freed<xcb_get_image_reply_t> image(xcb_get_image_reply(c, cookie, nullptr));
    if (!image) return {};
    const auto* const first = reinterpret_cast<const std::uint32_t*>(xcb_get_image_data(image.get()));
    return {first, first + xcb_get_image_data_length(image.get()) / 4};
}

bool XWindows::isBlank(const Box& box) {
    const auto pixels = picture(box);
    return std::ranges::all_of(pixels, [&](std::uint32_t pixel) { return pixel == pixels.front(); });
}

bool XWindows::areManaged() {
    auto* const c = connection_.get();
    constexpr std::string_view kName = "_NET_SUPPORTING_WM_CHECK";
    const Freed<xcb_intern_atom_reply_t> atom(
        xcb_intern_atom_reply(c, xcb_intern_atom(c, 0, kName.size(), kName.data()), nullptr));
    return atom && !textOf(property(c, askFor(c, root_, atom->atom))).empty();
}

OtherWindow::OtherWindow(const std::string& address, const Box& box)
    : connection_(xcb_connect(address.c_str(), nullptr), xcb_disconnect) {
    auto* const c = connection_.get();
    const auto* const screen = xcb_setup_roots_iterator(xcb_get_setup(c)).data;
    window_ = xcb_generate_id(c);
    xcb_create_window(c, XCB_COPY_FROM_PARENT, window_, screen->root, static_cast<std::int16_t>(box.x),
                      static_cast<std::int16_t>(box.y), static_cast<std::uint16_t>(box.width),
                      static_cast<std::uint16_t>(box.height), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual, 0,
                      nullptr);
    constexpr char kClass[] = "other\0Other";
    xcb_change_property(c, XCB_PROP_MODE_REPLACE, window_, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 8, sizeof(kClass),
                        kClass);
    xcb_map_window(c, window_);
    xcb_flush(c);
}

void OtherWindow::takeKeyboard() {
    xcb_set_input_focus(connection_.get(), XCB_INPUT_FOCUS_PARENT, window_, XCB_CURRENT_TIME);
    xcb_flush(connection_.get());
}

}  // namespace dravo::testing
