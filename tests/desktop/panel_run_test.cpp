#include "desktop/panel_run_test.h"

#include <sstream>

namespace dravo::testing {

PanelRunTest::PanelRunTest() {
    preferSeen();
    session()["DBUS_SESSION_BUS_ADDRESS"] = bus_.address();
    session()["QT_LINUX_ACCESSIBILITY_ALWAYS_ON"] = "1";
    if (!soon([&] { return windows_.areManaged(); })) throw std::runtime_error(manager_.standardError());
}

Environment PanelRunTest::sessionOfDesktop() {
    Environment environment = onServer();
    environment["DBUS_SESSION_BUS_ADDRESS"] = bus_.address();
    return sessionHome_.environment(environment);
}

PanelRunTest::Run PanelRunTest::startWithIcon(std::vector<std::string> arguments) {
    Run run = start(std::move(arguments));
    EXPECT_TRUE(soon([&] { return iconPlace().has_value(); })) << "no icon\n" << run->standardError();
    EXPECT_TRUE(soonFiltered()) << run->standardError();
    return run;
}

PanelRunTest::Run PanelRunTest::startWithPanel(const std::filesystem::path& program) {
    Run run = start({}, program);
    EXPECT_TRUE(soonFiltered()) << run->standardError();
    EXPECT_TRUE(soon([&] { return openPanel(); })) << scene() << run->standardError();
    return run;
}

std::string PanelRunTest::scene() {
    std::ostringstream told;
    if (const auto shown = panel()) told << "the panel is at " << *shown << ", ";
    told << "keys go to '" << windows_.focusedProgram() << "'\n";
    return told.str();
}

bool PanelRunTest::openPanel() {
    if (start({"panel"})->waitForExit() != ExitStatus::exited(0)) return false;
    return waitUntil([&] { return isOpen(); }, kPatience / 5);
}

std::optional<Box> PanelRunTest::panel() {
    for (const auto& window : windows_.of("dravo"))
        if (window.isManaged && window.box.width >= 320) return window.box;
    return std::nullopt;
}

std::optional<Box> PanelRunTest::menu() {
    for (const char* program : {"dravo", "wrapper-2.0"})
        for (const auto& window : windows_.of(program))
            if (!window.isManaged && window.box.height > 60) return window.box;
    return std::nullopt;
}

void PanelRunTest::clickIcon(Button button) {
    std::optional<Place> place;
    ASSERT_TRUE(soon([&] { return (place = iconPlace()).has_value(); })) << "the icon is not there";
    hands_.click(*place, button);
}

void PanelRunTest::clickEntry(int entry, int count) {
    Box box;
    const auto placeOf = [&](int row) {
        return Place{box.x + box.width / 2, box.y + box.height * (2 * row + 1) / (2 * count)};
    };
    const auto edgeOf = [&](int row) { return windows_.picture({box.x + 8, placeOf(row).y, 1, 1}); };
    // Before the entry has lit up, a host's menu may change its size and take a click for one outside.
    const auto isReady = [&] {
        const auto shown = menu();
        if (shown == box) return edgeOf(entry) != edgeOf(entry == count - 1 ? 0 : count - 1);
        if (!shown) return false;
        box = *shown;
        hands_.moveTo(placeOf(entry));
        return false;
    };
    ASSERT_TRUE(soon(isReady)) << (menu() ? "the entry does not light up" : "no menu");
    hands_.click(placeOf(entry));
    EXPECT_TRUE(soon([&] { return !menu(); })) << "the menu stays";
}

bool PanelRunTest::openFromNewIcon() {
    for (int attempt = 0; attempt < 5; ++attempt) {
        clickIcon();
        // Soon enough for a busy host: a click that is late would come in addition to the next.
        if (waitUntil([&] { return panel().has_value(); }, kPatience / 3)) return soonIsOpen();
    }
    return false;
}

void PanelRunTest::click(const std::string& name) {
    std::optional<ScreenReader::Control> control;
    ASSERT_TRUE(soon([&] { return (control = reader_.find(name)).has_value(); })) << name << " is not to be seen";
    hands_.click(control->box.middle());
}

}  // namespace dravo::testing
