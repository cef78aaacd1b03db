#include "base/files.h"

#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <fstream>
#include <iterator>

#include "base/data_folder.h"
#include "support/environment_variable.h"
#include "support/temporary_folder.h"

namespace dravo {
namespace {

namespace fs = std::filesystem;

class FilesTest : public ::testing::Test {
protected:
    [[nodiscard]] std::size_t entries() const {
        return static_cast<std::size_t>(
            std::distance(fs::directory_iterator(folder_.path()), fs::directory_iterator()));
    }
    [[nodiscard]] static ::mode_t mode(const fs::path& path) {
        struct ::stat status {};
        return ::stat(path.c_str(), &status) == 0 ? status.st_mode & 07777U : 0;
    }

    testing::TemporaryFolder folder_;
};

TEST_F(FilesTest, ReadsBackEveryByteUpToTheLimit) {
    std::string text(40000, '\0');
    for (std::size_t i = 0; i < text.size(); ++i) text[i] = static_cast<char>(i * 7);
    ASSERT_TRUE(writeFileAtomically(folder_ / "a", text));
    ASSERT_TRUE(readFile(folder_ / "a", text.size()));
    EXPECT_EQ(readFile(folder_ / "a", text.size()).value(), text);
    EXPECT_EQ(readFile(folder_ / "a", text.size() - 1).error().code, ErrorCode::InvalidInput);
}

TEST_F(FilesTest, NamesTheReasonWhenItCannotRead) {
    EXPECT_EQ(readFile(folder_ / "none", 10).error().code, ErrorCode::NotFound);
    EXPECT_NE(inEnglish(readFile(folder_ / "none", 10).error().message).find("none"), std::string::npos);
    EXPECT_EQ(readFile(folder_.path(), 10).error().code, ErrorCode::InvalidInput);
    ASSERT_EQ(::mkfifo((folder_ / "pipe").c_str(), 0600), 0);
    EXPECT_EQ(readFile(folder_ / "pipe", 10).error().code, ErrorCode::InvalidInput);
}

TEST_F(FilesTest, ReplacesAFileWithoutLeavingAnythingBeside) {
    ASSERT_TRUE(writeFileAtomically(folder_ / "a", "old and longer"));
    ASSERT_TRUE(writeFileAtomically(folder_ / "a", "new", {.mode = 0644, .sync = false}));
    EXPECT_EQ(testing::contentOf(folder_ / "a"), "new");
    EXPECT_EQ(mode(folder_ / "a"), 0644U);
    EXPECT_EQ(entries(), 1U);
}

TEST_F(FilesTest, WritesThroughASymbolicLink) {
    fs::create_directory(folder_ / "real");
    ASSERT_TRUE(writeFileAtomically(folder_ / "real" / "a", "old"));
    fs::create_symlink("real/a", folder_ / "link");
    ASSERT_TRUE(writeFileAtomically(folder_ / "link", "new"));
    EXPECT_TRUE(fs::is_symlink(folder_ / "link"));
    EXPECT_EQ(testing::contentOf(folder_ / "real" / "a"), "new");
}

TEST_F(FilesTest, KeepsTheOldFileWhenTheNewOneDoesNotFit) {
    ASSERT_TRUE(writeFileAtomically(folder_ / "a", "old"));
    struct ::rlimit before {};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
    const auto previous = std::signal(SIGXFSZ, SIG_IGN);
    const ::rlimit small{1000, before.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
    const std::string text(5000, 'x');
    const auto replaced = writeFileAtomically(folder_ / "a", text);
    const auto created = writeFileIfAbsent(folder_ / "b", text);
    ::setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, previous);

    ASSERT_FALSE(replaced);
    EXPECT_EQ(replaced.error().code, ErrorCode::Internal);
    EXPECT_FALSE(created);
    EXPECT_EQ(testing::contentOf(folder_ / "a"), "old");
    EXPECT_EQ(entries(), 1U);
}

TEST_F(FilesTest, NeverReplacesWhatIsThereWhenAskedForAnAbsentFile) {
    ASSERT_TRUE(writeFileIfAbsent(folder_ / "a", "first"));
    EXPECT_EQ(mode(folder_ / "a"), 0600U);
    EXPECT_EQ(writeFileIfAbsent(folder_ / "a", "second").error().code, ErrorCode::Busy);
    EXPECT_EQ(testing::contentOf(folder_ / "a"), "first");
    EXPECT_EQ(entries(), 1U);
    fs::create_symlink("nowhere", folder_ / "dangling");
    EXPECT_EQ(writeFileIfAbsent(folder_ / "dangling", "x").error().code, ErrorCode::Busy);
}

/// For this process no file system can rename to a free name, or link.
bool forgetLinks() {
    std::array<sock_filter, 5> rules{{BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
                                      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_renameat2, 1, 0),
                                      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_linkat, 0, 1),
                                      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EPERM),
                                      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW)}};
    const sock_fprog program{rules.size(), rules.data()};
    return ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program, 0, 0) == 0;
}

TEST_F(FilesTest, CreatesAnAbsentFileWhereThereAreNoHardLinks) {
    const ::pid_t child = ::fork();
    if (child == 0) {
        const bool isReady = forgetLinks();
        const auto written = writeFileIfAbsent(folder_ / "a", "first", {.mode = 0644});
        const auto again = writeFileIfAbsent(folder_ / "a", "second");
        ::_exit(isReady && written && again.error().code == ErrorCode::Busy ? 0 : 1);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(testing::contentOf(folder_ / "a"), "first");
    EXPECT_EQ(mode(folder_ / "a"), 0644U);
    EXPECT_EQ(entries(), 1U);
}

TEST_F(FilesTest, SweepsWhatAKilledWriterOfTheSameFileHasLeft) {
    const auto put = [&](const std::string& name, std::chrono::hours age) {
        std::ofstream(folder_ / name) << "half";
        fs::last_write_time(folder_ / name, fs::file_time_type::clock::now() - age);
    };
    put(".a.dravo-Xy12ab", std::chrono::hours(2));
    put(".a.dravo-Zz98cd", std::chrono::hours(0));  // of a writer that is still at it
    put(".b.dravo-Xy12ab", std::chrono::hours(2));
    put(".a.backup", std::chrono::hours(2));
    ASSERT_TRUE(writeFileAtomically(folder_ / "a", "whole"));
    EXPECT_FALSE(fs::exists(folder_ / ".a.dravo-Xy12ab"));
    EXPECT_EQ(entries(), 4U);
}

TEST_F(FilesTest, CreatesFoldersAndRefusesAFileInTheirPlace) {
    ASSERT_TRUE(ensureDirectory(folder_ / "x" / "y"));
    EXPECT_EQ(mode(folder_ / "x" / "y"), 0700U);
    EXPECT_TRUE(ensureDirectory(folder_ / "x" / "y"));
    ASSERT_TRUE(writeFileAtomically(folder_ / "file", ""));
    EXPECT_EQ(ensureDirectory(folder_ / "file").error().code, ErrorCode::InvalidInput);
    EXPECT_FALSE(ensureDirectory(folder_ / "file" / "z"));
    EXPECT_EQ(writeFileAtomically(folder_ / "gone" / "a", "").error().code, ErrorCode::NotFound);
}

TEST_F(FilesTest, SetsABrokenFileAsideAndDeletes) {
    ASSERT_TRUE(writeFileAtomically(folder_ / "a.bad", "older"));
    ASSERT_TRUE(writeFileAtomically(folder_ / "a", "broken"));
    ASSERT_TRUE(setAsideAsBad(folder_ / "a"));
    EXPECT_EQ(testing::contentOf(folder_ / "a.bad"), "broken");
    EXPECT_FALSE(fs::exists(folder_ / "a"));
    EXPECT_TRUE(removeFile(folder_ / "a.bad"));
    EXPECT_TRUE(removeFile(folder_ / "a.bad"));
    EXPECT_FALSE(removeFile(folder_.path()));
    EXPECT_EQ(entries(), 0U);
}

TEST(DataFolderTest, FollowsTheEnvironmentAndFallsBackToTheUserDatabase) {
    testing::EnvironmentVariable home("HOME");
    testing::EnvironmentVariable runtime("XDG_RUNTIME_DIR");
    testing::EnvironmentVariable settings("XDG_CONFIG_HOME");
    home.set("/home/somebody");
    runtime.set("/run/user/7");
    settings.set("/etc/somebody");
    EXPECT_EQ(DataFolder::ofThisUser().home, "/home/somebody/.dravo");
    EXPECT_EQ(DataFolder::ofThisUser().runtime, "/run/user/7/dravo");
    EXPECT_EQ(DataFolder::ofThisUser().settings, "/etc/somebody");

    for (const char* unusable : {static_cast<const char*>(nullptr), "", "relative/path"}) {
        settings.set(unusable);
        EXPECT_EQ(DataFolder::ofThisUser().settings.filename(), ".config");
        home.set(unusable);
        runtime.set(unusable);
        EXPECT_TRUE(DataFolder::ofThisUser().home.is_absolute());
        EXPECT_EQ(DataFolder::ofThisUser().home.filename(), ".dravo");
        EXPECT_TRUE(DataFolder::ofThisUser().runtime.empty());
    }
}

}  // namespace
}  // namespace dravo
