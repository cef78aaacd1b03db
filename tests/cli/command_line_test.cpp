#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

#include "base/shortest_text.h"
#include "cli/arguments.h"
#include "cli/command_world.h"
#include "cli/commands.h"
#include "cli/text.h"

namespace dravo::testing {
namespace {

using cli::ExitCode;

TEST(CommandLineTest, RefusesWrongUsageWithOneLineThatSaysWhatIsWrong) {
    const std::pair<std::vector<std::string>, const char*> cases[] = {
        {{"tabel"}, "unknown command 'tabel'; did you mean 'table'?"},
        {{"foo"}, "unknown command 'foo' (see"},
        {{""}, "unknown command ''"},
        {{"tab\nle\x1b[31m"}, "unknown command 'tab?le?[31m'"},
        {{"--heedless"}, "unknown option '--heedless'"},
        {{"--version", "now"}, "nothing may follow '--version'"},
        {{"table"}, "an argument is missing"},
        {{"table", "--", "--json", "fl41"}, "too many arguments, from 'fl41' on"},
        {{"table", "fl14"}, "no preset 'fl14'; did you mean 'fl41'?"},
        {{"table", "nothing-like-it"}, "no preset 'nothing-like-it'; there are migrainePrecision fl41"},
        {{"table", "fl41", "--intesity", "1"}, "unknown option '--intesity'; did you mean '--intensity'?"},
        {{"table", "fl41", "-x"}, "unknown option '-x'"},
        {{"table", "fl41", "--json=yes"}, "option '--json' takes no value"},
        {{"table", "fl41", "--dimming"}, "option '--dimming' needs a value"},
        {{"table", "fl41", "--intensity", "1.01"}, "--intensity takes a number from 0 to 1, not '1.01'"},
        {{"table", "fl41", "--black-point", "nan"}, "not 'nan'"},
        {{"table", "fl41", "--dimming="}, "not ''"},
        {{"preview", "out.png"}, "OUT.png and PRESET are needed"},
        {{"preview", "photo.jpg", "fl41"}, "'photo.jpg' must end in .png"},
        {{"preview", "--all", "--displays", "out.png"}, "exclude each other"},
        {{"preview", "--displays", "out.png", "--dimming", "0.1"}, "--dimming needs a PRESET"},
    };
    CommandWorld world;
    for (const auto& [words, says] : cases) {
        const Outcome outcome = world.run(words);
        EXPECT_EQ(outcome.code, ExitCode::WrongUsage) << says;
        EXPECT_NE(outcome.err.find(says), std::string::npos) << outcome.err;
        EXPECT_NE(outcome.err.find("--help')"), std::string::npos) << outcome.err;
        EXPECT_EQ(std::ranges::count(outcome.err, '\n'), 1) << outcome.err;
        EXPECT_EQ(outcome.out, "");
    }
}

TEST(CommandLineTest, HelpsWithEveryCommandAndAllItsOptionsAndCompletesThem) {
    CommandWorld world;
    const std::string overview = world.run({"--help"}).out;
    const std::string offered = world.run({"--complete", ""}).out;
    EXPECT_EQ(world.run({"help"}).out, overview);
    for (const cli::Command* const command : cli::commands()) {
        const std::string name = command->name;
        EXPECT_NE(overview.find("\n  " + name + " "), std::string::npos) << name;
        EXPECT_NE(offered.find(name + "\t" + localized(command->summary) + "\n"), std::string::npos) << name;
        const Outcome outcome = world.run({name, "--help"});
        EXPECT_EQ(outcome.code, ExitCode::Ok);
        EXPECT_EQ(outcome.out, world.run({"help", name}).out);
        const std::string options = world.run({"--complete", name, "--"}).out;
        for (const cli::Option& option : command->options) {
            EXPECT_NE(outcome.out.find(std::string("  --") + option.name), std::string::npos) << option.name;
            EXPECT_NE(options.find(std::string("--") + option.name + "\t"), std::string::npos) << option.name;
        }
    }
    EXPECT_EQ(world.run({"table", "-h", "and", "then", "some"}).code, ExitCode::Ok) << "help comes before complaints";
}

TEST(CommandLineTest, CompletesTheWordsThatACommandTakes) {
    CommandWorld world;
    for (const char* const id : {"MINE", "MI\nNE", "MI$(NE)"}) {
        world.ownPresets.push_back(FilterPreset::evening());
        world.ownPresets.back().id = id;
    }
    const struct {
        std::vector<std::string> words;
        std::string offers;
    } rows[] = {
        {{"pa"}, "pause panel "},
        {{"pause", ""}, "15m 1h morning "},
        {{"break", "--json", "o"}, "on off "},
        {{"set", "dimming=0.1", "b"}, "black-point= "},
        {{"preset", "M"}, "MINE "},
        {{"export", ""}, "MINE "},
        {{"table", "notch"}, "notch480 :files "},
        {{"preview", "notch"}, "notch480 :files "},
        {{"import", ""}, ":files "},
        {{"help", "rest"}, "restore "},
        {{"sun", "--date", ""}, ""},
        {{"--head"}, "--headless "},
        {{"nothing", ""}, ""},
        {{"location", "z"}, "zone "},
    };
    for (const auto& row : rows) {
        auto words = row.words;
        words.insert(words.begin(), "--complete");
        std::istringstream lines(world.run(words).out);
        std::string offers;
        for (std::string line; std::getline(lines, line);) offers += line.substr(0, line.find('\t')) + " ";
        EXPECT_EQ(offers, row.offers) << row.words.front();
    }
    EXPECT_EQ(world.run({"--complete"}).out, world.run({"--complete", ""}).out);
}

/// The operands joined by "|", then "name=value" for each option that was given.
std::string understood(std::vector<std::string> words) {
    const cli::Command command{.name = "command",
                               .options = {{"level", "X", {}, cli::Option::Kind::Number, -10, 10},
                                           {"name", "TEXT", {}, cli::Option::Kind::Text},
                                           {"flag"}},
                               .mostOperands = 9};
    std::vector<char*> argv;
    words.insert(words.begin(), "command");
    for (std::string& word : words) argv.push_back(word.data());
    argv.push_back(nullptr);
    const auto arguments = cli::Arguments::parse(command, static_cast<int>(words.size()) - 1, argv.data() + 1);
    if (!arguments) return "! " + inEnglish(arguments.error().message);
    std::string result;
    for (const std::string_view operand : arguments->operands()) result += std::string(operand) + "|";
    if (const auto level = arguments->number("level")) result += " level=" + shortestText(*level);
    if (const auto name = arguments->text("name")) result += " name=" + std::string(*name);
    if (arguments->has("flag")) result += " flag";
    return result;
}

TEST(CommandLineTest, TakesOptionsAnywhereAndNegativeNumbersAsValues) {
    EXPECT_EQ(understood({"a", "--level", "-2.5", "b", "--flag", "c"}), "a|b|c| level=-2.5 flag");
    EXPECT_EQ(understood({"--level=-.5", "--name=", "a"}), "a| level=-0.5 name=");
    EXPECT_EQ(understood({"-33.8", "--flag", "-.5", "-7"}), "-33.8|-.5|-7| flag");
    EXPECT_EQ(understood({"-1"}), "-1|");
    EXPECT_EQ(understood({"--name", "--", "--", "--flag", "-x", "--"}), "--flag|-x|--| name=--");
    EXPECT_EQ(understood({"--level", "1", "--level", "+2e0"}), " level=2") << "the last one counts";
    EXPECT_EQ(understood({"--lev", "3"}), " level=3");
    EXPECT_EQ(understood({"-"}), "-|");
    EXPECT_EQ(understood({"--level", "1e400"}).substr(0, 1), "!");
    EXPECT_EQ(understood({"--level", "+-1"}).substr(0, 1), "!");
    EXPECT_EQ(understood({"--level", "0x1"}).substr(0, 1), "!");
    EXPECT_EQ(understood({"-xh", "a"}).substr(0, 1), "!");
    EXPECT_EQ(understood({"a", "-5", "b"}), "a|-5|b|") << "after a parse that ended inside a word";
}

}  // namespace
}  // namespace dravo::testing
