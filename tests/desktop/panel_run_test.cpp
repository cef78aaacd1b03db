#include "desktop/panel_run_test.h"

#include <filesystem>
#include <sstream>

namespace dravo::testing {

namespace {

constexpr const char* kManager = "/usr/bin/openbox";

/// What is missing for such a desktop; empty when nothing is.
std::string missingPart() {
    if (!std::filesystem::exists(kManager)) return "openbox";
    if (!PrivateBus::isInstalled()) return "dbus-daemon";
    if (!AccessibilityBus::isInstalled()) return "at-spi2-core";
    if (!TrayHost::isInstalled(TrayHost::Kind::xembed)) return "tint2";
    if (!TrayHost::isInstalled(TrayHost::Kind::notifier)) return "xfce4-panel";
    return {};
}

}  // namespace

void PanelRunTest::SetUp() {
    if (const std::string missing = missingPart(); !missing.empty()) {
        if (std::getenv("DRAVO_REQUIRE_DESKTOP")) FAIL() << missing << " is not installed";
        GTEST_SKIP() << missing << " is not installed";
    }
    FilterRunTest::SetUp();
    if (IsSkipped() || HasFatalFailure()) return;
    preferSeen();
    bus_.emplace();
    windows_.emplace(server().address());
    pointer_.emplace(server().address());
    keyboard_.emplace(server().address());
    auto environment = session();
    environment["HOME"] = sessionHome_.path();
    environment["PATH"] = "/usr/bin:/bin";
    manager_.emplace(kManager, ChildProcess::Options{.environment = environment});
    accessibility_.emplace(bus_->address(), server().address(), sessionHome_);
    reader_.emplace(accessibility_->address());
    ASSERT_TRUE(soon([&] { return windows_->areManaged(); })) << manager_->standardError();
}

PanelRunTest::Run PanelRunTest::startWithIcon(std::vector<std::string> arguments) {
    Run run = startProgram(std::move(arguments));
    EXPECT_TRUE(soon([&] { return iconPlace().has_value(); })) << "no icon\n" << run->standardError();
    EXPECT_TRUE(soonFiltered()) << run->standardError();
    return run;
}

PanelRunTest::Run PanelRunTest::startWithPanel(const std::filesystem::path& program) {
    Run run = startProgram({}, program);
    EXPECT_TRUE(soonFiltered()) << run->standardError();
    EXPECT_TRUE(soon([&] { return openPanel(); })) << scene() << run->standardError();
    return run;
}

std::string PanelRunTest::scene() {
    const auto shown = panel();
    std::ostringstream told;
    told << (shown ? "the panel is open, " : "no panel, ");
    if (shown) told << shown->box;
    told << ", keys go to '" << windows_->focusedProgram() << "'\n";
    return told.str();
}

bool PanelRunTest::openPanel() {
    const Run asking = startProgram({"panel"});
    if (asking->waitForExit() != ExitStatus::exited(0)) return false;
    return waitUntil([&] { return isPanelOpen() && windows_->focusedProgram() == "dravo"; }, kPatience / 5);
}

std::string PanelRunTest::command(std::vector<std::string> words, int code) {
    const Run run = startProgram(std::move(words));
    EXPECT_EQ(run->waitForExit(), ExitStatus::exited(code)) << run->standardError();
    return run->standardOutput() + run->standardError();
}

std::optional<XWindows::Window> PanelRunTest::panel() {
    for (auto& window : windows_->of("dravo")) {
        if (window.isManaged && window.box.width >= 320) return window;
    }
    return std::nullopt;
}

std::optional<XWindows::Window> PanelRunTest::menu() {
    for (const char* program : {"dravo", "wrapper-2.0"}) {
        for (const auto& window : windows_->of(program)) {
            if (!window.isManaged && window.box.height > 60) return window;
        }
    }
    return std::nullopt;
}

void PanelRunTest::clickIcon(Button button) {
    std::optional<Place> place;
    ASSERT_TRUE(soon([&] { return (place = iconPlace()).has_value(); })) << "the icon is not there";
    pointer_->click(*place, button);
}

void PanelRunTest::clickEntry(int entry, int count) {
    Box box;
    const auto placeOf = [&](int row) {
        return Place{box.x + box.width / 2, box.y + box.height * (2 * row + 1) / (2 * count)};
    };
    const auto edgeOf = [&](int row) { return windows_->picture({box.x + 8, placeOf(row).y, 1, 1}); };
    // Before the entry has lit up, a host's menu may change its size and take a click for one outside.
    const auto isReady = [&] {
        const auto shown = menu();
        if (shown && shown->box == box) return edgeOf(entry) != edgeOf(entry == count - 1 ? 0 : count - 1);
        if (!shown) return false;
        box = shown->box;
        pointer_->moveTo(placeOf(entry));
        return false;
    };
    ASSERT_TRUE(soon(isReady)) << (menu() ? "the entry does not light up" : "no menu");
    pointer_->click(placeOf(entry));
    EXPECT_TRUE(soon([&] { return !menu(); })) << "the menu stays";
}

bool PanelRunTest::openFromNewIcon() {
    for (int attempt = 0; attempt < 5; ++attempt) {
        clickIcon();
        // Soon enough for a busy host: a click that is late would come in addition to the next.
        if (waitUntil([&] { return isPanelOpen(); }, kPatience / 3)) return soonIsOpen();
    }
    return false;
}

void PanelRunTest::click(const std::string& name) {
    std::optional<ScreenReader::Control> control;
    ASSERT_TRUE(soon([&] { return (control = reader_->find(name)).has_value(); })) << name << " is not to be seen";
    pointer_->click(control->box.middle());
}

}  // namespace dravo::testing
