#include "platform/files/autostart_login_item.h"

#include <algorithm>
#include <optional>
#include <string_view>
#include <utility>

#include "base/files.h"
#include "base/localized.h"
#include "base/report.h"
#include "platform/files/session_environment.h"
#include "platform/posix/program_module.h"

namespace dravo::files {

namespace {

constexpr const char* kFolder = "autostart";
constexpr const char* kFile = "dravo.desktop";
constexpr std::size_t kMaxBytes = 64 * 1024;

constexpr TextKey kNoFolder = textKey("there is no home folder with programs to start at login");

constexpr const char* kHidden = "Hidden";
/// What desktops write for "do not start" instead.
constexpr const char* kSwitches[] = {"X-GNOME-Autostart-enabled", "X-MATE-Autostart-enabled"};

/// Without these no desktop starts anything.
void complete(DesktopEntry& entry) {
    entry.set("Type", "Application");
    if (!entry.value("Name")) entry.set("Name", "Dravo");
}

DesktopEntry newEntry() {
    DesktopEntry entry;
    complete(entry);
    entry.set("Comment", "Tint and dim the whole screen for light-sensitive eyes");
    entry.set("Icon", "dravo");
    entry.set("Terminal", "false");
    entry.set("StartupNotify", "false");
    return entry;
}

}  // namespace

AutostartPlace AutostartPlace::ofThisProcess(const std::filesystem::path& settings) {
    AutostartPlace place;
    place.configHome = settings;
    for (const auto& folder : listVariable("XDG_CONFIG_DIRS", "/etc/xdg"))
        if (folder.starts_with('/')) place.configDirs.emplace_back(folder);
    place.currentDesktop = listVariable("XDG_CURRENT_DESKTOP");
    place.program = posix::programFile();
    return place;
}

AutostartLoginItem::AutostartLoginItem(AutostartPlace place)
    : place_(std::move(place)),
      own_(place_.configHome.empty() ? std::filesystem::path() : place_.configHome / kFolder / kFile) {}

// `InvalidInput`: there is a file, and it is no entry.
Result<DesktopEntry> AutostartLoginItem::ownEntry() const {
    if (own_.empty()) return Error{ErrorCode::NotFound, kNoFolder};
    const auto text = readFile(own_, kMaxBytes);
    if (!text) return text.error();
    if (auto entry = DesktopEntry::parse(*text)) return std::move(*entry);
    return Error{ErrorCode::InvalidInput, Sentence(textKey("%@ is not a desktop entry"), {own_.string()})};
}

std::optional<DesktopEntry> AutostartLoginItem::systemEntry() const {
    for (const auto& folder : place_.configDirs) {
        if (const auto text = readFile(folder / kFolder / kFile, kMaxBytes)) return DesktopEntry::parse(*text);
    }
    return std::nullopt;
}

// The first of the desktop's names that stands in either list decides.
bool AutostartLoginItem::isMeantForThisDesktop(const DesktopEntry& entry) const {
    const auto only = entry.list("OnlyShowIn");
    const auto never = entry.list("NotShowIn");
    for (const auto& name : place_.currentDesktop) {
        if (only && std::ranges::find(*only, name) != only->end()) return true;
        if (never && std::ranges::find(*never, name) != never->end()) return false;
    }
    return !only;
}

LoginItemService::Status AutostartLoginItem::statusOf(const DesktopEntry& entry) const {
    const auto isOff = [&](const char* key) { return entry.flag(key) == false; };
    if (entry.flag(kHidden) == true || std::ranges::any_of(kSwitches, isOff) || !isMeantForThisDesktop(entry))
        return Status::requiresApproval;
    if (entry.value("Type") != "Application") return Status::notFound;
    const auto probe = entry.value("TryExec");
    const auto program = programOfExec(entry.value("Exec").value_or(""));
    if (!program || !canBeStarted(*program) || (probe && !canBeStarted(*probe))) return Status::notFound;
    return Status::enabled;
}

LoginItemService::Status AutostartLoginItem::status() {
    const auto own = ownEntry();
    if (own) return statusOf(*own);
    // One that cannot be read still hides the system's.
    if (own.error().code != ErrorCode::NotFound) return Status::notRegistered;
    const auto system = systemEntry();
    return system ? statusOf(*system) : Status::notRegistered;
}

Result<DesktopEntry> AutostartLoginItem::entryToChange() const {
    const auto own = ownEntry();
    if (own || own_.empty()) return own;
    if (own.error().code == ErrorCode::InvalidInput) {
        reportOnce("autostart-entry",
                   Sentence(textKey("%1$@; it is kept as %2$@"), {own.error().message, std::string(kFile) + ".bad"}));
        if (const auto kept = setAsideAsBad(own_); !kept) return kept.error();
    } else if (own.error().code != ErrorCode::NotFound) {
        return own.error();
    }
    const auto system = systemEntry();
    return system ? *system : newEntry();
}

Result<void> AutostartLoginItem::registerItem() {
    if (status() == Status::enabled) return {};
    auto entry = entryToChange();
    if (!entry) return entry.error();
    if (!isMeantForThisDesktop(*entry)) {
        return Error{
            ErrorCode::PermissionDenied,
            Sentence(textKey("the entry %@ is not meant for this desktop (OnlyShowIn, NotShowIn)"), {own_.string()})};
    }
    complete(*entry);
    entry->remove(kHidden);
    for (const char* const key : kSwitches)
        if (entry->value(key)) entry->set(key, "true");
    if (const auto probe = entry->value("TryExec"); probe && !canBeStarted(*probe)) entry->remove("TryExec");
    if (statusOf(*entry) == Status::notFound) {
        const std::string program = place_.program.string();
        // No desktop starts a program with such a name.
        if (program.empty() || program.find('=') != std::string::npos)
            return Error{ErrorCode::InvalidInput, Sentence(textKey("'%@' cannot be started at login"), {program})};
        entry->set("Exec", execValue(program, "--autostart"));
    }
    return write(*entry);
}

Result<void> AutostartLoginItem::unregisterItem() {
    if (!systemEntry()) return own_.empty() ? Result<void>() : removeFile(own_);
    // Without an entry of the person's own the system's would count again.
    auto entry = entryToChange();
    if (!entry) return entry.error();
    entry->set(kHidden, "true");
    return write(*entry);
}

Subscription AutostartLoginItem::probe(Found found) {
    if (own_.empty()) {
        found({{}, Sentence{kNoFolder}});
    } else if (status() == Status::notFound) {
        found({{},
               Sentence{textKey("what %@ starts is not there"), {own_.string()}},
               Sentence{textKey("Switch Launch at Login off and on again")}});
    } else {
        found({"autostart"});
    }
    return {};
}

Result<void> AutostartLoginItem::write(const DesktopEntry& entry) const {
    if (const auto folder = ensureDirectory(own_.parent_path()); !folder) return folder;
    return writeFileAtomically(own_, entry.text(), {.mode = 0644, .sync = false});
}

}  // namespace dravo::files
