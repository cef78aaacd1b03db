#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "app/login_item_service.h"
#include "platform/files/desktop_entry.h"

namespace dravo::files {

/// Where this desktop looks for what it starts at login, and what it would start.
struct AutostartPlace {
    std::filesystem::path configHome;               ///< The person's own; empty: there is none.
    std::vector<std::filesystem::path> configDirs;  ///< The system's, the first that has an entry counts.
    std::vector<std::string> currentDesktop;        ///< Its names, the most particular first.
    std::filesystem::path program;                  ///< This program's file; empty: not known.

    /// As the environment and the kernel tell. `settings` is the folder of the person's settings, empty without one.
    [[nodiscard]] static AutostartPlace ofThisProcess(const std::filesystem::path& settings);
};

/// The login item as an entry in an autostart folder, which every freedesktop.org desktop reads.
///
/// The person's own entry hides the system's. What an entry says beyond the switch is kept, its command too unless what
/// it starts is gone. As the switch is the person's own word, it takes back a desktop's "do not start" (`Hidden`,
/// `X-GNOME-Autostart-enabled=false`); an entry that is not meant for this desktop is refused.
///
/// Thread: main thread.
class AutostartLoginItem : public LoginItemService {
public:
    explicit AutostartLoginItem(AutostartPlace place);

    Status status() override;
    Result<void> registerItem() override;
    Result<void> unregisterItem() override;
    Subscription probe(Found found) override;

private:
    [[nodiscard]] Result<DesktopEntry> ownEntry() const;
    [[nodiscard]] std::optional<DesktopEntry> systemEntry() const;
    [[nodiscard]] Result<DesktopEntry> entryToChange() const;
    [[nodiscard]] bool isMeantForThisDesktop(const DesktopEntry& entry) const;
    [[nodiscard]] Status statusOf(const DesktopEntry& entry) const;
    [[nodiscard]] Result<void> write(const DesktopEntry& entry) const;

    AutostartPlace place_;
    std::filesystem::path own_;
};

}  // namespace dravo::files
