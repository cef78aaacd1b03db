#include "app/updater.h"

#include <gtest/gtest.h>

#include <optional>

#include "support/memory/memory_services.h"
#include "support/memory/virtual_scheduler.h"

namespace dravo {
namespace {

using namespace std::chrono_literals;

constexpr const char* kAddress = "https://dravo.example/feed.json";

std::string announcing(const std::string& version) {
    return R"({"version":")" + version + R"(","notes":"News","link":"https://dravo.example/new"})";
}

class UpdaterTest : public ::testing::Test {
protected:
    template <typename Wanted>
    static const Wanted* shown(const Updater& updater) {
        const auto* outcome = std::get_if<Updater::Outcome>(&updater.state().get());
        return outcome ? std::get_if<Wanted>(outcome) : nullptr;
    }
    static bool isIdle(const Updater& updater) { return std::holds_alternative<Updater::Idle>(updater.state().get()); }
    static bool isChecking(const Updater& updater) {
        return std::holds_alternative<Updater::Checking>(updater.state().get());
    }

    memory::VirtualScheduler scheduler_;
    memory::MemoryUpdateFeed feed_;
    Updater updater_{feed_, scheduler_, "1.2.0", std::string(kAddress)};
    int answers_ = 0;
};

TEST_F(UpdaterTest, AsksOnlyWhenAskedAndShowsANewerVersionUntilItIsDismissed) {
    scheduler_.advance(1h);
    EXPECT_TRUE(feed_.addresses.empty());
    EXPECT_TRUE(isIdle(updater_));
    updater_.check([this](const Updater::Outcome&) { ++answers_; });
    EXPECT_TRUE(isChecking(updater_));
    scheduler_.advance(0s);
    EXPECT_EQ(feed_.addresses, std::vector<std::string>{kAddress});
    EXPECT_EQ(answers_, 0);
    feed_.answer(announcing("1.10.0"));
    EXPECT_EQ(answers_, 1);
    const auto* newer = shown<Updater::NewerVersion>(updater_);
    ASSERT_TRUE(newer);
    EXPECT_EQ(newer->release.version, "1.10.0");
    EXPECT_EQ(newer->release.notes, "News");
    EXPECT_EQ(newer->release.link, "https://dravo.example/new");
    scheduler_.advance(24h);
    EXPECT_TRUE(shown<Updater::NewerVersion>(updater_));
    updater_.dismiss();
    EXPECT_TRUE(isIdle(updater_));
}

TEST_F(UpdaterTest, SaysThatItIsUpToDateOrWhyItCouldNotCheck) {
    const struct {
        Result<std::string> answer;
        const char* trouble = nullptr;
    } rows[] = {
        {announcing("1.2.0")},
        {announcing("1.2.0-rc.1")},
        {Error{ErrorCode::Disconnected, "The wire is cut."}, "The wire is cut."},
        {std::string("<html>"), "The update server's answer makes no sense."},
    };
    for (const auto& row : rows) {
        updater_.check();
        scheduler_.advance(0s);
        feed_.answer(row.answer);
        const auto* failed = shown<Updater::CouldNotCheck>(updater_);
        EXPECT_TRUE(row.trouble ? failed && inEnglish(failed->reason).starts_with(row.trouble)
                                : shown<Updater::UpToDate>(updater_) != nullptr);
    }
}

TEST_F(UpdaterTest, GivesUpAServerThatTakesTooLong) {
    updater_.check();
    scheduler_.advance(Updater::kPatience - 1ms);
    EXPECT_TRUE(isChecking(updater_));
    EXPECT_TRUE(feed_.isAsked());
    scheduler_.advance(1ms);
    EXPECT_TRUE(shown<Updater::CouldNotCheck>(updater_));
    EXPECT_FALSE(feed_.isAsked());
}

TEST_F(UpdaterTest, ASecondCheckWaitsForTheFirst) {
    updater_.check([this](const Updater::Outcome&) { ++answers_; });
    scheduler_.advance(0s);
    updater_.check([this](const Updater::Outcome&) {
        ++answers_;
        if (answers_ == 2) updater_.check();
    });
    scheduler_.advance(0s);
    EXPECT_EQ(feed_.addresses.size(), 1u);
    feed_.answer(announcing("1.3"));
    EXPECT_EQ(answers_, 2);
    EXPECT_TRUE(isChecking(updater_)) << "the second one's callback asked again";
}

TEST_F(UpdaterTest, ADismissedCheckIsGivenUpAndNeverAnswers) {
    for (const bool hasBegun : {false, true}) {
        updater_.check([this](const Updater::Outcome&) { ++answers_; });
        if (hasBegun) scheduler_.advance(0s);
        updater_.dismiss();
        EXPECT_TRUE(isIdle(updater_));
        scheduler_.advance(1h);
        EXPECT_FALSE(feed_.isAsked());
        EXPECT_TRUE(isIdle(updater_));
        EXPECT_EQ(answers_, 0);
    }
}

TEST_F(UpdaterTest, WithoutAnAddressUpdatesComeWithThePackages) {
    Updater packaged(feed_, scheduler_, "1.2.0", feedAddress("", std::nullopt));
    packaged.check();
    EXPECT_TRUE(isChecking(packaged)) << "never inside the call";
    scheduler_.advance(0s);
    EXPECT_TRUE(shown<Updater::ComesWithPackages>(packaged));
    EXPECT_TRUE(feed_.addresses.empty());
}

TEST_F(UpdaterTest, TheEnvironmentsAddressComesFirstAndHasToBeSafe) {
    const struct {
        const char* builtIn;
        std::optional<std::string> overriding;
        std::optional<std::string> expected;
    } rows[] = {
        {kAddress, {}, kAddress},
        {kAddress, "https://other.example/", "https://other.example/"},
        {kAddress, "", ""},
        {"", "http://127.0.0.1:8080/feed", "http://127.0.0.1:8080/feed"},
        {"", "http://other.example/", {}},
        {"http://other.example/", {}, {}},
        {kAddress, "http://localhost@other.example/", {}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.overriding.value_or("none"));
        const auto address = feedAddress(row.builtIn, row.overriding);
        EXPECT_EQ(address ? std::optional(*address) : std::nullopt, row.expected);
        if (address) continue;
        Updater updater(feed_, scheduler_, "1.2.0", address);
        updater.check();
        scheduler_.advance(0s);
        EXPECT_TRUE(shown<Updater::CouldNotCheck>(updater));
    }
    EXPECT_TRUE(feed_.addresses.empty());
}

}  // namespace
}  // namespace dravo
