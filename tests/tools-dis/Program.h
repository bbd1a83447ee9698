#ifndef TESTS_TOOLS_DIS_PROGRAM_H
#define TESTS_TOOLS_DIS_PROGRAM_H

#include <cstdlib>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <vector>

#include "tools-dis/TestFolder.h"

namespace RtiqnDis::Tests {

/// What the program left.
struct Outcome {
    int status;
    std::string out;
    std::string err;
};

/// Runs the program as a process of its own, through the shell. `out` is where its standard output
/// goes; by default it is caught.
inline Outcome run(const std::vector<std::string>& words, const std::string& out = "") {
    const TemporaryFolder folder;
    const auto quoted = [](const std::string& word) { return "'" + word + "'"; };
    const std::string outPath = out.empty() ? folder.path("out") : out;
    std::string command = quoted(RTIQN_DIS_PROGRAM);
    for (const std::string& word : words)
        command += " " + quoted(word);
    command += " >" + quoted(outPath) + " 2>" + quoted(folder.path("err"));
    const int status = std::system(command.c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, out.empty() ? readFile(outPath) : "",
            readFile(folder.path("err"))};
}

/// The objects of newline-delimited JSON.
inline std::vector<nlohmann::json> objectsOf(const std::string& text) {
    std::vector<nlohmann::json> objects;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
        objects.push_back(nlohmann::json::parse(line));
    return objects;
}

}  // namespace RtiqnDis::Tests

#endif
