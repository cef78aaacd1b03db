#include "platform/gettext/plural_rule.h"

#include <array>
#include <charconv>

namespace dravo::gettext {

namespace {

constexpr std::size_t kMostForms = 8;
/// Far beyond any language's rule; keeps a damaged catalogue from filling the stack.
constexpr int kDeepest = 32;

Error damaged() { return Error{ErrorCode::InvalidInput, "not a rule for plural forms"}; }

}  // namespace

/// Precedence climbing over the header's expression.
class PluralParser {
public:
    explicit PluralParser(std::string_view text) : text_(text) {}

    bool parse(std::vector<PluralRule::Step>& steps) {
        steps_ = &steps;
        return choice(0) && next().empty();
    }

private:
    using Operation = PluralRule::Operation;

    struct Row {
        std::string_view sign;
        int level;
        Operation operation;
    };
    // Longer signs before those that they begin with.
    static constexpr std::array<Row, 13> kRows{{
        {"||", 1, Operation::disjunction},
        {"&&", 2, Operation::conjunction},
        {"==", 3, Operation::equal},
        {"!=", 3, Operation::notEqual},
        {"<=", 4, Operation::lessOrEqual},
        {">=", 4, Operation::greaterOrEqual},
        {"<", 4, Operation::less},
        {">", 4, Operation::greater},
        {"+", 5, Operation::add},
        {"-", 5, Operation::subtract},
        {"*", 6, Operation::multiply},
        {"/", 6, Operation::divide},
        {"%", 6, Operation::remainder},
    }};

    /// What is left to read, without blanks in front.
    std::string_view next() {
        text_.remove_prefix(std::min(text_.find_first_not_of(" \t"), text_.size()));
        return text_;
    }

    bool take(std::string_view sign) {
        if (!next().starts_with(sign)) return false;
        text_.remove_prefix(sign.size());
        return true;
    }

    bool choice(int depth) {
        if (depth > kDeepest || !binary(1, depth)) return false;
        if (!take("?")) return true;
        if (!choice(depth + 1) || !take(":") || !choice(depth + 1)) return false;
        steps_->push_back({Operation::choice});
        return true;
    }

    bool binary(int level, int depth) {
        if (!unary(depth)) return false;
        for (;;) {
            const Row* found = nullptr;
            for (const Row& row : kRows) {
                if (!next().starts_with(row.sign)) continue;
                found = row.level >= level ? &row : nullptr;
                break;
            }
            if (!found) return true;
            static_cast<void>(take(found->sign));
            if (!binary(found->level + 1, depth)) return false;
            steps_->push_back({found->operation});
        }
    }

    bool unary(int depth) {
        if (depth > kDeepest) return false;
        if (take("(")) return choice(depth + 1) && take(")");
        if (!next().starts_with("!=") && take("!")) {
            if (!unary(depth + 1)) return false;
            steps_->push_back({Operation::negate});
            return true;
        }
        if (take("n")) {
            steps_->push_back({Operation::n});
            return true;
        }
        std::uint64_t number = 0;
        const std::string_view rest = next();
        const auto [end, error] = std::from_chars(rest.data(), rest.data() + rest.size(), number);
        if (error != std::errc{}) return false;
        text_.remove_prefix(static_cast<std::size_t>(end - rest.data()));
        steps_->push_back({Operation::number, number});
        return true;
    }

    std::string_view text_;
    std::vector<PluralRule::Step>* steps_ = nullptr;
};

PluralRule::PluralRule() : steps_{{Operation::n}, {Operation::number, 1}, {Operation::notEqual}} {}

Result<PluralRule> PluralRule::parse(std::string_view field) {
    constexpr std::string_view kForms = "nplurals=";
    constexpr std::string_view kRule = "plural=";
    const auto forms = field.find(kForms);
    const auto rule = field.find(kRule, forms == std::string_view::npos ? 0 : forms + kForms.size());
    if (forms == std::string_view::npos || rule == std::string_view::npos) return damaged();
    PluralRule result;
    const char* const digits = field.data() + forms + kForms.size();
    const auto [end, error] = std::from_chars(digits, field.data() + field.size(), result.forms_);
    if (error != std::errc{} || result.forms_ == 0 || result.forms_ > kMostForms) return damaged();
    std::string_view expression = field.substr(rule + kRule.size());
    expression = expression.substr(0, expression.find(';'));
    result.steps_.clear();
    if (!PluralParser(expression).parse(result.steps_)) return damaged();
    return result;
}

std::size_t PluralRule::formFor(std::uint64_t n) const {
    std::vector<std::uint64_t> stack;
    const auto pop = [&] {
        const std::uint64_t value = stack.back();
        stack.pop_back();
        return value;
    };
    for (const Step& step : steps_) {
        if (step.operation == Operation::number || step.operation == Operation::n) {
            stack.push_back(step.operation == Operation::n ? n : step.number);
        } else if (step.operation == Operation::negate) {
            stack.back() = stack.back() == 0 ? 1 : 0;
        } else {
            const std::uint64_t right = pop();
            const std::uint64_t left = pop();
            if (step.operation == Operation::choice)
                stack.back() = stack.back() != 0 ? left : right;
            else
                stack.push_back(apply(step.operation, left, right));
        }
    }
    const std::uint64_t form = pop();
    return form < forms_ ? static_cast<std::size_t>(form) : 0;
}

std::uint64_t PluralRule::apply(Operation operation, std::uint64_t left, std::uint64_t right) {
    switch (operation) {
        case Operation::multiply:
            return left * right;
        case Operation::divide:
            return right == 0 ? 0 : left / right;
        case Operation::remainder:
            return right == 0 ? 0 : left % right;
        case Operation::add:
            return left + right;
        case Operation::subtract:
            return left - right;
        case Operation::less:
            return left < right;
        case Operation::lessOrEqual:
            return left <= right;
        case Operation::greater:
            return left > right;
        case Operation::greaterOrEqual:
            return left >= right;
        case Operation::equal:
            return left == right;
        case Operation::notEqual:
            return left != right;
        case Operation::conjunction:
            return left != 0 && right != 0;
        case Operation::disjunction:
            return left != 0 || right != 0;
        default:
            return 0;
    }
}

}  // namespace dravo::gettext
