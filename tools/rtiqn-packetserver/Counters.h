#ifndef RTIQN_PACKETSERVER_COUNTERS_H
#define RTIQN_PACKETSERVER_COUNTERS_H

#include <cstdint>

namespace RtiqnPacketServer {

/// What has happened since the server started.
struct Counters {
    std::uint64_t packets = 0;  ///< Read from the network.
    std::uint64_t bytes = 0;
    std::uint64_t handedOver = 0;    ///< Into queues; a packet counts for each client.
    std::uint64_t clientsAdded = 0;  ///< Packet clients.
    std::uint64_t controlClientsAdded = 0;
    std::uint64_t networkFailures = 0;

    // Records for clients, those that are gone among them.
    std::uint64_t droppedOld = 0;  ///< Overwritten unread.
    std::uint64_t droppedNew = 0;  ///< Not written.

    // Requests that were not done.
    std::uint64_t malformed = 0;       ///< No record: size, version, kind.
    std::uint64_t notUnderstood = 0;   ///< A record with a value that means nothing.
    std::uint64_t wrongSocket = 0;     ///< Not to be asked on this socket.
    std::uint64_t foreignUser = 0;     ///< From a user that may not.
    std::uint64_t foreignProcess = 0;  ///< In the name of another process.
    std::uint64_t unknownClient = 0;
    std::uint64_t poolsRefused = 0;  ///< Shared memory that is not as it should be.
    std::uint64_t noPlace = 0;       ///< There were as many clients as there may be.
    std::uint64_t groupsRefused = 0;

    std::uint64_t queuesRemoved = 0;  ///< That killed clients had left.
};

}  // namespace RtiqnPacketServer

#endif
