#include "DeadPools.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <system_error>

#include "PoolName.h"
#include "ShmPool.h"

namespace RtiqnPacketServer {

namespace {

constexpr const char* theDirectory = "/tmp";
constexpr const char* theSuffix = ".shared";
constexpr std::size_t theMostNames = 1024;

/// The name of the pool that a file is the key file of, if that may be a dead client's.
bool isDeadClients(const std::filesystem::path& file, int key) {
    const auto name = PoolName::parse(file.stem().string());
    return file.extension() == theSuffix && name && name->key == key && name->process > 0 &&
           ::kill(name->process, 0) != 0 && errno == ESRCH;
}

bool isThere(const std::string& name) {
    std::error_code error;
    const std::string path = std::string(theDirectory) + "/" + name + theSuffix;
    return std::filesystem::exists(std::filesystem::symlink_status(path, error));
}

}  // namespace

void DeadPools::sweep() {
    std::error_code error;
    std::filesystem::directory_iterator files(theDirectory, error);
    for (; !error && files != std::filesystem::directory_iterator(); files.increment(error))
        if (isDeadClients(files->path(), key_))
            removeNow(files->path().stem().string());
}

void DeadPools::remove(const std::string& name) {
    if (removeNow(name))
        return;
    if (names_.size() == theMostNames)
        names_.pop_front();  // the next sweep finds it
    names_.push_back(name);
}

void DeadPools::retry() {
    names_.erase(std::remove_if(names_.begin(), names_.end(),
                                [&](const std::string& name) { return removeNow(name); }),
                 names_.end());
}

/// True also when it is gone already.
bool DeadPools::removeNow(const std::string& name) {
    const bool removed = OrynRti::DtRemoveStaleSharedMemory(OrynRti::DtString(name.c_str()));
    removed_ += removed ? 1 : 0;
    return removed || !isThere(name);
}

}  // namespace RtiqnPacketServer
