#ifndef TESTS_TOOLS_MODULE_FILE_H
#define TESTS_TOOLS_MODULE_FILE_H

#include <string>
#include <vector>

#include "support/Files.h"

namespace RtiqnFom::Tests {

using namespace OrynRti::Tests;

/// A file that holds the text, as long as this lives.
class ModuleFile {
public:
    explicit ModuleFile(const std::string& text) { writeFile(path(), text); }
    std::string path() const { return folder_.path("module.xml"); }

private:
    TemporaryFolder folder_;
};

/// A module of the sample federation.
inline std::string samplePath(const std::string& name) {
    return dataPath("fom/" + name);
}

/// The modules of the sample federation that merge without conflict.
inline std::vector<std::string> harbourPaths() {
    std::vector<std::string> paths;
    for (const char* part : {"Base", "Cargo", "Datatypes", "Network", "Switches", "Traffic"})
        paths.push_back(samplePath(std::string("Harbour") + part + ".xml"));
    return paths;
}

/// What `action` says when it throws an `Error`, without the path that the text begins with; empty
/// when it does not throw.
template <typename Error, typename Action>
std::string errorOf(const std::string& path, Action action) {
    try {
        action();
    } catch (const Error& error) {
        const std::string text = error.what();
        return text.compare(0, path.size(), path) == 0 ? text.substr(path.size() + 1) : text;
    }
    return {};
}

}  // namespace RtiqnFom::Tests

#endif
