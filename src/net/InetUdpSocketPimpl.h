#ifndef RTIQNUTIL_SRC_NET_INETUDPSOCKETPIMPL_H
#define RTIQNUTIL_SRC_NET_INETUDPSOCKETPIMPL_H

#include <atomic>
#include <cstddef>
#include <memory>
#include <optional>
#include <unistd.h>

#include "InetUdpSocket.h"
#include "net/AsyncDatagramReceiver.h"
#include "net/AsyncDatagramSender.h"
#include "net/DatagramCounters.h"
#include "net/DescriptorGate.h"
#include "net/IoThread.h"
#include "net/PollDescriptor.h"
#include "net/SharedCounter.h"
#include "net/SystemCall.h"

namespace OrynRti {

/// The settings that a descriptor gets on opening, beside those of the option word. What has
/// never been set is left to the system.
struct DatagramSettings {
    std::optional<unsigned int> sendBufferSize;
    std::optional<unsigned int> receiveBufferSize;
    std::optional<unsigned int> receiveLowWatermark;
    std::optional<bool> doNotRoute;
    std::optional<int> ttl;
    std::optional<int> multicastTtl;
    std::optional<unsigned int> multicastInterface;
};

/// The descriptor of a UDP socket, and the queues and the thread when its option word asks for
/// them.
///
/// Threads: `gate`, `poll`, `counters` and the limits from any thread. What `async` holds is
///          used inside the gate; the rest under the lock of the socket
class DtInetUdpSockPimpl {
public:
    /// The queues, each when asked for.
    struct Async {
        Async(DtInetUdpSockPimpl& owner, int descriptor, unsigned int options);

        /// Waits for the thread.
        ~Async();

        IoThread thread;
        std::unique_ptr<AsyncDatagramSender> sender;
        std::unique_ptr<AsyncDatagramReceiver> receiver;
    };

    /// A new descriptor bound to the address, or to everything that comes through the device.
    /// Throws a std::system_error that names the call.
    Descriptor bound(const DtInetAddr& address, unsigned short port, const DtInetDevice* device,
                     unsigned int options) const;

    /// Hands the descriptor to the users, with thread and queues as the options say. Throws what
    /// keeps the thread from being made.
    void begin(Descriptor descriptor, unsigned int options);

    /// The same with a descriptor of somebody else's making, which stays theirs when this
    /// throws.
    void adopt(int number, unsigned int options);

    /// Takes the descriptor away from the users, wakes those who wait and closes it. False when
    /// it was closed already.
    bool end(double sendWait_s);

    /// Whether fork() has brought this here from another process, whose threads it works with.
    bool isInherited() const { return owner_ != getpid(); }

    /// Brings the counter of what the kernel has dropped up to date.
    void noteKernelDrops();

    /// When the datagram received last, of those not received by the thread, came; 0 before the
    /// first.
    double lastArrival();

    DescriptorGate gate;
    PollDescriptor poll;
    DatagramCounters counters;
    SharedCounter packetsReceived;
    SharedCounter bytesReceived;
    DatagramSettings settings;
    std::atomic<std::size_t> sendLimit{DtInetUdpSocket::theQueueLimit_bytes};
    std::atomic<std::size_t> receiveLimit{DtInetUdpSocket::theQueueLimit_bytes};
    bool connected = false;
    bool derivedQueueWaits = false;
    std::unique_ptr<Async> async;

private:
    void prepare(int number, unsigned int options);
    bool leaveToParent();
    void rememberArrival(int number);

    std::atomic<double> arrivalBeforeClosing_{0.0};
    pid_t owner_ = getpid();
};

/// What an error text says ahead of a destination that was never set.
constexpr const char* theNoDestination = "(): Error - no default destination set: ";

}  // namespace OrynRti

#endif
