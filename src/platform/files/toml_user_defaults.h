#pragma once

#include <filesystem>
#include <functional>
#include <string>

#include "base/descriptor_watch.h"
#include "base/observable.h"
#include "base/scheduler.h"
#include "filter/user_defaults.h"
#include "platform/files/preferences_text.h"
#include "platform/posix/file_watch.h"

namespace dravo::files {

/// The settings in a TOML file that a person may edit while the program runs.
///
/// Everything is held in memory. What was set is written at the end of the loop's turn, into the person's own text; an
/// edit of the file is merged by key, and what is not yet written wins. While the file is missing, the last known
/// text stands for it. A file that does not parse changes nothing; the first write keeps it as `.bad`. A file that
/// cannot be read, or is no regular file, is left alone: the settings then last until the program ends. Each such
/// cause is told in one line on standard error.
///
/// Thread: main thread. Lifetime: `scheduler` and `descriptors` outlive it.
class TomlUserDefaults : public UserDefaults {
public:
    /// Where the file is in the folder of the person's settings; empty if there is none.
    [[nodiscard]] static std::filesystem::path pathIn(const std::filesystem::path& settings);

    /// Reads the file and watches it; creates its folder. An empty path keeps the settings in memory only.
    TomlUserDefaults(std::filesystem::path path, Scheduler& scheduler, DescriptorWatch& descriptors);

    std::optional<DefaultsValue> object(std::string_view key) const override;
    void set(std::string_view key, DefaultsValue value) override;
    void remove(std::string_view key) override;
    void flush() override;
    Subscription onChange(std::function<void(const DefaultsKeys&)> callback) override;

    /// Asked before each write: on false (a ramp runs, no time for the disk) the write is tried again 50 ms later.
    void setMayWrite(std::function<bool()> mayWrite) { mayWrite_ = std::move(mayWrite); }

private:
    enum class File { good, missing, broken, untouchable };

    void change(std::string_view key, std::optional<DefaultsValue> value);
    void scheduleWrite(Duration delay);
    void write();
    [[nodiscard]] DefaultsKeys readAndMerge();
    [[nodiscard]] DefaultsKeys merge(std::string text, DefaultsValues values);
    void store();
    [[nodiscard]] Result<void> replaceFile(const std::string& text);
    void deliver(const DefaultsKeys& keys);

    std::filesystem::path path_;
    std::filesystem::path target_;  // path_, or what it links to
    Scheduler& scheduler_;
    std::function<bool()> mayWrite_ = [] { return true; };
    File file_ = File::missing;
    std::string fileText_;  // as last read or written, and its values
    DefaultsValues fileValues_;
    DefaultsChanges unsaved_;
    SubscriberList<const DefaultsKeys&> changes_;
    Timer pendingWrite_;
    posix::FileWatch watch_;
};

}  // namespace dravo::files
