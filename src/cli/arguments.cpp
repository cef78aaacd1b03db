#include "cli/arguments.h"

#include <algorithm>
#include <string>

#include "base/shortest_text.h"
#include "cli/text.h"

namespace dravo::cli {

namespace {

Error wrong(Sentence message) { return Error{ErrorCode::InvalidInput, std::move(message)}; }

/// REQUIRES: begins with "-".
bool isNegativeNumber(std::string_view word) {
    return word.size() > 1 && (word[1] == '.' || (word[1] >= '0' && word[1] <= '9'));
}

/// The option with this name, or the only one whose name begins like it.
const Option* findOption(const Command& command, std::string_view name) {
    const Option* found = nullptr;
    for (const Option& row : command.options) {
        if (name == row.name) return &row;
        if (!std::string_view(row.name).starts_with(name)) continue;
        if (found) return nullptr;
        found = &row;
    }
    return name.empty() ? nullptr : found;
}

Error unknownOption(const Command& command, std::string_view typed) {
    std::vector<std::string_view> names{"help"};
    for (const Option& row : command.options) names.emplace_back(row.name);
    const std::string_view meant = typed.starts_with("--") ? nearest(typed.substr(2), names) : std::string_view{};
    const Sentence unknown = Sentence(textKey("unknown option %@"), {quoted(typed)});
    return wrong(meant.empty() ? unknown : withGuess(unknown, "--" + std::string(meant)));
}

}  // namespace

Result<Arguments> Arguments::parse(const Command& command, int count, char** words) {
    Arguments result;
    bool isBehindDashes = false;
    for (int i = 0; i < count; ++i) {
        const std::string_view word = words[i];
        if (isBehindDashes || word.size() < 2 || word[0] != '-' || isNegativeNumber(word)) {
            result.operands_.push_back(word);
        } else if (word == "--") {
            isBehindDashes = true;
        } else {
            const std::size_t equals = word.find('=');
            const std::string_view typed = word.substr(0, equals);
            const Option* const option = typed.starts_with("--") ? findOption(command, typed.substr(2)) : nullptr;
            if (word == "-h" || (!option && std::string_view("--help").starts_with(word))) {
                result.wantsHelp_ = true;
                continue;
            }
            if (!option) return unknownOption(command, typed);
            const bool isFlag = option->kind == Option::Kind::Flag;
            const bool hasValue = equals != std::string_view::npos;
            if (isFlag && hasValue) return wrong(Sentence(textKey("option '--%@' takes no value"), {option->name}));
            if (!isFlag && !hasValue && ++i == count)
                return wrong(Sentence(textKey("option %@ needs a value"), {quoted(word)}));
            const std::string_view value = hasValue ? word.substr(equals + 1) : isFlag ? "" : words[i];
            if (const auto added = result.add(*option, value); !added) return added.error();
        }
    }
    if (result.wantsHelp_) return result;
    if (const auto checked = result.checkOperands(command); !checked) return checked.error();
    return result;
}

Result<void> Arguments::add(const Option& option, std::string_view text) {
    Given given{&option, text, 0};
    if (option.kind == Option::Kind::Number) {
        const auto number = parseNumber(text);
        if (!number || *number < option.least || *number > option.most) {
            return wrong(Sentence(textKey("--%1$@ takes a number from %2$@ to %3$@, not %4$@"),
                                  {option.name, shortestText(option.least), shortestText(option.most), quoted(text)}));
        }
        given.number = *number;
    }
    given_.push_back(given);
    return {};
}

Result<void> Arguments::checkOperands(const Command& command) const {
    if (operands_.size() > command.mostOperands)
        return wrong(Sentence(textKey("too many arguments, from %@ on"), {quoted(operands_[command.mostOperands])}));
    if (operands_.size() < command.leastOperands) return wrong(textKey("an argument is missing"));
    return {};
}

const Arguments::Given* Arguments::find(std::string_view option) const {
    for (auto given = given_.rbegin(); given != given_.rend(); ++given)
        if (given->option->name == option) return &*given;
    return nullptr;
}

std::optional<std::string_view> Arguments::text(std::string_view option) const {
    const Given* const given = find(option);
    return given ? std::optional(given->text) : std::nullopt;
}

std::optional<double> Arguments::number(std::string_view option) const {
    const Given* const given = find(option);
    return given ? std::optional(given->number) : std::nullopt;
}

}  // namespace dravo::cli
