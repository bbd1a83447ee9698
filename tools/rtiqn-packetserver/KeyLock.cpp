#include "KeyLock.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstring>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <utility>

#include "CliServer.h"
#include "Errors.h"

namespace RtiqnPacketServer {

using namespace OrynRti;

namespace {

/// The path of the control socket as a name without a file.
socklen_t makeAddress(int key, sockaddr_un& address) {
    char path[theDtRequestPathSize];
    DtPacketServerRequestPath(key, path, DtRequestPathControl);
    address = sockaddr_un{};
    address.sun_family = AF_UNIX;
    const std::size_t length = std::min(std::strlen(path), sizeof address.sun_path - 1);
    std::memcpy(address.sun_path + 1, path, length);
    return static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + length);
}

}  // namespace

std::optional<KeyLock> KeyLock::take(int key, double wait_s) {
    using Clock = std::chrono::steady_clock;
    const Clock::time_point end = Clock::now() + std::chrono::duration_cast<Clock::duration>(
                                                     std::chrono::duration<double>(wait_s));
    Descriptor socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    const socklen_t size = makeAddress(key, address);
    while (::bind(socket.number(), reinterpret_cast<const sockaddr*>(&address), size) != 0) {
        if (errno != EADDRINUSE)
            throw NetworkError(std::string("cannot reserve the key: ") + std::strerror(errno));
        if (Clock::now() >= end)
            return std::nullopt;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return KeyLock(std::move(socket));
}

}  // namespace RtiqnPacketServer
