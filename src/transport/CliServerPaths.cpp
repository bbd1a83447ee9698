#include <cerrno>
#include <cstdio>
#include <cstring>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include "CliServer.h"
#include "Fatal.h"
#include "Print.h"
#include "net/SystemCall.h"

namespace OrynRti {

namespace {

static_assert(sizeof(sockaddr_un{}.sun_path) == theDtRequestPathSize);

/// Leaves room for "/qnd-00000" and the final zero.
char theDirectory[theDtRequestPathSize - 10] = "/tmp";

constexpr int theKeyCount = 100000;

int keyInRange(int key) {
    if (key >= 0 && key < theKeyCount)
        return key;
    DtWarn("RequestPath key should be between 0 and 99999\n");
    return (key % theKeyCount + theKeyCount) % theKeyCount;
}

void writePath(int key, char* buffer, int which) {
    const bool packets = which == DtRequestPathPackets || which == 3;
    if (which == DtRequestPathControl || packets)
        std::snprintf(buffer, theDtRequestPathSize, "%s/%s%05d", theDirectory,
                      packets ? "qns-" : "qnd-", key);
    else
        std::snprintf(buffer, theDtRequestPathSize, "%05d", key);
}

bool exists(int key, int which) {
    char path[theDtRequestPathSize];
    writePath(key, path, which);
    struct stat found {};
    return lstat(path, &found) == 0;
}

/// False with errno when the path cannot be that of a socket.
bool makeAddress(const char* path, sockaddr_un& address) {
    const size_t length = std::strlen(path);
    if (length == 0 || length >= sizeof address.sun_path) {
        errno = length == 0 ? EINVAL : ENAMETOOLONG;
        return false;
    }
    address = sockaddr_un{};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path, length);
    return true;
}

bool bindAndOpen(int handle, const char* path, const sockaddr_un& address) {
    ::unlink(path);
    if (bind(handle, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        return false;
    if (chmod(path, 0777) == 0)
        return true;
    const int error = errno;
    ::unlink(path);
    errno = error;
    return false;
}

bool serve(int handle, const char* path, const char* label) {
    sockaddr_un address{};
    if (makeAddress(path, address) && bindAndOpen(handle, path, address))
        return true;
    DtWarnPerror("%s bind %s failed", label, path);
    return false;
}

bool join(int handle, const char* path, const char* label, bool missingIsTold) {
    sockaddr_un address{};
    const auto* const to = reinterpret_cast<const sockaddr*>(&address);
    const bool joined = makeAddress(path, address) &&
                        repeatedCall([&] { return connect(handle, to, sizeof address); }) == 0;
    if (!joined && (errno != ENOENT || missingIsTold))
        DtWarnPerror("%s connect %s failed", label, path);
    return joined;
}

}  // namespace

// -------------------------------------------------------------------------------------------

void DtPacketServerRequestPath(int key, char* buffer, int which) {
    writePath(keyInRange(key), buffer, which);
}

bool DtSetPacketServerDirectory(const DtString& directory) {
    const char* const name = directory.c_str() != nullptr ? directory.c_str() : "";
    const size_t length = std::strlen(name);
    if (length == 0 || length >= sizeof theDirectory)
        return false;
    std::memcpy(theDirectory, name, length + 1);
    return true;
}

int DtPacketServerIsAlive(int key) {
    const int known = keyInRange(key);
    if (exists(known, DtRequestPathPackets))
        return 1;
    return exists(known, DtRequestPathControl) ? -1 : 0;
}

int DtOpenUnixDgram(const char* path, int action, const char* label) {
    const char* const name = label != nullptr ? label : "DtOpenUnixDgram";
    const char* const place = path != nullptr ? path : "";
    const bool known = action == DtUnixDgramServe || action == DtUnixDgramConnect;
    errno = EINVAL;
    Descriptor handle(known ? ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0) : -1);
    if (handle.number() < 0) {
        DtWarnPerror("%s socket failed", name);
        return -1;
    }
    const bool ready = action == DtUnixDgramServe
                           ? serve(handle.number(), place, name)
                           : join(handle.number(), place, name, label != nullptr);
    return ready ? handle.release() : -1;
}

}  // namespace OrynRti
