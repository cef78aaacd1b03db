#include <algorithm>
#include <vector>

#include "cli/command_context.h"
#include "cli/commands.h"
#include "cli/text.h"

namespace dravo::cli {

namespace {

/// Collects what goes on with the word at the cursor.
class Offers {
public:
    explicit Offers(std::string_view word) : word_(word) {}

    /// Nothing that a shell would take for more than a word.
    void add(std::string_view offer, std::string_view meaning = {}) {
        const bool isPlain = offer.find_first_of(" \"'\\$`&|;<>(){}[]*?!~#") == std::string_view::npos;
        if (isPlain && offer.starts_with(word_) && printable(offer) == offer)
            text_ += std::string(offer) + "\t" + printable(meaning) + "\n";
    }
    void addCommands() {
        for (const Command* const command : commands()) add(command->name, localized(command->summary));
    }
    void addPresets(const std::vector<FilterPreset>& presets) {
        for (const FilterPreset& preset : presets) add(preset.id, preset.localizedName());
    }
    void addFiles() { hasFiles_ = true; }

    [[nodiscard]] std::string text() const { return text_ + (hasFiles_ ? ":files\n" : ""); }

private:
    std::string_view word_;
    std::string text_;
    bool hasFiles_ = false;
};

std::vector<FilterPreset> ownPresets(CommandContext& context) {
    const auto own = context.userPresets();
    return own ? *own : std::vector<FilterPreset>{};
}

/// One word of a usage, such as "morning", "intensity=X" or "PRESET".
void offerOperand(std::string_view operand, Offers& offers, CommandContext& context) {
    const bool isPreset = operand == "PRESET" || operand == "ID";
    const auto isIn = [](char c, char first, char last) { return c >= first && c <= last; };
    if (isPreset) offers.addPresets(FilterPreset::builtIn());
    if (isPreset || operand == "ID...") offers.addPresets(ownPresets(context));
    if (operand == "COMMAND") offers.addCommands();
    if (operand == "PRESET" || operand == "FILE" || operand == "IN" || operand == "OUT.png") offers.addFiles();
    const auto equals = operand.find('=');
    if (isIn(operand[0], 'a', 'z') || isIn(operand[0], '0', '9'))
        offers.add(operand.substr(0, equals == std::string_view::npos ? equals : equals + 1));
}

void offerOperands(const Command& command, Offers& offers, CommandContext& context) {
    constexpr std::string_view kBetween = " []|";
    for (std::string_view usage : command.usages) {
        while (!usage.empty()) {
            const std::string_view operand = usage.substr(0, usage.find_first_of(kBetween));
            if (!operand.empty()) offerOperand(operand, offers, context);
            usage.remove_prefix(std::min(operand.size() + 1, usage.size()));
        }
    }
}

}  // namespace

std::string completions(std::span<const char* const> words, CommandContext& context) {
    const std::string_view word = words.empty() ? "" : words.back();
    const auto before = words.first(words.empty() ? 0 : words.size() - 1);
    const auto isOption = [](std::string_view each) { return each.starts_with('-'); };
    const auto name = std::ranges::find_if_not(before, isOption);
    Offers offers(word);
    if (name == before.end()) {
        offers.addCommands();
        offers.add("--autostart", localized("The same, and stay in the background: for a start at login"));
        offers.add("--headless", localized("Filter in the foreground, without any window"));
        offers.add("--help", localized("Show this help"));
        offers.add("--version", localized("Show the version"));
        return offers.text();
    }
    const Command* const command = findCommand(*name);
    if (!command) return {};
    for (const Option& option : command->options)
        if (*option.valueName && before.back() == "--" + std::string(option.name)) return {};
    if (!isOption(word)) {
        offerOperands(*command, offers, context);
        return offers.text();
    }
    for (const Option& option : command->options) offers.add("--" + std::string(option.name), localized(option.help));
    offers.add("--help", localized("Show this help"));
    return offers.text();
}

}  // namespace dravo::cli
