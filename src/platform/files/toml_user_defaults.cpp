#include "platform/files/toml_user_defaults.h"

#include <sys/stat.h>

#include <utility>

#include "base/files.h"
#include "base/localized.h"
#include "base/report.h"

namespace dravo::files {

namespace {

using namespace std::chrono_literals;

constexpr auto kRetryWhileBusy = 50ms;
constexpr ::mode_t kNewFileMode = 0600;
constexpr ::mode_t kFolderMode = 0700;

/// What the path leads to, also if nothing is there yet.
std::filesystem::path linkTarget(std::filesystem::path path) {
    constexpr int kMostLinks = 40;
    std::error_code error;
    for (int links = 0; links < kMostLinks && std::filesystem::is_symlink(path, error); ++links) {
        const auto next = std::filesystem::read_symlink(path, error);
        if (error) break;
        path = path.parent_path() / next;
    }
    return path;
}

::mode_t modeOf(const std::filesystem::path& path) {
    struct ::stat status {};
    return ::stat(path.c_str(), &status) == 0 ? status.st_mode & 0777U : kNewFileMode;
}

/// Each fault is its own cause: a second mistake in the file is told like the first.
void report(const Sentence& fault, const TextKey& withConsequence) {
    reportOnce(inEnglish(fault), Sentence(withConsequence, {fault}));
}

constexpr TextKey kUntilTheEnd = textKey("%@; settings last until Dravo ends");
constexpr TextKey kIgnored = textKey("%@; it counts as unchanged, and the next write replaces it and keeps it as .bad");
// TRANSLATORS: "it" is the preferences file.
constexpr TextKey kUnwatched = textKey("%@; edits of it are noticed at the next start");

}  // namespace

std::filesystem::path TomlUserDefaults::pathIn(const std::filesystem::path& settings) {
    return settings.empty() ? settings : settings / "dravo" / "preferences.toml";
}

TomlUserDefaults::TomlUserDefaults(std::filesystem::path path, Scheduler& scheduler, DescriptorWatch& descriptors)
    : path_(std::move(path)), scheduler_(scheduler), watch_(descriptors, [this] { deliver(readAndMerge()); }) {
    if (path_.empty()) {
        report(textKey("there is no home folder to keep the settings in"), kUntilTheEnd);
        file_ = File::untouchable;
        return;
    }
    if (const auto made = ensureDirectory(path_.parent_path(), kFolderMode); !made)
        report(made.error().message, kUntilTheEnd);
    static_cast<void>(readAndMerge());
}

std::optional<DefaultsValue> TomlUserDefaults::object(std::string_view key) const {
    if (const auto change = unsaved_.find(key); change != unsaved_.end()) return change->second;
    const auto found = fileValues_.find(key);
    return found == fileValues_.end() ? std::nullopt : std::optional(found->second);
}

void TomlUserDefaults::set(std::string_view key, DefaultsValue value) {
    if (isStorable(value)) change(key, std::move(value));
}

void TomlUserDefaults::remove(std::string_view key) { change(key, std::nullopt); }

Subscription TomlUserDefaults::onChange(std::function<void(const DefaultsKeys&)> callback) {
    return changes_.add(std::move(callback));
}

void TomlUserDefaults::flush() {
    pendingWrite_.cancel();
    if (unsaved_.empty() || path_.empty()) return;
    static_cast<void>(readAndMerge());
    store();
}

void TomlUserDefaults::change(std::string_view key, std::optional<DefaultsValue> value) {
    if (object(key) == value) return;
    unsaved_.insert_or_assign(std::string(key), std::move(value));
    if (!path_.empty() && !pendingWrite_.isPending()) scheduleWrite(Duration::zero());
}

void TomlUserDefaults::scheduleWrite(Duration delay) {
    pendingWrite_ = scheduler_.after(delay, [this] { write(); });
}

void TomlUserDefaults::write() {
    if (!mayWrite_()) return scheduleWrite(kRetryWhileBusy);
    // Read first: an edit whose event still waits in the loop must not be lost under our own text.
    const DefaultsKeys changed = readAndMerge();
    store();
    deliver(changed);
}

DefaultsKeys TomlUserDefaults::readAndMerge() {
    target_ = linkTarget(path_);
    const auto watched = watch_.watch({path_, target_});
    if (!watched && watched.error().code != ErrorCode::NotFound) report(watched.error().message, kUnwatched);

    auto text = readFile(target_, kMaxPreferencesBytes);
    if (!text && text.error().code == ErrorCode::NotFound) {
        file_ = File::missing;
        return {};
    }
    std::error_code error;
    if (!text && !(text.error().code == ErrorCode::InvalidInput && std::filesystem::is_regular_file(target_, error))) {
        file_ = File::untouchable;
        report(text.error().message, kUntilTheEnd);
        return {};
    }
    if (!text) {
        file_ = File::broken;
        report(text.error().message, kIgnored);
        return {};
    }
    if (file_ == File::good && *text == fileText_) return {};
    auto values = parsePreferences(*text);
    if (!values) {
        file_ = File::broken;
        report(Sentence(textKey("cannot understand %1$@, %2$@"), {path_.string(), values.error().message}), kIgnored);
        return {};
    }
    return merge(std::move(*text), std::move(*values));
}

DefaultsKeys TomlUserDefaults::merge(std::string text, DefaultsValues values) {
    DefaultsKeys changed = changedKeys(fileValues_, values);
    std::erase_if(changed, [this](const auto& key) { return unsaved_.contains(key); });
    file_ = File::good;
    fileText_ = std::move(text);
    fileValues_ = std::move(values);
    return changed;
}

void TomlUserDefaults::store() {
    if (file_ == File::untouchable) return;
    const auto text = withChanges(fileText_, unsaved_);
    if (!text)
        return report(Sentence(textKey("cannot write %1$@: %2$@"), {path_.string(), text.error().message}),
                      kUntilTheEnd);
    if (file_ != File::good || *text != fileText_) {
        if (const auto replaced = replaceFile(*text); !replaced) return report(replaced.error().message, kUntilTheEnd);
    }
    file_ = File::good;
    fileText_ = *text;
    for (auto& [key, value] : std::exchange(unsaved_, {})) {
        if (value)
            fileValues_.insert_or_assign(key, std::move(*value));
        else
            fileValues_.erase(key);
    }
}

Result<void> TomlUserDefaults::replaceFile(const std::string& text) {
    if (auto made = ensureDirectory(path_.parent_path(), kFolderMode); !made) return made;
    const ::mode_t mode = modeOf(target_);
    if (file_ == File::broken) {
        if (auto kept = setAsideAsBad(target_); !kept) return kept;
    }
    if (auto written = writeFileAtomically(target_, text, {.mode = mode, .sync = false}); !written) return written;
    if (file_ == File::missing) static_cast<void>(watch_.watch({path_, target_}));  // the folder may be a new one
    return {};
}

void TomlUserDefaults::deliver(const DefaultsKeys& keys) {
    if (!keys.empty()) changes_.deliver(keys);
}

}  // namespace dravo::files
