#ifndef RTIQNUTIL_COUNTERSNAPSHOT_H
#define RTIQNUTIL_COUNTERSNAPSHOT_H

#include <cstddef>
#include <cstdint>

#include "Export.h"

namespace OrynRti {

class DtInetSocket;
class DtPacketServerClient;
class DtShmMsgQueueReader;
class DtShmMsgQueueWriter;

/// One counter of a DtCounterSnapshot.
struct DtCounter {
    const char* name;     ///< See DtCounterSnapshot.
    std::uint64_t value;  ///< As counted, or as given to add().
};

/// Everything that a socket, a queue or a client of the packet server counts, as names and values:
/// for programs that write counters down, send them to a monitor, or look at how they grow.
///
///     for (const DtCounter& counter : DtCounterSnapshot(socket))
///         log << counter.name << ' ' << counter.value << std::endl;
///
/// A name is that of the function or member that tells the counter, and the same in the JSON of
/// the programs. Objects of one type always have the same names in the same order; later versions
/// add some, so look for a counter by its name.
///
/// | of | counters |
/// |---|---|
/// | every socket | totalBytesSent, totalPacketsSent, totalBytesReceived, totalPacketsReceived |
/// | UDP sockets, too | those of DtInetUdpSocket::Counters |
/// | DIS sockets, too | those of DtDisSocket::DisCounters |
/// | queue writers | writtenCount, droppedCount, failedCount |
/// | queue readers | readCount |
/// | clients of the packet server | those of DtPacketServerClientStatistics |
///
/// The counters of one snapshot are read one after the other while others count: they are as exact
/// as each by itself, and need not add up to the last packet. Nothing is set back by reading.
///
/// Threads:   may be taken of a socket from any thread, of the others from the thread that uses
///            them
/// Cost:      no allocation; one system call for a UDP or DIS socket that is open, none for the
///            others
class DT_EXPORT DtCounterSnapshot {
public:
    /// As many counters as fit.
    static constexpr std::size_t theCapacity = 48;

    /// Without any counter.
    DtCounterSnapshot() = default;

    /// Of the socket as what it is, be it a TCP, UDP or DIS socket or derived from one; of the
    /// others alike. @{
    explicit DtCounterSnapshot(const DtInetSocket& socket);
    explicit DtCounterSnapshot(const DtShmMsgQueueWriter& writer);
    explicit DtCounterSnapshot(const DtShmMsgQueueReader& reader);
    explicit DtCounterSnapshot(const DtPacketServerClient& client);
    /// @}

    /// Adds a counter of the program's own. `name` is borrowed for the life of the snapshot and
    /// its copies. False when there is no more room.
    bool add(const char* name, std::uint64_t value);

    /// The counters in their order, for a loop. @{
    const DtCounter* begin() const { return counters_; }
    const DtCounter* end() const { return counters_ + size_; }
    std::size_t size() const { return size_; }
    /// @}

    /// The counter of that name; null when there is none.
    const DtCounter* find(const char* name) const;

private:
    std::size_t size_ = 0;
    DtCounter counters_[theCapacity] = {};
};

}  // namespace OrynRti

#endif
