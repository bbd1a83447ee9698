#ifndef TESTS_TOOLS_DIS_TEST_FOLDER_H
#define TESTS_TOOLS_DIS_TEST_FOLDER_H

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <stdexcept>
#include <stdlib.h>
#include <string>

namespace RtiqnDis::Tests {

/// A folder of the test's own, removed with all that is in it.
class TemporaryFolder {
public:
    TemporaryFolder() : path_(::testing::TempDir() + "rtiqn-dis.XXXXXX") {
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

inline void writeFile(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

inline std::string readFile(const std::string& path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

/// A file of the project's own small captures.
inline std::string samplePath(const std::string& name) {
    const auto project = std::filesystem::path(__FILE__).parent_path().parent_path().parent_path();
    return (project / "data" / "dis" / name).string();
}

}  // namespace RtiqnDis::Tests

#endif
