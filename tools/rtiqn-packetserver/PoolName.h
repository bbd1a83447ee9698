#ifndef RTIQN_PACKETSERVER_POOL_NAME_H
#define RTIQN_PACKETSERVER_POOL_NAME_H

#include <optional>
#include <string>
#include <string_view>
#include <sys/types.h>

namespace RtiqnPacketServer {

/// What clients call their shared memory: "rtiqn-packets-KEY-PID-N". N tells several of one
/// process apart.
struct PoolName {
    int key;
    pid_t process;

    /// Nothing when the text is no such name.
    static std::optional<PoolName> parse(std::string_view text);

    static std::string make(int key, pid_t process, unsigned int number);
};

}  // namespace RtiqnPacketServer

#endif
