#ifndef RTIQN_PACKETSERVER_DEAD_POOLS_H
#define RTIQN_PACKETSERVER_DEAD_POOLS_H

#include <cstdint>
#include <deque>
#include <string>

namespace RtiqnPacketServer {

/// Removes the shared memory that clients leave that are killed.
class DeadPools {
public:
    explicit DeadPools(int key) : key_(key) {}

    /// Removes what no living process has made and none is attached to, of all clients that this
    /// key ever had.
    void sweep();

    /// Removes the pool of a process that has ended. Until its parent knows of the end the
    /// process still counts as living; later calls of retry() remove the pool then.
    void remove(const std::string& name);
    void retry();

    /// Whether retry() has something to do.
    bool areLeft() const { return !names_.empty(); }

    std::uint64_t removedCount() const { return removed_; }

private:
    bool removeNow(const std::string& name);

    int key_;
    std::deque<std::string> names_;
    std::uint64_t removed_ = 0;
};

}  // namespace RtiqnPacketServer

#endif
