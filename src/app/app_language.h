#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "base/localized.h"
#include "filter/user_defaults.h"

namespace dravo {

class PreferencesStore;

/// The interface's language as the person chose it: the system's, or one of ten. It takes effect at the next start.
///
/// A plain value; equality goes by `code`. Thread: any; `current`, `apply` and `displayName` the main thread.
class AppLanguage {
public:
    enum Case {
        system,
        english,
        arabic,
        german,
        spanish,
        french,
        japanese,
        portugueseBrazil,
        simplifiedChinese,
        kazakh,
        russian,
    };

    constexpr AppLanguage(Case value) : value_(value) {}

    /// All eleven, in the order in which a list shows them.
    [[nodiscard]] static std::span<const AppLanguage> all();

    /// The language with exactly this code; none for any other text.
    [[nodiscard]] static std::optional<AppLanguage> withCode(std::string_view code);

    /// The language that a code such as "pt_BR", "zh-Hans-CN" or "en-GB" means, whatever its case and separators;
    /// `system` for no code and for a language that is not among the ten.
    [[nodiscard]] static AppLanguage matching(std::optional<std::string_view> code);

    /// The stored choice; `system` if there is none that we know.
    [[nodiscard]] static AppLanguage current(const PreferencesStore& preferences);
    /// The same from what is stored under `preference::kAppleLanguages`.
    [[nodiscard]] static AppLanguage storedAs(const std::optional<DefaultsValue>& value);

    /// Stores the choice, for `system` by removing it, and writes it at once.
    void apply(PreferencesStore& preferences) const;

    /// What is stored: "system", or a language tag such as "de" and "zh-Hans".
    [[nodiscard]] std::string_view code() const;

    /// The language's own name for itself; only `system` is named in the interface's language.
    [[nodiscard]] std::string displayName() const;

    /// How it counts; `system` counts as English does.
    [[nodiscard]] PluralRule pluralRule() const;

    [[nodiscard]] constexpr operator Case() const { return value_; }

private:
    Case value_;
};

}  // namespace dravo

template <>
struct std::hash<dravo::AppLanguage> {
    [[nodiscard]] std::size_t operator()(dravo::AppLanguage language) const {
        return std::hash<std::string_view>{}(language.code());
    }
};
