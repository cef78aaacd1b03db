#include "platform/posix/child_output.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <memory>
#include <utility>

#include "base/unique_fd.h"

namespace dravo::posix {

namespace {

/// A child, killed and reaped when this goes.
class Child {
public:
    Child() = default;
    ~Child() { end(); }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    Result<void> start(const std::vector<std::string>& words, int output) {
        std::vector<char*> arguments;
        for (const auto& word : words) arguments.push_back(const_cast<char*>(word.c_str()));
        arguments.push_back(nullptr);

        posix_spawn_file_actions_t files;
        ::posix_spawn_file_actions_init(&files);
        ::posix_spawn_file_actions_addopen(&files, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        ::posix_spawn_file_actions_adddup2(&files, output, STDOUT_FILENO);
        ::posix_spawn_file_actions_addopen(&files, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
        // What we block and ignore is our business; the child would inherit it.
        posix_spawnattr_t attributes;
        ::posix_spawnattr_init(&attributes);
        sigset_t none;
        sigset_t all;
        ::sigemptyset(&none);
        ::sigfillset(&all);
        ::posix_spawnattr_setsigmask(&attributes, &none);
        ::posix_spawnattr_setsigdefault(&attributes, &all);
        ::posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
        const int failure = ::posix_spawnp(&pid_, arguments[0], &files, &attributes, arguments.data(), environ);
        ::posix_spawnattr_destroy(&attributes);
        ::posix_spawn_file_actions_destroy(&files);
        if (failure == 0) return {};
        pid_ = -1;
        const bool isAbsent = failure == ENOENT || failure == EACCES;
        return Error{isAbsent ? ErrorCode::NotFound : ErrorCode::Internal, words.front() + " cannot be started",
                     failure};
    }

    [[nodiscard]] pid_t pid() const { return pid_; }

    /// Its exit code, once it has ended; -1 for an end by a signal.
    int reap() {
        int status = 0;
        ::waitpid(std::exchange(pid_, -1), &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    void end() {
        if (pid_ == -1) return;
        ::kill(pid_, SIGKILL);
        reap();
    }

private:
    pid_t pid_ = -1;
};

/// One question to a program, until its answer or the loss of whoever asked.
class Question {
public:
    Question(DescriptorWatch& watch, Scheduler& scheduler, ChildLimits limits,
             std::function<void(const Result<std::string>&)> onDone)
        : watch_(watch), scheduler_(scheduler), limits_(limits), onDone_(std::move(onDone)) {}

    void ask(const std::vector<std::string>& words) {
        std::array<int, 2> pipe{};
        if (::pipe2(pipe.data(), O_CLOEXEC) != 0) return answerLater(Error{ErrorCode::Internal, "no pipe", errno});
        output_ = UniqueFd(pipe[0]);
        const UniqueFd theirs(pipe[1]);
        ::fcntl(output_.get(), F_SETFL, O_NONBLOCK);
        if (auto started = child_.start(words, theirs.get()); !started) return answerLater(started.error());
        timeout_ = scheduler_.after(limits_.time, [this] { finish(Error{ErrorCode::Busy, "it takes too long"}); });
        readable_ = watch_.whenReadable(output_.get(), [this] { read(); });
    }

private:
    void read() {
        std::array<char, 4096> part{};
        ssize_t count = 0;
        while ((count = ::read(output_.get(), part.data(), part.size())) > 0) {
            text_.append(part.data(), static_cast<std::size_t>(count));
            if (text_.size() > limits_.output) return finish(Error{ErrorCode::InvalidInput, "it prints too much"});
        }
        if (count == 0) awaitEnd();
    }

    // Whoever closes its output is about to end: the wait goes over to its process.
    void awaitEnd() {
        readable_.reset();
        process_ = UniqueFd(static_cast<int>(::syscall(SYS_pidfd_open, child_.pid(), 0)));
        if (!process_) return finish(Error{ErrorCode::Internal, "its end cannot be awaited", errno});
        readable_ = watch_.whenReadable(process_.get(), [this] {
            const int code = child_.reap();
            if (code == 0) return finish(std::move(text_));
            finish(Error{ErrorCode::Internal, std::move(text_), code});
        });
    }

    void answerLater(Error error) {
        timeout_ = scheduler_.after({}, [this, error = std::move(error)] { finish(error); });
    }

    void finish(const Result<std::string>& result) {
        child_.end();
        const auto done = std::move(onDone_);
        timeout_.cancel();
        readable_.reset();
        done(result);  // may destroy this
    }

    DescriptorWatch& watch_;
    Scheduler& scheduler_;
    ChildLimits limits_;
    std::function<void(const Result<std::string>&)> onDone_;
    Child child_;
    UniqueFd output_;
    UniqueFd process_;
    std::string text_;
    Timer timeout_;
    Subscription readable_;
};

}  // namespace

Subscription readChildOutput(DescriptorWatch& watch, Scheduler& scheduler, const std::vector<std::string>& words,
                             ChildLimits limits, std::function<void(const Result<std::string>&)> onDone) {
    auto question = std::make_shared<Question>(watch, scheduler, limits, std::move(onDone));
    question->ask(words);
    return Subscription([question]() mutable { question.reset(); });
}

}  // namespace dravo::posix
