#ifndef TESTS_SUPPORT_PROGRAM_H
#define TESTS_SUPPORT_PROGRAM_H

#include <csignal>
#include <fcntl.h>
#include <stdexcept>
#include <string>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "support/Files.h"

namespace OrynRti::Tests {

/// What a program left.
struct Outcome {
    int status;  ///< -1 when a signal has ended it
    std::string out;
    std::string err;
};

/// A program in a process of its own, with its path as the first word. Its standard error is read
/// as it comes. It is killed with the object.
class RunningProgram {
public:
    /// `outPath` is where its standard output goes; by default it is caught.
    explicit RunningProgram(const std::vector<std::string>& words, const std::string& outPath = {})
        : caught_(outPath.empty()) {
        std::vector<char*> arguments;
        for (const std::string& word : words)
            arguments.push_back(const_cast<char*>(word.c_str()));
        arguments.push_back(nullptr);
        start(arguments, caught_ ? folder_.path("out") : outPath);
    }

    ~RunningProgram() {
        kill();
        ::close(errors_);
    }
    RunningProgram(const RunningProgram&) = delete;
    RunningProgram& operator=(const RunningProgram&) = delete;

    pid_t process() const { return process_; }

    /// Does nothing when it has ended: the number would mean other processes.
    void signal(int number) const {
        if (process_ > 0)
            ::kill(process_, number);
    }

    /// Sends SIGKILL, and is back when the process is gone.
    void kill() {
        signal(SIGKILL);
        finish();
    }

    /// Waits until standard error holds `before` and the end of that line; answers with what
    /// stands between. Throws when the program ends without.
    std::string awaitLine(const std::string& before) {
        for (;;) {
            const std::size_t at = err_.find(before);
            const std::size_t end = at == std::string::npos ? at : err_.find('\n', at);
            if (end != std::string::npos)
                return err_.substr(at + before.size(), end - at - before.size());
            if (!readMore())
                throw std::runtime_error("the program ended: " + err_);
        }
    }

    /// What it left, once it has come to its end.
    Outcome finish() {
        while (readMore()) {
        }
        int status = 0;
        if (process_ > 0)
            ::waitpid(process_, &status, 0);
        process_ = -1;
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1,
                caught_ ? readFile(folder_.path("out")) : "", err_};
    }

private:
    void start(const std::vector<char*>& arguments, const std::string& outPath) {
        int ends[2];
        if (::pipe2(ends, O_CLOEXEC) != 0)
            throw std::runtime_error("no pipe");
        process_ = ::fork();
        if (process_ == 0) {
            ::prctl(PR_SET_PDEATHSIG, SIGKILL);  // a test that crashes leaves nothing behind
            ::dup2(::open(outPath.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600), STDOUT_FILENO);
            ::dup2(ends[1], STDERR_FILENO);
            ::execv(arguments[0], arguments.data());
            ::_exit(127);
        }
        ::close(ends[1]);
        errors_ = ends[0];
    }

    bool readMore() {
        char buffer[512];
        const ssize_t size = ::read(errors_, buffer, sizeof buffer);
        if (size > 0)
            err_.append(buffer, static_cast<std::size_t>(size));
        return size > 0;
    }

    TemporaryFolder folder_;
    bool caught_;
    pid_t process_ = -1;
    int errors_ = -1;
    std::string err_;
};

/// Runs a program to its end.
inline Outcome runToEnd(const std::vector<std::string>& words, const std::string& outPath = {}) {
    return RunningProgram(words, outPath).finish();
}

}  // namespace OrynRti::Tests

#endif
