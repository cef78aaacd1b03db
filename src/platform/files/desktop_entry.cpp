#include "platform/files/desktop_entry.h"

#include <algorithm>
#include <cstddef>

#include "base/split.h"

namespace dravo::files {

namespace {

constexpr std::string_view kMainGroup = "[Desktop Entry]";
constexpr std::string_view kBlanks = " \t\r";

std::string_view trimmed(std::string_view text) {
    const auto begin = text.find_first_not_of(kBlanks);
    if (begin == std::string_view::npos) return {};
    return text.substr(begin, text.find_last_not_of(kBlanks) - begin + 1);
}

// What a value stands for once the file's own escapes are undone; only then do an Exec's quotes count.
std::string unescaped(std::string_view value) {
    constexpr std::string_view kLetters = "sntr\\";
    constexpr std::string_view kMeanings = " \n\t\r\\";
    std::string text;
    for (std::size_t i = 0; i < value.size(); ++i) {
        const auto letter = value[i] == '\\' && i + 1 < value.size() ? kLetters.find(value[i + 1]) : std::string::npos;
        if (letter == std::string::npos) {
            text += value[i];
        } else {
            text += kMeanings[letter];
            ++i;
        }
    }
    return text;
}

}  // namespace

DesktopEntry::DesktopEntry() : lines_{std::string(kMainGroup)}, groupBegin_(1) {}

std::optional<DesktopEntry> DesktopEntry::parse(std::string_view text) {
    DesktopEntry entry;
    entry.lines_.clear();
    for (const auto line : splitAt('\n', text)) entry.lines_.emplace_back(line);
    if (entry.lines_.back().empty()) entry.lines_.pop_back();  // behind the last newline
    const auto group =
        std::ranges::find_if(entry.lines_, [](const std::string& line) { return trimmed(line) == kMainGroup; });
    if (group == entry.lines_.end()) return std::nullopt;
    entry.groupBegin_ = static_cast<std::size_t>(group - entry.lines_.begin()) + 1;
    return entry;
}

std::size_t DesktopEntry::groupEnd() const {
    std::size_t line = groupBegin_;
    while (line < lines_.size() && !trimmed(lines_[line]).starts_with('[')) ++line;
    return line;
}

std::optional<std::size_t> DesktopEntry::find(std::string_view key) const {
    for (std::size_t line = groupBegin_; line < groupEnd(); ++line) {
        const std::string_view text = lines_[line];
        const auto equals = text.find('=');
        if (equals != std::string_view::npos && trimmed(text.substr(0, equals)) == key) return line;
    }
    return std::nullopt;
}

std::optional<std::string> DesktopEntry::value(std::string_view key) const {
    const auto line = find(key);
    if (!line) return std::nullopt;
    const std::string_view text = lines_[*line];
    return std::string(trimmed(text.substr(text.find('=') + 1)));
}

std::optional<bool> DesktopEntry::flag(std::string_view key) const {
    const auto text = value(key);
    if (text == "true" || text == "1") return true;
    if (text == "false" || text == "0") return false;
    return std::nullopt;
}

std::optional<std::vector<std::string>> DesktopEntry::list(std::string_view key) const {
    const auto text = value(key);
    if (!text) return std::nullopt;
    std::vector<std::string> parts;
    for (const auto part : splitAt(';', *text))
        if (!part.empty()) parts.emplace_back(part);
    return parts;
}

void DesktopEntry::set(std::string_view key, std::string_view value) {
    std::string text = std::string(key) + '=' + std::string(value);
    if (const auto line = find(key)) {
        lines_[*line] = std::move(text);
        return;
    }
    // Before the blank lines that part it from the next group.
    std::size_t place = groupEnd();
    while (place > groupBegin_ && trimmed(lines_[place - 1]).empty()) --place;
    lines_.insert(lines_.begin() + static_cast<std::ptrdiff_t>(place), std::move(text));
}

void DesktopEntry::remove(std::string_view key) {
    while (const auto line = find(key)) lines_.erase(lines_.begin() + static_cast<std::ptrdiff_t>(*line));
}

std::string DesktopEntry::text() const {
    std::string text;
    for (const auto& line : lines_) text += line + '\n';
    return text;
}

// Within quotes four characters need a backslash, which itself needs one in any value. A percent sign would name
// something to be put in.
std::string execValue(std::string_view program, std::string_view arguments) {
    std::string quoted = "\"";
    for (const char letter : program) {
        switch (letter) {
            case '\\':
                quoted += R"(\\\\)";
                break;
            case '"':
            case '`':
            case '$':
                quoted += R"(\\)";
                quoted += letter;
                break;
            case '%':
                quoted += "%%";
                break;
            case '\n':
                quoted += R"(\n)";
                break;
            default:
                quoted += letter;
        }
    }
    return quoted + "\" " + std::string(arguments);
}

std::optional<std::string> programOfExec(std::string_view value) {
    const std::string text = unescaped(value);
    std::string program;
    bool isQuoted = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char letter = text[i];
        const bool isLast = i + 1 == text.size();
        if (letter == '"') {
            isQuoted = !isQuoted;
        } else if (isQuoted && letter == '\\' && !isLast) {
            program += text[++i];
        } else if (letter == '%' && !isLast && text[i + 1] == '%') {
            program += text[++i];
        } else if (!isQuoted && letter == ' ') {
            break;
        } else {
            program += letter;
        }
    }
    if (isQuoted || program.empty()) return std::nullopt;
    return program;
}

}  // namespace dravo::files
