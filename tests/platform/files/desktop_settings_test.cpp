#include "platform/files/desktop_settings.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "base/files.h"
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
    DesktopSettingsTest() { path_.set(folder_.path().string() + ":/usr/bin:/bin"); }

    void install(const std::string& program) {
        const auto file = folder_ / program;
        const auto text = "#!/bin/sh\necho \"" + program + "\" \"$@\" >'" + (folder_ / "new").string() + "'\nmv '" +
                          (folder_ / "new").string() + "' '" + started().string() + "'\n";
        ASSERT_TRUE(writeFileAtomically(file, text));
        ASSERT_EQ(::chmod(file.c_str(), 0700), 0);
    }
    void enter(const char* desktop) { desktop_.set(desktop); }

    /// What the last program was started with, once it has been.
    std::string startedWith() {
        EXPECT_TRUE(testing::waitUntil([&] { return std::filesystem::exists(started()); }));
        const std::string line = testing::contentOf(started());
        std::filesystem::remove(started());
        return line;
    }

    testing::PolledDescriptors descriptors_;
    memory::VirtualScheduler scheduler_;
    DesktopSettings settings_{descriptors_, scheduler_};

private:
    [[nodiscard]] std::filesystem::path started() const { return folder_ / "started"; }

    testing::TemporaryFolder folder_;
    testing::EnvironmentVariable path_{"PATH"};
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
