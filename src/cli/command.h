#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <initializer_list>
#include <string_view>

#include "base/localized.h"
#include "cli/exit_code.h"

namespace dravo::cli {

class Arguments;
class CommandContext;
struct Command;

/// One option of a command: a flag, or one that takes a text or a number within a range.
struct Option {
    enum class Kind { Flag, Text, Number };

    const char* name = "";       ///< Without the dashes.
    const char* valueName = "";  ///< What the help calls its value; empty for a flag.
    TextKey help = {};
    Kind kind = Kind::Flag;
    double least = 0;  ///< Smallest number accepted.
    double most = 0;   ///< Greatest number accepted.
};

/// The option of every command that prints data.
inline constexpr Option kJsonOption{"json", "", textKey("Print JSON for programs")};

/// A short list inside a row of a table, which would need a place of its own otherwise.
template <typename Item, std::size_t most>
class ShortList {
public:
    constexpr ShortList(std::initializer_list<Item> items) : count_(items.size()) {
        std::ranges::copy(items, items_.begin());
    }
    [[nodiscard]] constexpr const Item* begin() const { return items_.data(); }
    [[nodiscard]] constexpr const Item* end() const { return items_.data() + count_; }
    [[nodiscard]] constexpr const Item& operator[](std::size_t i) const { return items_[i]; }

private:
    std::array<Item, most> items_{};
    std::size_t count_;
};

/// A command as somebody called it, in the world that it runs in.
struct Call {
    const Command& command;
    const Arguments& arguments;
    CommandContext& context;
};

/// One row of the command table: all that parsing, help and shell completion know about a command.
struct Command {
    const char* name = "";
    TextKey summary = {};  ///< One line for the list of commands.
    /// Operands and options after the name, one line for each form. None: only the options.
    ShortList<const char*, 3> usages = {};
    TextKey description = {};           ///< A paragraph for its help; may be empty.
    ShortList<Option, 6> options = {};  ///< Besides --help, which every command has.
    std::size_t leastOperands = 0;
    std::size_t mostOperands = 0;
    /// Runs it. Operand count and number ranges are already checked.
    ExitCode (*run)(const Call& call) = nullptr;
};

/// Writes "dravo NAME: message" as one line to standard error and returns `code`.
ExitCode fail(const Call& call, ExitCode code, const Sentence& message);

/// The same for wrong usage, with a hint at the command's help.
ExitCode misused(const Call& call, const Sentence& message);

}  // namespace dravo::cli
