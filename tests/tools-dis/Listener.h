#ifndef TESTS_TOOLS_DIS_LISTENER_H
#define TESTS_TOOLS_DIS_LISTENER_H

#include <string>
#include <vector>

#include "tools-dis/Program.h"

namespace RtiqnDis::Tests {

/// `rtiqn-dis listen` in a process of its own, on a port of 127.0.0.1 that the system has chosen.
/// Give it an end (--count), so that the test needs to wait for nothing; one of 20 s is set.
class Listener {
public:
    explicit Listener(const std::vector<std::string>& options)
        : program_(words(options)), port_(program_.awaitLine("listening on 127.0.0.1:")) {}

    /// Where to send to.
    std::string target() const { return "127.0.0.1:" + port_; }
    std::string port() const { return port_; }

    /// What it left, once it has come to its end.
    Outcome finish() { return program_.finish(); }

    Outcome interrupt(int signal = SIGINT) {
        program_.signal(signal);
        return finish();
    }

private:
    static std::vector<std::string> words(const std::vector<std::string>& options) {
        std::vector<std::string> all = {RTIQN_DIS_PROGRAM, "listen", "--bind", "127.0.0.1",
                                        "--port",          "0",      "--for",  "20",
                                        "--format",        "ndjson"};
        all.insert(all.end(), options.begin(), options.end());
        return all;
    }

    RunningProgram program_;
    std::string port_;
};

}  // namespace RtiqnDis::Tests

#endif
