#pragma once

#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

#include "base/result.h"
#include "cli/command.h"

namespace dravo::cli {

/// A command's own part of the command line, taken apart and checked against its row of the table.
///
/// Options may stand before, between and after operands, as `--x 1` or `--x=1`; after `--` everything is an operand.
/// A negative number is never taken for an option. The last of equal options counts.
///
/// Lifetime: views into the command line it was parsed from.
class Arguments {
public:
    /// `words` are the words after the command's name, as in argv: ended by a null pointer that is not counted.
    /// Errors: `InvalidInput` with what is wrong, to be shown as it is.
    [[nodiscard]] static Result<Arguments> parse(const Command& command, int count, char** words);

    [[nodiscard]] const std::vector<std::string_view>& operands() const { return operands_; }
    [[nodiscard]] bool wantsHelp() const { return wantsHelp_; }
    [[nodiscard]] bool has(std::string_view option) const { return text(option).has_value(); }
    [[nodiscard]] std::optional<std::string_view> text(std::string_view option) const;
    [[nodiscard]] std::optional<double> number(std::string_view option) const;

private:
    struct Given {
        const Option* option = nullptr;
        std::string_view text;
        double number = 0;
    };
    [[nodiscard]] const Given* find(std::string_view option) const;
    [[nodiscard]] Result<void> add(const Option& option, std::string_view text);
    [[nodiscard]] Result<void> checkOperands(const Command& command) const;

    std::vector<std::string_view> operands_;
    std::vector<Given> given_;
    bool wantsHelp_ = false;
};

}  // namespace dravo::cli
