#include "platform/files/desktop_settings.h"

#include <gtest/gtest.h>

#include "support/environment_variable.h"
#include "support/memory/virtual_scheduler.h"
#include "support/polled_descriptors.h"
#include "support/temporary_folder.h"
#include "support/wait_until.h"

namespace dravo::files {
namespace {

using Page = SystemSettings::Page;

/// A desktop by its name, with stand-ins for its programs that write down what they are started with.
class DesktopSettingsTest : public ::testing::Test {
protected:
    void install(const std::string& program) {
        testing::writeProgram(folder_ / program, "echo " + program + " \"$@\" >'" + started().string() + "'");
    }
    void enter(const char* desktop) { desktop_.set(desktop); }

    /// What the last program was started with, once it has been.
    std::string startedWith() {
        std::string line;
        EXPECT_TRUE(testing::waitUntil([&] { return (line = testing::contentOf(started())).ends_with('\n'); }));
        std::filesystem::remove(started());
        return line;
    }

    testing::PolledDescriptors descriptors_;
    memory::VirtualScheduler scheduler_;
    DesktopSettings settings_{descriptors_, scheduler_};

private:
    [[nodiscard]] std::filesystem::path started() const { return folder_ / "started"; }

    testing::TemporaryFolder folder_;
    testing::EnvironmentVariable path_{"PATH", folder_.path().string() + ":/usr/bin:/bin"};
    testing::EnvironmentVariable desktop_{"XDG_CURRENT_DESKTOP"};
};

TEST_F(DesktopSettingsTest, OpensThePageOfTheDesktopThatRuns) {
    install("gnome-control-center");
    install("systemsettings");
    enter("ubuntu:GNOME");
    ASSERT_TRUE(settings_.offers(Page::notifications));
    settings_.open(Page::notifications);
    EXPECT_EQ(startedWith(), "gnome-control-center notifications\n");
    settings_.open(Page::location);
    EXPECT_EQ(startedWith(), "gnome-control-center location\n");

    enter("KDE");
    EXPECT_FALSE(settings_.offers(Page::location)) << "this desktop has no such page";
    settings_.open(Page::notifications);
    EXPECT_EQ(startedWith(), "systemsettings kcm_notifications\n");
}

TEST_F(DesktopSettingsTest, OffersNothingWhereTheProgramIsMissingOrTheDesktopUnknown) {
    enter("GNOME");
    EXPECT_FALSE(settings_.offers(Page::notifications));
    install("gnome-control-center");
    EXPECT_TRUE(settings_.offers(Page::notifications));
    enter("a-desktop-of-next-year");
    EXPECT_FALSE(settings_.offers(Page::notifications));
    enter(nullptr);
    EXPECT_FALSE(settings_.offers(Page::notifications));
}

TEST_F(DesktopSettingsTest, OpensOnlySecureLinksAndHandsThemOverAsTheyStand) {
    install("xdg-open");
    settings_.openLink("http://example.org/");
    settings_.openLink("https://example.org/?a=$(touch x)&b='c d'");
    EXPECT_EQ(startedWith(), "xdg-open https://example.org/?a=$(touch x)&b='c d'\n");
}

}  // namespace
}  // namespace dravo::files
