#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace dravo::files {

/// The text of a desktop entry (a .desktop file), read and changed key by key in its main group. Whatever else it holds
/// stays as it is: comments, other groups, translations, keys of other programs.
///
/// Values are taken as they stand in the file, escapes and all.
class DesktopEntry {
public:
    /// An entry with its main group and nothing in it.
    DesktopEntry();
    /// None for a text without that group.
    [[nodiscard]] static std::optional<DesktopEntry> parse(std::string_view text);

    [[nodiscard]] std::optional<std::string> value(std::string_view key) const;
    /// What a switch says: "true", "false", or in old entries 1 and 0; none for an absent key and any other value.
    [[nodiscard]] std::optional<bool> flag(std::string_view key) const;
    /// The parts of a list ("GNOME;KDE;"); none for an absent key.
    [[nodiscard]] std::optional<std::vector<std::string>> list(std::string_view key) const;

    void set(std::string_view key, std::string_view value);
    void remove(std::string_view key);

    [[nodiscard]] std::string text() const;

private:
    [[nodiscard]] std::size_t groupEnd() const;
    [[nodiscard]] std::optional<std::size_t> find(std::string_view key) const;

    std::vector<std::string> lines_;
    std::size_t groupBegin_ = 0;  ///< The line behind the group's name.
};

/// `program` with `arguments` as the value of Exec, quoted so that exactly these words are started.
/// REQUIRES: the arguments need no quotes.
[[nodiscard]] std::string execValue(std::string_view program, std::string_view arguments);

/// The program that a value of Exec starts; none where its quotes are wrong.
[[nodiscard]] std::optional<std::string> programOfExec(std::string_view value);

}  // namespace dravo::files
