#include "breaks/break_notifier.h"

#include <gtest/gtest.h>

#include <optional>

#include "support/memory/memory_services.h"
#include "support/memory/virtual_scheduler.h"

namespace dravo {
namespace {

using Status = BreakNotifier::AuthStatus;

class BreakNotifierTest : public ::testing::Test {
protected:
    /// Switches the reminder on; the person, if asked, gives `decision`.
    std::optional<bool> requested(const Result<bool>& decision) {
        std::optional<bool> answer;
        notifier_.requestAuthorization([&](bool granted) { answer = granted; });
        EXPECT_FALSE(answer) << "never inside the call";
        scheduler_.runPosted();
        desktop_.answerPrompts(decision);
        scheduler_.runPosted();
        return answer;
    }

    memory::VirtualScheduler scheduler_;
    memory::MemoryNotifications desktop_{scheduler_};
    BreakNotifier notifier_{desktop_};
};

TEST_F(BreakNotifierTest, AsksAtMostOncePerUndecidedPermission) {
    const struct {
        NotificationPermission state;
        Result<bool> decision;
        int prompts;
        bool answer;
        Status status;
    } rows[] = {
        {NotificationPermission::undetermined, true, 1, true, Status::granted},
        {NotificationPermission::undetermined, false, 1, false, Status::denied},
        {NotificationPermission::undetermined, Error{ErrorCode::Disconnected, "gone"}, 1, false, Status::denied},
        {NotificationPermission::undetermined, Error{ErrorCode::NotFound, "nobody"}, 1, false, Status::unknown},
        {NotificationPermission::denied, true, 0, false, Status::denied},
        {NotificationPermission::authorised, false, 0, true, Status::granted},
        {NotificationPermission::provisional, false, 0, true, Status::granted},
    };
    for (const auto& row : rows) {
        desktop_.state = row.state;
        desktop_.prompts = 0;
        EXPECT_EQ(requested(row.decision), row.answer);
        EXPECT_EQ(desktop_.prompts, row.prompts);
        EXPECT_EQ(notifier_.authStatus().get(), row.status);
    }
}

TEST_F(BreakNotifierTest, RefreshesItsStatusWithoutEverAsking) {
    EXPECT_EQ(notifier_.authStatus().get(), Status::unknown);
    int announced = 0;
    const auto subscription = notifier_.changes().onWillChange([&] { ++announced; });
    const std::pair<NotificationPermission, Status> rows[] = {
        {NotificationPermission::denied, Status::denied},
        {NotificationPermission::authorised, Status::granted},
        {NotificationPermission::undetermined, Status::unknown},
        {NotificationPermission::provisional, Status::granted},
    };
    for (const auto& [state, status] : rows) {
        desktop_.state = state;
        notifier_.refreshStatus();
        scheduler_.runPosted();
        EXPECT_EQ(notifier_.authStatus().get(), status);
    }
    EXPECT_EQ(announced, 4);
    EXPECT_EQ(desktop_.prompts, 0);
}

}  // namespace
}  // namespace dravo
