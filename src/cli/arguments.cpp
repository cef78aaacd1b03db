#include "cli/arguments.h"

#include <getopt.h>

#include <string>

#include "base/shortest_text.h"
#include "cli/text.h"

namespace dravo::cli {

namespace {

/// getopt's value for the option in row 0 of a command; beyond every character.
constexpr int kFirstOption = 256;

/// "-": operands come in order, in between; ":": a missing value has an answer of its own.
constexpr const char* kShortOptions = "-:h";

Error wrong(std::string message) { return Error{ErrorCode::InvalidInput, std::move(message)}; }

bool isNegativeNumber(std::string_view word) {
    return word.size() > 1 && word[0] == '-' && (word[1] == '.' || (word[1] >= '0' && word[1] <= '9'));
}

std::vector<option> longOptions(const Command& command) {
    std::vector<option> result;
    for (const Option& row : command.options) {
        const int needsValue = row.kind == Option::Kind::Flag ? no_argument : required_argument;
        result.push_back({row.name, needsValue, nullptr, kFirstOption + static_cast<int>(result.size())});
    }
    result.push_back({"help", no_argument, nullptr, 'h'});
    result.push_back({nullptr, 0, nullptr, 0});
    return result;
}

/// What getopt stumbled over, from its globals.
Error misuse(const Command& command, int outcome, const char* word) {
    if (outcome == ':') return wrong(filled(localized("option %@ needs a value"), {quoted(word)}));
    if (optopt >= kFirstOption) {
        const Option& row = command.options[static_cast<std::size_t>(optopt - kFirstOption)];
        return wrong(filled(localized("option '--%@' takes no value"), {row.name}));
    }
    std::vector<std::string_view> names{"help"};
    for (const Option& row : command.options) names.emplace_back(row.name);
    std::string_view typed(word);
    typed = typed.substr(0, typed.find('='));
    const std::string_view meant = typed.starts_with("--") ? nearest(typed.substr(2), names) : std::string_view{};
    const std::string unknown = filled(localized("unknown option %@"), {quoted(typed)});
    return wrong(meant.empty() ? unknown : withGuess(unknown, "--" + std::string(meant)));
}

}  // namespace

Result<Arguments> Arguments::parse(const Command& command, int count, char** words) {
    Arguments result;
    const std::vector<option> table = longOptions(command);
    // getopt starts at the second word: give it the word before, which is the command's name.
    char** const argv = words - 1;
    const int argc = count + 1;
    opterr = 0;
    optind = 0;  // forget what an earlier parse left behind; done in a call that has nothing to read
    static_cast<void>(getopt_long(1, argv, kShortOptions, table.data(), nullptr));
    for (;;) {
        const int next = optind;
        if (next < argc && isNegativeNumber(argv[next])) {
            result.operands_.emplace_back(argv[next]);
            optind = next + 1;
            continue;
        }
        const int outcome = getopt_long(argc, argv, kShortOptions, table.data(), nullptr);
        if (outcome == -1) break;
        if (outcome == 1) {
            result.operands_.emplace_back(optarg);
        } else if (outcome == 'h') {
            result.wantsHelp_ = true;
        } else if (outcome == ':' || outcome == '?') {
            return misuse(command, outcome, argv[next]);
        } else {
            const Option& row = command.options[static_cast<std::size_t>(outcome - kFirstOption)];
            if (const auto added = result.add(row, optarg); !added) return added.error();
        }
    }
    for (int i = optind; i < argc; ++i) result.operands_.emplace_back(argv[i]);
    if (result.wantsHelp_) return result;
    if (const auto checked = result.checkOperands(command); !checked) return checked.error();
    return result;
}

Result<void> Arguments::add(const Option& option, const char* value) {
    Given given{&option, value ? std::string_view(value) : std::string_view{}, 0};
    if (option.kind == Option::Kind::Number) {
        const auto number = parseNumber(given.text);
        if (!number || *number < option.least || *number > option.most) {
            return wrong(
                filled(localized("--%1$@ takes a number from %2$@ to %3$@, not %4$@"),
                       {option.name, shortestText(option.least), shortestText(option.most), quoted(given.text)}));
        }
        given.number = *number;
    }
    given_.push_back(given);
    return {};
}

Result<void> Arguments::checkOperands(const Command& command) const {
    if (operands_.size() > command.mostOperands) {
        return wrong(filled(localized("too many arguments, from %@ on"), {quoted(operands_[command.mostOperands])}));
    }
    if (operands_.size() < command.leastOperands) return wrong(localized("an argument is missing"));
    return {};
}

const Arguments::Given* Arguments::find(std::string_view option) const {
    for (auto given = given_.rbegin(); given != given_.rend(); ++given) {
        if (given->option->name == option) return &*given;
    }
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
