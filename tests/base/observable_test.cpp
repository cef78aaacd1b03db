#include "base/observable.h"

#include <gtest/gtest.h>

#include <string>

namespace dravo {
namespace {

struct Thermostat {
    Observable changes;
    Property<int> target{changes, 20};
};

TEST(PropertyTest, AnnouncesTheOwnersChangeBeforeAndTheValueAfterEveryAssignment) {
    Thermostat thermostat;
    std::string log;
    const auto will = thermostat.changes.onWillChange([&] { log += "will" + std::to_string(thermostat.target) + " "; });
    const auto stream = thermostat.target.onNewValue([&](int value) { log += "is" + std::to_string(value) + " "; });

    thermostat.target = 21;
    thermostat.target = 21;

    EXPECT_EQ(log, "will20 is21 will21 is21 ");
}

TEST(PropertyTest, DeliversNestedAssignmentsToEverySubscriber) {
    Thermostat thermostat;
    std::string log;
    const auto clamp = thermostat.target.onNewValue([&](int value) {
        if (value > 25) thermostat.target = 25;
    });
    const auto stream = thermostat.target.onNewValue([&](int value) { log += std::to_string(value) + " "; });

    thermostat.target = 30;

    EXPECT_EQ(log, "25 30 ");
    EXPECT_EQ(thermostat.target.get(), 25);
}

TEST(SubscriberListTest, SurvivesChangesDuringADelivery) {
    SubscriberList<> list;
    int own = 0;
    int dropped = 0;
    int added = 0;
    Subscription ownHandle;
    Subscription otherHandle;
    Subscription addedHandle;
    ownHandle = list.add([&] {
        ++own;
        ownHandle.reset();
        otherHandle.reset();
        addedHandle = list.add([&] { ++added; });
    });
    otherHandle = list.add([&] { ++dropped; });

    list.deliver();
    EXPECT_EQ(own, 1);
    EXPECT_EQ(dropped, 0);
    EXPECT_EQ(added, 0);

    list.deliver();
    EXPECT_EQ(own, 1);
    EXPECT_EQ(added, 1);
}

TEST(SubscriberListTest, LetsAHandleOutliveTheListAndADeliveryDestroyIt) {
    auto list = std::make_unique<SubscriberList<>>();
    auto first = list->add([&] { list.reset(); });
    auto second = list->add([] {});
    list->deliver();
    EXPECT_EQ(list, nullptr);
    first.reset();
    second.reset();
}

}  // namespace
}  // namespace dravo
