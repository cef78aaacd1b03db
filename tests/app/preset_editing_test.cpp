#include "app/preset_editing.h"

#include <gtest/gtest.h>

#include "support/filter_world.h"

namespace dravo::testing {
namespace {

using namespace std::chrono_literals;

struct EditingWorld : FilterWorld {
    EditingWorld() {
        start();
        scheduler.advance(1s);
        editing.emplace(PresetEditingParts{*state, customPresets, applicator, grayscaleSwitch, scheduler});
        loads();
    }
    [[nodiscard]] bool showsDraft() const { return showsPreset(editing->draft()); }
    std::optional<PresetEditing> editing;
};

const FilterPreset kOwn{.id = "own", .name = "Own", .greenFactor = 0.8, .intensity = 0.7};

TEST(PresetEditingTest, PreviewsOnceTheFieldsHaveRestedForFiftyMilliseconds) {
    EditingWorld world;
    world.editing->beginNew();
    world.scheduler.advance(1s);
    EXPECT_TRUE(world.showsFilter()) << "opening the editor previews nothing";
    for (int step = 0; step < 10; ++step) {
        world.editing->setValue(&FilterPreset::redFactor, 0.1 * step);
        world.scheduler.advance(49ms);
    }
    EXPECT_TRUE(world.showsFilter());
    world.scheduler.advance(1ms);
    EXPECT_TRUE(world.showsDraft());
    EXPECT_EQ(world.editing->draft().redFactor, 0.1 * 9);
}

TEST(PresetEditingTest, EveryWayOutBringsBackWhatWasOnScreen) {
    const std::vector<std::pair<const char*, void (*)(EditingWorld&)>> ways{
        {"cancel before the next preview came",
         [](EditingWorld& world) {
             world.editing->setValue(&FilterPreset::blueFactor, 0.9);
             world.editing->cancel();
         }},
        {"the panel closes", [](EditingWorld& world) { world.editing->endPreview(); }},
        {"another preset is edited", [](EditingWorld& world) { world.editing->beginChanging(kOwn); }},
    };
    for (const auto& [name, way] : ways) {
        EditingWorld world;
        world.editing->beginNew();
        world.editing->setValue(&FilterPreset::redFactor, 0.2);
        world.scheduler.advance(50ms);
        ASSERT_TRUE(world.showsDraft()) << name;
        way(world);
        world.scheduler.advance(200ms);
        EXPECT_TRUE(world.showsFilter()) << name;
    }
}

TEST(PresetEditingTest, AFadeThatRunsGoesOnWhereNothingWasPreviewed) {
    const std::vector<std::pair<const char*, void (*)(EditingWorld&)>> ways{
        {"cancel", [](EditingWorld& world) { world.editing->cancel(); }},
        {"the panel closes", [](EditingWorld& world) { world.editing->endPreview(); }},
        {"cancel after a preview that the switch ended",
         [](EditingWorld& world) {
             world.editing->setValue(&FilterPreset::redFactor, 0.2);
             world.scheduler.advance(400ms);
             world.state->toggle();
             world.editing->cancel();
         }},
    };
    for (const auto& [name, way] : ways) {
        for (const bool isOn : {true, false}) {
            EditingWorld world;
            if (isOn) world.state->turnOff();
            world.scheduler.advance(1s);
            world.editing->beginNew();
            world.state->toggle();
            way(world);
            EXPECT_TRUE(world.applicator.isRamping()) << name << (isOn ? ", on" : ", off");
        }
    }
}

TEST(PresetEditingTest, NothingIsPreviewedWhileTheFilterIsOff) {
    EditingWorld world;
    world.editing->beginNew();
    world.editing->setValue(&FilterPreset::redFactor, 0.2);
    world.state->turnOff();  // between the change and its preview
    world.scheduler.advance(2s);
    EXPECT_TRUE(world.showsOwn());
    world.editing->setValue(&FilterPreset::redFactor, 0.3);
    world.scheduler.advance(1s);
    EXPECT_TRUE(world.showsOwn());
    world.editing->cancel();
    world.scheduler.advance(1s);
    EXPECT_TRUE(world.showsOwn());
}

TEST(PresetEditingTest, GrayscaleFollowsThePreviewAndIsUndone) {
    EditingWorld world;
    FilterPreset gray = kOwn;
    gray.isGrayscale = true;
    world.editing->beginChanging(gray);
    world.editing->setValue(&FilterPreset::redFactor, 0.2);
    world.scheduler.advance(50ms);
    EXPECT_TRUE(world.grayscale.isGray);
    world.editing->cancel();
    EXPECT_FALSE(world.grayscale.isGray);
}

TEST(PresetEditingTest, SavingChangesTheStoredOneOrAddsANewOne) {
    EditingWorld world;
    world.customPresets.presets = {kOwn};
    world.editing->beginChanging(kOwn);
    world.editing->setName("\t Better  ");
    world.editing->setValue(&FilterPreset::contrast, -0.25);
    ASSERT_TRUE(world.editing->save());
    EXPECT_FALSE(world.editing->isOpen());
    ASSERT_EQ(world.customPresets.presets.get().size(), 1U);
    EXPECT_EQ(world.customPresets.presets.get()[0].name, "Better");
    EXPECT_EQ(world.customPresets.presets.get()[0].id, "own");
    EXPECT_EQ(world.state->contrast, -0.25);
    world.scheduler.advance(1s);
    EXPECT_TRUE(world.showsFilter());

    world.state->dimming = 0.3;
    world.editing->beginNew();
    world.editing->setName("New");
    ASSERT_TRUE(world.editing->save());
    ASSERT_EQ(world.customPresets.presets.get().size(), 2U);
    const FilterPreset& added = world.customPresets.presets.get()[1];
    EXPECT_EQ(added.id.size(), 36U);
    EXPECT_FALSE(added.isBuiltIn);
    EXPECT_EQ(world.state->selectedPreset.get(), added);
    EXPECT_EQ(world.state->dimming, 0.3);
}

}  // namespace
}  // namespace dravo::testing
