#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

#include "base/sentence.h"

namespace dravo {

/// Which of a language's plural forms goes with a number.
using PluralRule = std::size_t (*)(std::uint64_t);

/// English: one form for 1, another for the rest.
[[nodiscard]] constexpr std::size_t formOfOneAndOthers(std::uint64_t n) { return n == 1 ? 0 : 1; }

/// The locales of the interface: a POSIX name for the language of its texts ("de", "pt_BR", "zh_CN"), and ICU's names
/// for the forms of its numbers and times, which follow settings of their own ("de_AT"). And how the language counts
/// and is written.
struct InterfaceLocale {
    std::string language = "en";
    std::string numbers = "en_US";
    std::string times = "en_US";
    PluralRule pluralRule = formOfOneAndOthers;
    bool isRightToLeft = false;
    bool operator==(const InterfaceLocale&) const = default;
};

/// Looks texts up by key. The base class answers with the English default: what a machine without translations shows.
///
/// Placeholders ("%@", "%1$@", "%lld") come back as they stand; see `filled`.
/// Thread: any.
class Localizer {
public:
    virtual ~Localizer() = default;
    [[nodiscard]] virtual std::string text(std::string_view key, std::string_view english) const {
        static_cast<void>(key);
        return std::string(english);
    }
    /// The form for `count` things. English has two, other languages from one to six.
    [[nodiscard]] virtual std::string count(std::string_view key, std::string_view one, std::string_view other,
                                            std::uint64_t count) const {
        static_cast<void>(key);
        return std::string(formOfOneAndOthers(count) == 0 ? one : other);
    }
    [[nodiscard]] virtual InterfaceLocale locale() const { return {}; }
};

/// The text for `key`, in the language of the localizer that the composition root installed, else `english`.
[[nodiscard]] std::string localized(std::string_view key, std::string_view english);

/// For texts whose key is the English text itself.
[[nodiscard]] inline std::string localized(const char* english) { return localized(english, english); }

/// For a text from a table; an empty one stays empty.
[[nodiscard]] inline std::string localized(const TextKey& text) { return localized(text.key, text.english); }

[[nodiscard]] std::string localized(const Sentence& sentence);

/// The form of a text for `count` things, its placeholder still in it: "%lld preset", "%lld presets".
[[nodiscard]] std::string localizedCount(std::string_view key, std::string_view one, std::string_view other,
                                         std::uint64_t count);

/// `text` with its placeholders replaced: "%@" and "%lld" take the values in their order, "%1$@" takes the first,
/// wherever it stands. What a value contains is never taken for a placeholder. In a language that is written from right
/// to left, a path or a negative number keeps its own direction: invisible characters isolate it.
[[nodiscard]] std::string filled(std::string_view text, std::initializer_list<std::string_view> values);

/// "FILE: what is wrong with it", as the language writes it.
[[nodiscard]] Sentence withDetail(Sentence subject, Sentence detail);

/// `sentence` behind the program's name, or that of one of its commands ("dravo status"), as a line for a terminal.
[[nodiscard]] std::string saidBy(std::string_view name, const Sentence& sentence);

/// The locales of the installed localizer.
[[nodiscard]] InterfaceLocale interfaceLocale();

/// Installs the process's localizer; null goes back to English. Returns the one before.
/// Lifetime: `localizer` outlives its installation. Thread: the main thread.
const Localizer* installLocalizer(const Localizer* localizer);

/// A localizer's installation, for as long as this lives; then the one before comes back.
class InstalledLocalizer {
public:
    explicit InstalledLocalizer(const Localizer& localizer) : before_(installLocalizer(&localizer)) {}
    ~InstalledLocalizer() { installLocalizer(before_); }
    InstalledLocalizer(const InstalledLocalizer&) = delete;
    InstalledLocalizer& operator=(const InstalledLocalizer&) = delete;

private:
    const Localizer* before_;
};

}  // namespace dravo
