#ifndef RTIQN_PACKETSERVER_KEY_LOCK_H
#define RTIQN_PACKETSERVER_KEY_LOCK_H

#include <optional>

#include "common/Descriptor.h"

namespace RtiqnPacketServer {

/// The right to be the server of a key. One process of the host has it; the system takes it back
/// when that process ends, however it does.
class KeyLock {
public:
    /// Waits for that long at most, for a server that is about to end. Nothing when another
    /// process has it.
    static std::optional<KeyLock> take(int key, double wait_s);

private:
    explicit KeyLock(RtiqnTools::Descriptor socket) : socket_(std::move(socket)) {}

    RtiqnTools::Descriptor socket_;  ///< Has an address in the abstract namespace.
};

}  // namespace RtiqnPacketServer

#endif
