#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "base/result.h"

namespace dravo::gettext {

/// Which of a language's plural forms goes with a number: the rule that a catalogue's header gives as a C expression
/// in n, such as "nplurals=2; plural=(n != 1);".
///
/// Thread: any. A plain value.
class PluralRule {
public:
    /// English: one form for 1, another for the rest.
    PluralRule();

    /// Reads the header's "Plural-Forms" field. Operators are those of the gettext manual: ?: || && == != < <= > >= + -
    /// * / % ! and parentheses.
    /// Errors: `InvalidInput`.
    [[nodiscard]] static Result<PluralRule> parse(std::string_view field);

    /// The form for `n`, below `forms`.
    [[nodiscard]] std::size_t formFor(std::uint64_t n) const;

    [[nodiscard]] std::size_t forms() const { return forms_; }

private:
    friend class PluralParser;
    enum class Operation : unsigned char {
        number,
        n,
        negate,
        multiply,
        divide,
        remainder,
        add,
        subtract,
        less,
        lessOrEqual,
        greater,
        greaterOrEqual,
        equal,
        notEqual,
        conjunction,
        disjunction,
        choice,
    };
    /// In postfix order: operands come before their operation.
    struct Step {
        Operation operation;
        std::uint64_t number = 0;
    };

    [[nodiscard]] static std::uint64_t apply(Operation operation, std::uint64_t left, std::uint64_t right);

    std::size_t forms_ = 2;
    std::vector<Step> steps_;
};

}  // namespace dravo::gettext
