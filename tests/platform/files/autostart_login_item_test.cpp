#include "platform/files/autostart_login_item.h"

#include <gtest/gtest.h>

#include <fstream>

#include "support/child_process.h"
#include "support/environment_variable.h"
#include "support/temporary_folder.h"
#include "support/wait_until.h"

namespace dravo::files {
namespace {

using Status = LoginItemService::Status;
using testing::contentOf;

/// A home, a system and a program in a folder of the test's.
class AutostartLoginItemTest : public ::testing::Test {
protected:
    AutostartLoginItemTest() { makeProgram(program()); }

    [[nodiscard]] std::filesystem::path program() const { return folder_ / "bin/dravo"; }
    [[nodiscard]] std::filesystem::path own() const { return folder_ / "home/autostart/dravo.desktop"; }
    [[nodiscard]] std::filesystem::path system() const { return folder_ / "vendor/autostart/dravo.desktop"; }

    static void write(const std::filesystem::path& file, const std::string& text) {
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file) << text;
    }
    static void makeProgram(const std::filesystem::path& file) {
        testing::writeProgram(file, "echo \"$*\" > \"$0.ran\"");
    }
    /// An entry for the program, with more lines.
    [[nodiscard]] std::string entry(const std::string& more = {}) const {
        return "[Desktop Entry]\nType=Application\nName=Dravo\nExec=" + program().string() + "\n" + more;
    }
    [[nodiscard]] AutostartLoginItem item(std::vector<std::string> desktop = {}) {
        return AutostartLoginItem(
            {folder_ / "home", {folder_ / "site", folder_ / "vendor"}, std::move(desktop), program()});
    }

    testing::TemporaryFolder folder_;
};

TEST_F(AutostartLoginItemTest, ReadsFromTheEntryWhetherTheDesktopStartsIt) {
    const std::vector<std::string> gnome{"ubuntu", "GNOME"};
    const struct {
        std::string text;
        std::vector<std::string> desktop;
        Status status;
    } rows[] = {
        {entry(), {}, Status::enabled},
        {entry("Hidden=false\nX-GNOME-Autostart-enabled=true\n"), gnome, Status::enabled},
        {entry("Hidden=true\n"), {}, Status::requiresApproval},
        {entry("Hidden = true \n"), {}, Status::requiresApproval},
        {entry("Hidden=1\n"), {}, Status::requiresApproval},
        {entry("X-GNOME-Autostart-enabled=false\n"), {}, Status::requiresApproval},
        {entry("X-GNOME-Autostart-enabled=0\n"), {}, Status::requiresApproval},
        {entry("X-MATE-Autostart-enabled=false\n"), {}, Status::requiresApproval},
        {entry("[Desktop Action off]\nHidden=true\n"), {}, Status::enabled},
        {entry("#Hidden=true\n"), {}, Status::enabled},
        {entry("NotShowIn=KDE;GNOME;\n"), gnome, Status::requiresApproval},
        {entry("NotShowIn=KDE;GNOME;\n"), {"XFCE"}, Status::enabled},
        {entry("NotShowIn=KDE\n"), {}, Status::enabled},
        {entry("OnlyShowIn=GNOME\n"), gnome, Status::enabled},
        {entry("OnlyShowIn=KDE;XFCE;\n"), gnome, Status::requiresApproval},
        {entry("OnlyShowIn=KDE;\n"), {}, Status::requiresApproval},
        {entry("OnlyShowIn=ubuntu;\nNotShowIn=GNOME;\n"), gnome, Status::enabled},
        {entry("TryExec=/nowhere/dravo\n"), {}, Status::notFound},
        {entry("TryExec=sh\n"), {}, Status::enabled},
        {"[Desktop Entry]\nType=Application\nExec=/nowhere/dravo --autostart\n", {}, Status::notFound},
        {"[Desktop Entry]\nType=Application\nExec=\"" + program().string() + "\n", {}, Status::notFound},
        {"[Desktop Entry]\nType=Application\n", {}, Status::notFound},
        {"[Desktop Entry]\nExec=" + program().string() + "\n", {}, Status::notFound},
        {"[Desktop Entry]\nType=Link\nExec=" + program().string() + "\n", {}, Status::notFound},
        {"# Ours\n\n[Desktop Entry]\r\nType=Application\r\nExec=sh -c \"dravo\"\r\n", {}, Status::enabled},
        {"no entry at all", {}, Status::notRegistered},
        {"", {}, Status::notRegistered},
    };
    EXPECT_EQ(item().status(), Status::notRegistered);
    for (const auto& row : rows) {
        write(own(), row.text);
        EXPECT_EQ(item(row.desktop).status(), row.status) << row.text;
        std::filesystem::remove(own());
        write(system(), row.text);
        EXPECT_EQ(item(row.desktop).status(), row.status) << "the system's: " << row.text;
        std::filesystem::remove(system());
    }
}

TEST_F(AutostartLoginItemTest, ComesAndGoesWithAFile) {
    ASSERT_TRUE(item().unregisterItem()) << "nothing to do";
    ASSERT_TRUE(item().registerItem());
    EXPECT_EQ(item().status(), Status::enabled);
    EXPECT_NE(contentOf(own()).find("\nExec=\"" + program().string() + "\" --autostart\n"), std::string::npos);
    const std::string written = contentOf(own());
    ASSERT_TRUE(item().registerItem());
    EXPECT_EQ(contentOf(own()), written);
    ASSERT_TRUE(item().unregisterItem());
    EXPECT_FALSE(std::filesystem::exists(own()));
}

TEST_F(AutostartLoginItemTest, KeepsWhatElseTheEntrySays) {
    const std::string more = "X-Delay=5\nName[de]=Dravo\n\n[Desktop Action off]\nHidden=true\n";
    write(own(), "# Mine\n" + entry("Hidden=true\nX-GNOME-Autostart-enabled=false\n" + more));
    ASSERT_TRUE(item().registerItem());
    EXPECT_EQ(contentOf(own()), "# Mine\n" + entry("X-GNOME-Autostart-enabled=true\n" + more)) << "the command too";

    write(own(), entry("TryExec=/gone/dravo\n"));
    ASSERT_TRUE(item().registerItem());
    EXPECT_EQ(contentOf(own()), entry()) << "what is tried is gone, the command is not";

    const std::string ours = "Exec=\"" + program().string() + "\" --autostart\n";
    write(own(), "[Desktop Entry]\nType=Application\nName=D\nExec=/gone/dravo\nTryExec=/gone/dravo\n" + more);
    ASSERT_TRUE(item().registerItem());
    EXPECT_EQ(contentOf(own()), "[Desktop Entry]\nType=Application\nName=D\n" + ours + more);

    // What is left where a desktop or a person switched the system's off.
    write(own(), "[Desktop Entry]\nHidden=true\n");
    ASSERT_TRUE(item().registerItem());
    EXPECT_EQ(contentOf(own()), "[Desktop Entry]\nType=Application\nName=Dravo\n" + ours);
    EXPECT_EQ(item().status(), Status::enabled);

    write(own(), "not an entry");
    ASSERT_TRUE(item().registerItem());
    EXPECT_EQ(item().status(), Status::enabled);
    EXPECT_EQ(contentOf(own().string() + ".bad"), "not an entry");
}

TEST_F(AutostartLoginItemTest, OverridesTheSystemsEntryWithOneOfThePersonsOwn) {
    write(system(), entry("X-Vendor=1\n"));
    EXPECT_EQ(item().status(), Status::enabled);
    ASSERT_TRUE(item().registerItem());
    EXPECT_FALSE(std::filesystem::exists(own())) << "it is on already";
    ASSERT_TRUE(item().unregisterItem());
    EXPECT_NE(item().status(), Status::enabled);
    EXPECT_EQ(contentOf(own()), entry("X-Vendor=1\nHidden=true\n"));
    ASSERT_TRUE(item().registerItem());
    EXPECT_EQ(item().status(), Status::enabled);

    std::filesystem::remove(own());
    write(folder_ / "site/autostart/dravo.desktop", entry("Hidden=true\n"));
    EXPECT_EQ(item().status(), Status::requiresApproval) << "the first of the system's folders counts";
    EXPECT_EQ(contentOf(system()), entry("X-Vendor=1\n"));
}

TEST_F(AutostartLoginItemTest, RefusesWhatWouldNotStart) {
    write(own(), entry("NotShowIn=GNOME;\nHidden=true\n"));
    const auto refused = item({"GNOME"}).registerItem();
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.error().code, ErrorCode::PermissionDenied);
    EXPECT_EQ(contentOf(own()), entry("NotShowIn=GNOME;\nHidden=true\n")) << "untouched";

    const auto at = [&](const std::filesystem::path& home, const std::filesystem::path& program) {
        return AutostartLoginItem({home, {}, {}, program}).registerItem();
    };
    EXPECT_EQ(at(folder_ / "other", folder_ / "a=b/dravo").error().code, ErrorCode::InvalidInput);
    EXPECT_EQ(at(folder_ / "other", "").error().code, ErrorCode::InvalidInput);
    EXPECT_EQ(at("", program()).error().code, ErrorCode::NotFound);
    EXPECT_EQ(AutostartLoginItem({"", {}, {}, program()}).status(), Status::notRegistered);
    write(folder_ / "file", "");
    EXPECT_FALSE(at(folder_ / "file", program()));
    EXPECT_FALSE(std::filesystem::exists(folder_ / "other/autostart/dravo.desktop"));
}

TEST_F(AutostartLoginItemTest, StartsAProgramWithAnyName) {
    for (const std::string name : {"with blank", "$HOME", "`id`", "a\"b", "a'b", "a\\b", "\\n", "100%", "%f", "a;b&c|d",
                                   "~", "(x)", "line\nbreak", "tab\tulator", "dräv"}) {
        const auto program = folder_ / "odd" / name / "dravo";
        makeProgram(program);
        std::filesystem::remove(folder_ / "odd-home/autostart/dravo.desktop");
        AutostartLoginItem item({folder_ / "odd-home", {}, {}, program});
        ASSERT_TRUE(item.registerItem()) << name;
        EXPECT_EQ(item.status(), Status::enabled) << name;
        // GNOME's library reads and starts it, but for a percent sign, which it refuses in any spelling.
        if (name.find('%') != std::string::npos) continue;
        testing::ChildProcess desktop("/usr/bin/gio",
                                      {.arguments = {"launch", folder_ / "odd-home/autostart/dravo.desktop"}});
        EXPECT_EQ(desktop.waitForExit(), testing::ExitStatus::exited(0)) << desktop.standardError();
        EXPECT_TRUE(testing::waitUntil([&] { return contentOf(program.string() + ".ran") == "--autostart\n"; }))
            << name;
    }
}

TEST_F(AutostartLoginItemTest, FindsItsPlaceInTheEnvironment) {
    testing::EnvironmentVariable dirs("XDG_CONFIG_DIRS");
    const testing::EnvironmentVariable desktop("XDG_CURRENT_DESKTOP", "ubuntu:GNOME");
    using Paths = std::vector<std::filesystem::path>;
    for (const auto& [listed, expected] : {std::pair("/a::b:/d", Paths{"/a", "/d"}), {"", Paths{"/etc/xdg"}}}) {
        dirs.set(listed);
        const auto place = AutostartPlace::ofThisProcess("/c");
        EXPECT_EQ(place.configHome, "/c");
        EXPECT_EQ(place.configDirs, expected);
        EXPECT_EQ(place.currentDesktop, (std::vector<std::string>{"ubuntu", "GNOME"}));
        EXPECT_TRUE(std::filesystem::equivalent(place.program, "/proc/self/exe"));
    }
}

}  // namespace
}  // namespace dravo::files
