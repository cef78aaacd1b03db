#pragma once

#include <string>
#include <vector>

#include "app/system_settings.h"
#include "base/descriptor_watch.h"
#include "base/scheduler.h"
#include "base/subscription.h"

namespace dravo::files {

/// The settings programs of the known desktops, told apart by `XDG_CURRENT_DESKTOP`, and `xdg-open` for links. A page
/// is offered if the desktop is known to have it and its program is installed.
class DesktopSettings final : public SystemSettings {
public:
    DesktopSettings(DescriptorWatch& watch, Scheduler& scheduler) : watch_(watch), scheduler_(scheduler) {}

    bool offers(Page page) const override;
    void open(Page page) override;
    void openLink(const std::string& address) override;

private:
    void start(std::vector<std::string> words);

    DescriptorWatch& watch_;
    Scheduler& scheduler_;
    Subscription starting_;
};

}  // namespace dravo::files
