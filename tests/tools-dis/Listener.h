#ifndef TESTS_TOOLS_DIS_LISTENER_H
#define TESTS_TOOLS_DIS_LISTENER_H

#include <csignal>
#include <fcntl.h>
#include <stdexcept>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "tools-dis/Program.h"

namespace RtiqnDis::Tests {

/// `rtiqn-dis listen` in a process of its own, on a port of 127.0.0.1 that the system has chosen.
/// Give it an end (--count), so that the test needs to wait for nothing; one of 20 s is set.
class Listener {
public:
    explicit Listener(std::vector<std::string> options) {
        std::vector<std::string> words = {RTIQN_DIS_PROGRAM, "listen", "--bind", "127.0.0.1",
                                          "--port",          "0",      "--for",  "20",
                                          "--format",        "ndjson"};
        words.insert(words.end(), options.begin(), options.end());
        start(words);
        while (port().empty())
            if (!readMore())
                throw std::runtime_error("the listener ended: " + err_);
    }

    ~Listener() {
        if (process_ > 0)
            interrupt();
        ::close(errors_);
    }
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    /// Where to send to.
    std::string target() const { return "127.0.0.1:" + port(); }
    std::string port() const {
        const std::string before = "listening on 127.0.0.1:";
        const std::size_t at = err_.find(before);
        const std::size_t end = at == std::string::npos ? at : err_.find('\n', at);
        return end == std::string::npos ? ""
                                        : err_.substr(at + before.size(), end - at - before.size());
    }

    /// What it left, once it has come to its end.
    Outcome finish() {
        while (readMore()) {
        }
        int status = 0;
        ::waitpid(process_, &status, 0);
        process_ = -1;
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, readFile(folder_.path("out")), err_};
    }

    Outcome interrupt(int signal = SIGINT) {
        ::kill(process_, signal);
        return finish();
    }

private:
    void start(const std::vector<std::string>& words) {
        std::vector<char*> arguments;
        for (const std::string& word : words)
            arguments.push_back(const_cast<char*>(word.c_str()));
        arguments.push_back(nullptr);
        const std::string out = folder_.path("out");
        int ends[2];
        if (::pipe2(ends, O_CLOEXEC) != 0)
            throw std::runtime_error("no pipe");
        process_ = ::fork();
        if (process_ == 0) {
            ::dup2(::open(out.c_str(), O_WRONLY | O_CREAT, 0600), STDOUT_FILENO);
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
    pid_t process_ = -1;
    int errors_ = -1;
    std::string err_;
};

}  // namespace RtiqnDis::Tests

#endif
