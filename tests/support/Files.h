#ifndef TESTS_SUPPORT_FILES_H
#define TESTS_SUPPORT_FILES_H

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <stdexcept>
#include <stdlib.h>
#include <string>

namespace OrynRti::Tests {

/// A folder of the test's own, removed with all that is in it.
class TemporaryFolder {
public:
    TemporaryFolder() : path_(::testing::TempDir() + "rtiqn.XXXXXX") {
        if (!::mkdtemp(path_.data()))
            throw std::runtime_error("cannot make a folder for the test");
    }
    ~TemporaryFolder() { std::filesystem::remove_all(path_); }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::string& path() const { return path_; }
    std::string path(const std::string& name) const { return path_ + "/" + name; }

private:
    std::string path_;
};

inline void writeFile(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

inline std::string readFile(const std::string& path) {
    std::ostringstream bytes;
    bytes << std::ifstream(path, std::ios::binary).rdbuf();
    return bytes.str();
}

/// A file under data/, such as "dis/harbour.pcap".
inline std::string dataPath(const std::string& name) {
    const auto project = std::filesystem::path(__FILE__).parent_path().parent_path().parent_path();
    return (project / "data" / name).string();
}

}  // namespace OrynRti::Tests

#endif
