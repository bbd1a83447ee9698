#ifndef TESTS_TOOLS_MODULE_FILE_H
#define TESTS_TOOLS_MODULE_FILE_H

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <stdexcept>
#include <stdlib.h>
#include <string>
#include <vector>

namespace RtiqnFom::Tests {

/// A folder of the test's own, removed with all that is in it.
class TemporaryFolder {
public:
    TemporaryFolder() : path_(::testing::TempDir() + "rtiqn-fom.XXXXXX") {
        if (!::mkdtemp(path_.data()))
            throw std::runtime_error("cannot make a folder for the test");
    }
    ~TemporaryFolder() { std::filesystem::remove_all(path_); }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    std::string path(const std::string& name) const { return path_ + "/" + name; }

private:
    std::string path_;
};

inline void writeText(const std::string& path, const std::string& text) {
    std::ofstream(path, std::ios::binary) << text;
}

inline std::string readText(const std::string& path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

/// A file that holds the text, as long as this lives.
class ModuleFile {
public:
    explicit ModuleFile(const std::string& text) { writeText(path(), text); }
    std::string path() const { return folder_.path("module.xml"); }

private:
    TemporaryFolder folder_;
};

/// A module of the sample federation.
inline std::string samplePath(const std::string& name) {
    const auto project = std::filesystem::path(__FILE__).parent_path().parent_path().parent_path();
    return (project / "data" / "fom" / name).string();
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
