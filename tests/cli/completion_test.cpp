#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include "filter/preset_json.h"
#include "support/process_under_test.h"

namespace dravo::testing {
namespace {

/// What a person typed up to the tab key, and what then stands on the line.
struct Row {
    const char* typed;
    const char* completed;
};
constexpr Row kRows[] = {
    {"tog", "<toggle>"},
    {"table notch", "<table><notch480>"},
    {"table MI", "<table><MINE>"},
    {"status --fol", "<status><--follow>"},
    {"set bl", "<set><black-point=>"},
    {"--headl", "<--headless>"},
};

/// A shell as a person has it: at a terminal, in a home of the test's, speaking German.
class CompletionTest : public ::testing::Test {
protected:
    CompletionTest() {
        home_.write(".dravo/custom_presets.json", *encodePresets(std::vector{FilterPreset{.id = "MINE"}}));
        home_.write("presets of mine.json", "[]");
        environment_ = home_.environment();
        environment_["PATH"] = programUnderTest().parent_path().string() + ":/usr/bin:/bin";
        environment_["LANGUAGE"] = "de";
        environment_["LANG"] = "de_DE.UTF-8";
        environment_["TERM"] = "vt100";
    }
    ~CompletionTest() override {
        if (shell_ > 0) ::kill(shell_, SIGKILL);
        if (shell_ > 0) ::waitpid(shell_, nullptr, 0);
        ::close(terminal_);
    }

    /// Whether the shell is installed; else the test is skipped, or fails where everything has to be there.
    static bool isInstalled(const char* shell) {
        if (std::filesystem::exists(shell)) return true;
        EXPECT_FALSE(std::getenv("DRAVO_REQUIRE_DESKTOP")) << shell << " is not installed";
        return false;
    }

    void startShell(std::vector<const char*> words) {
        shell_ = ::forkpty(&terminal_, nullptr, nullptr, nullptr);
        if (shell_ == 0) {
            ::clearenv();
            for (const auto& [name, value] : environment_) ::setenv(name.c_str(), value.c_str(), 1);
            words.push_back(nullptr);
            if (::chdir(home_.path().c_str()) == 0) ::execv(words[0], const_cast<char**>(words.data()));
            ::_exit(1);
        }
    }
    /// Types, and reads until `answer` comes; everything read.
    std::string type(const std::string& keys, const std::string& answer) {
        EXPECT_EQ(::write(terminal_, keys.data(), keys.size()), static_cast<ssize_t>(keys.size()));
        std::string read;
        pollfd readable{terminal_, POLLIN, 0};
        // A shell reads hundreds of files before it completes for the first time.
        constexpr int kPatienceInMilliseconds = 60'000;
        char buffer[4096];
        while (read.find(answer) == std::string::npos && ::poll(&readable, 1, kPatienceInMilliseconds) > 0) {
            const ssize_t size = ::read(terminal_, buffer, sizeof(buffer));
            if (size <= 0) break;
            read.append(buffer, static_cast<std::size_t>(size));
        }
        EXPECT_NE(read.find(answer), std::string::npos) << read;
        return read;
    }
    /// Has the shell complete every row, and print the words that then stand on its line.
    void expectRowsCompleted() {
        const std::string begin = "\001";
        for (const auto& [typed, completed] : kRows)
            type("dravo " + std::string(typed) + "\t" + begin + "printf '<%s>' \n", "<dravo>" + std::string(completed));
        type("dravo import pres\t" + begin + "printf '<%s>' \n", "<dravo><import><presets of mine.json>");
    }

    TestHome home_;
    std::map<std::string, std::string> environment_;

private:
    pid_t shell_ = -1;
    int terminal_ = -1;
};

TEST_F(CompletionTest, Bash) {
    if (!isInstalled("/bin/bash")) GTEST_SKIP();
    startShell({"/bin/bash", "--norc", "--noprofile", "-i"});
    type("source '" DRAVO_COMPLETIONS "/dravo.bash'; echo lo''aded\n", "loaded");
    expectRowsCompleted();
}

TEST_F(CompletionTest, Zsh) {
    if (!isInstalled("/usr/bin/zsh")) GTEST_SKIP();
    startShell({"/usr/bin/zsh", "-f", "-i"});
    type("bindkey -e; fpath=('" DRAVO_COMPLETIONS "' $fpath); autoload -Uz compinit; compinit -u; echo lo''aded\n",
         "loaded");
    expectRowsCompleted();
}

TEST_F(CompletionTest, Fish) {
    if (!isInstalled("/usr/bin/fish")) GTEST_SKIP();
    const auto offered = [&](const std::string& line) {
        ChildProcess fish(
            "/usr/bin/fish",
            {.arguments = {"--no-config", "--command",
                           "cd; source '" DRAVO_COMPLETIONS "/dravo.fish'; complete --do-complete '" + line + "'"},
             .environment = environment_});
        EXPECT_EQ(fish.waitForExit(), ExitStatus::exited(0)) << fish.standardError();
        const std::string offers = fish.standardOutput();
        return offers.substr(0, offers.find_first_of("\t\n"));
    };
    for (const auto& [typed, completed] : kRows) {
        const std::string words = completed;
        const auto last = words.rfind('<') + 1;
        EXPECT_EQ(offered("dravo " + std::string(typed)), words.substr(last, words.size() - last - 1));
    }
    EXPECT_EQ(offered("dravo import pres"), "presets of mine.json");
}

}  // namespace
}  // namespace dravo::testing
