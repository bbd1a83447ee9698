#ifndef TESTS_TOOLS_DIS_PROGRAM_H
#define TESTS_TOOLS_DIS_PROGRAM_H

#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "support/Program.h"

namespace RtiqnDis::Tests {

using namespace OrynRti::Tests;

/// Runs the program. `out` is where its standard output goes; by default it is caught.
inline Outcome run(std::vector<std::string> words, const std::string& out = "") {
    words.insert(words.begin(), RTIQN_DIS_PROGRAM);
    return runToEnd(words, out);
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
