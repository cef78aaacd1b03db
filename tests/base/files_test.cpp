#include "base/files.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>
#include <iterator>

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
    EXPECT_NE(readFile(folder_ / "none", 10).error().message.find("none"), std::string::npos);
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

}  // namespace
}  // namespace dravo
