#include "platform/files/preferences_text.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <sstream>
#include <vector>

#define TOML_HEADER_ONLY 1
#define TOML_EXCEPTIONS 0
#include <toml++/toml.h>

#include "base/localized.h"
#include "base/shortest_text.h"
#include "base/utf8.h"

namespace dravo::files {

namespace {

constexpr std::string_view kHeading = "# Settings of Dravo. It notices changes made here while it runs.\n";
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

Result<toml::table> parse(std::string_view text) {
    if (text.size() > kMaxPreferencesBytes)
        return Error{ErrorCode::InvalidInput,
                     Sentence(textKey("longer than %@ bytes"), {std::to_string(kMaxPreferencesBytes)})};
    auto parsed = toml::parse(text);
    if (parsed) return std::move(parsed).table();
    const auto& fault = parsed.error();
    const auto place = fault.source().begin;
    return Error{ErrorCode::InvalidInput,
                 Sentence(textKey("line %1$@, column %2$@: %3$@"),
                          {std::to_string(place.line), std::to_string(place.column), fault.description()})};
}

std::optional<WallTime> instantOf(const toml::date_time& date) {
    using namespace std::chrono;
    if (!date.offset) return std::nullopt;
    const sys_days day = year{date.date.year} / date.date.month / date.date.day;
    const sys_seconds second =
        day + hours{date.time.hour} + minutes{date.time.minute - date.offset->minutes} + seconds{date.time.second};
    // One second short of the clock's range at both ends leaves room for the fraction.
    if (second >= floor<seconds>(WallTime::max()) || second <= ceil<seconds>(WallTime::min())) return std::nullopt;
    return WallTime{second} + nanoseconds{date.time.nanosecond};
}

std::optional<DefaultsValue> valueOf(const toml::node& node) {
    if (const auto flag = node.value_exact<bool>()) return *flag;
    if (const auto integer = node.value_exact<std::int64_t>()) return *integer;
    if (const auto number = node.value_exact<double>())
        return std::isfinite(*number) ? std::optional<DefaultsValue>(*number) : std::nullopt;
    if (auto text = node.value_exact<std::string>()) return std::move(*text);
    if (const auto date = node.value_exact<toml::date_time>()) {
        const auto instant = instantOf(*date);
        return instant ? std::optional<DefaultsValue>(*instant) : std::nullopt;
    }
    const auto* array = node.as_array();
    if (!array) return std::nullopt;
    std::vector<std::string> texts;
    for (const auto& element : *array) {
        auto text = element.value_exact<std::string>();
        if (!text) return std::nullopt;
        texts.push_back(std::move(*text));
    }
    return texts;
}

DefaultsValues valuesOf(const toml::table& table) {
    DefaultsValues values;
    for (const auto& [key, node] : table)
        if (auto value = valueOf(node)) values.emplace(key.str(), std::move(*value));
    return values;
}

std::string tomlString(std::string_view text) {
    std::string result = "\"";
    for (const char c : text) {
        const auto code = static_cast<unsigned char>(c);
        if (c == '"' || c == '\\') {
            result += {'\\', c};
        } else if (code < 0x20 || code == 0x7F) {
            std::array<char, 8> escape;
            std::snprintf(escape.data(), escape.size(), "\\u%04X", unsigned{code});
            result += escape.data();
        } else {
            result += c;
        }
    }
    return result + '"';
}

std::string keyText(std::string_view key) {
    const bool bare = !key.empty() && std::all_of(key.begin(), key.end(), [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' || c == '-';
    });
    return bare ? std::string(key) : tomlString(key);
}

struct ValueText {
    std::string operator()(bool flag) const { return flag ? "true" : "false"; }
    std::string operator()(std::int64_t integer) const { return std::to_string(integer); }
    std::string operator()(double number) const {
        std::string text = shortestText(number);
        // Without a point or an exponent it would read back as an integer.
        return text.find_first_of(".e") == text.npos ? text + ".0" : text;
    }
    std::string operator()(const std::string& text) const { return tomlString(text); }
    std::string operator()(WallTime instant) const {
        using namespace std::chrono;
        const auto day = floor<days>(instant);
        const year_month_day date{day};
        const hh_mm_ss time{instant - day};
        std::array<char, 64> buffer;
        std::snprintf(buffer.data(), buffer.size(), "%04d-%02u-%02uT%02d:%02d:%02d.%09lld", int{date.year()},
                      unsigned{date.month()}, unsigned{date.day()}, static_cast<int>(time.hours().count()),
                      static_cast<int>(time.minutes().count()), static_cast<int>(time.seconds().count()),
                      static_cast<long long>(nanoseconds(time.subseconds()).count()));
        std::string text = buffer.data();
        text.erase(text.find_last_not_of('0') + 1);
        if (text.ends_with('.')) text.pop_back();
        return text + 'Z';
    }
    std::string operator()(const std::vector<std::string>& texts) const {
        std::string result = "[";
        for (const auto& text : texts) result += (result.size() > 1 ? ", " : "") + tomlString(text);
        return result + ']';
    }
};

std::string valueText(const DefaultsValue& value) { return std::visit(ValueText{}, value); }

std::string lineFor(std::string_view key, const DefaultsValue& value, std::string_view lineEnd) {
    return keyText(key) + " = " + valueText(value) + std::string(lineEnd);
}

/// Finds byte offsets for the reader's positions, whose columns count characters.
class Lines {
public:
    explicit Lines(std::string_view text) : text_(text), starts_{0} {
        for (std::size_t i = 0; i < text.size(); ++i)
            if (text[i] == '\n') starts_.push_back(i + 1);
    }

    [[nodiscard]] std::size_t offset(const toml::source_position& place) const {
        std::size_t at = start(place);
        for (auto column = place.column; column > 1 && at < text_.size(); --column) {
            ++at;
            while (at < text_.size() && continuesCharacter(text_[at])) ++at;
        }
        return at;
    }
    [[nodiscard]] std::size_t start(const toml::source_position& place) const {
        return place.line >= 1 && place.line <= starts_.size() ? starts_[place.line - 1] : text_.size();
    }
    /// Just behind the line's newline.
    [[nodiscard]] std::size_t end(const toml::source_position& place) const {
        return place.line < starts_.size() ? starts_[place.line] : text_.size();
    }

private:
    std::string_view text_;
    std::vector<std::size_t> starts_;
};

struct Edit {
    std::size_t begin;
    std::size_t end;
    std::string text;
};

std::string applied(std::string text, std::vector<Edit> edits) {
    std::stable_sort(edits.begin(), edits.end(), [](const Edit& a, const Edit& b) { return a.begin > b.begin; });
    for (const auto& edit : edits) text.replace(edit.begin, edit.end - edit.begin, edit.text);
    return text;
}

/// True for `key = value` at the top level; the reader places a table's header or dotted key at or before its key.
bool isStatement(const toml::key& key, const toml::node& node) {
    return node.source().begin.line >= key.source().begin.line && node.source().begin > key.source().begin;
}

enum class NewKeys { behindTheLastOne, onTop };

std::string spliced(std::string text, const toml::table& table, const DefaultsChanges& changes, NewKeys place) {
    const std::string_view lineEnd = text.find("\r\n") != text.npos ? "\r\n" : "\n";
    if (!text.empty() && !text.ends_with('\n')) text += lineEnd;

    const Lines lines(text);
    std::vector<Edit> edits;
    DefaultsChanges added = changes;
    std::optional<std::size_t> lastEnd;
    for (const auto& [key, node] : table) {
        if (!isStatement(key, node)) continue;
        const auto& source = node.source();
        lastEnd = std::max(lastEnd.value_or(0), lines.end(source.end));
        const auto change = added.find(key.str());
        if (change == added.end()) continue;
        if (!change->second) {
            edits.push_back({lines.start(key.source().begin), lines.end(source.end), ""});
        } else if (valueOf(node) != change->second) {
            edits.push_back({lines.offset(source.begin), lines.offset(source.end), valueText(*change->second)});
        }
        added.erase(change);
    }

    std::string newLines;
    for (const auto& [key, value] : added)
        if (value) newLines += lineFor(key, *value, lineEnd);
    if (text.empty() && !newLines.empty()) newLines.insert(0, kHeading);
    const std::size_t behind = lastEnd.value_or(table.empty() ? text.size() : 0);
    const std::size_t where = place == NewKeys::onTop ? 0 : behind;
    edits.push_back({where, where, std::move(newLines)});
    return applied(std::move(text), std::move(edits));
}

/// The settings, one a line, then what else the text held.
std::string rewritten(toml::table others, const DefaultsValues& values, const DefaultsChanges& changes) {
    std::string text(kHeading);
    for (const auto& [key, value] : values) {
        text += lineFor(key, value, "\n");
        others.erase(key);
    }
    for (const auto& [key, value] : changes) others.erase(key);
    if (others.empty()) return text;
    std::ostringstream rest;
    rest << toml::toml_formatter{others};
    return text + "\n" + rest.str() + "\n";
}

/// Whether `candidate` holds `wanted`, and beside the changed keys all that `before` held.
bool comesOutAsWanted(std::string_view candidate, const DefaultsValues& wanted, toml::table before,
                      const DefaultsChanges& changes) {
    auto after = parse(candidate);
    if (!after || valuesOf(*after) != wanted) return false;
    for (const auto& [key, value] : changes) {
        before.erase(key);
        after->erase(key);
    }
    return before == *after;
}

}  // namespace

Result<DefaultsValues> parsePreferences(std::string_view text) {
    auto table = parse(text);
    if (!table) return table.error();
    return valuesOf(*table);
}

Result<std::string> withChanges(std::string_view text, const DefaultsChanges& changes) {
    auto table = parse(text);
    if (!table) return table.error();
    DefaultsValues wanted = valuesOf(*table);
    for (const auto& [key, value] : changes) {
        if (value)
            wanted.insert_or_assign(key, *value);
        else
            wanted.erase(key);
    }

    const std::string mark(text.starts_with(kByteOrderMark) ? kByteOrderMark : "");
    const std::string body(text.substr(mark.size()));
    for (const NewKeys place : {NewKeys::behindTheLastOne, NewKeys::onTop}) {
        std::string candidate = mark + spliced(body, *table, changes, place);
        if (comesOutAsWanted(candidate, wanted, *table, changes)) return candidate;
    }
    std::string candidate = rewritten(*table, wanted, changes);
    if (comesOutAsWanted(candidate, wanted, *table, changes)) return candidate;
    return Error{ErrorCode::InvalidInput, textKey("the settings no longer fit into the file")};
}

}  // namespace dravo::files
