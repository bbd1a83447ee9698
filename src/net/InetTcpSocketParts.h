#ifndef RTIQNUTIL_SRC_NET_INETTCPSOCKETPARTS_H
#define RTIQNUTIL_SRC_NET_INETTCPSOCKETPARTS_H

#include <atomic>
#include <boost/asio/ip/tcp.hpp>
#include <boost/system/system_error.hpp>
#include <cerrno>
#include <exception>
#include <memory>
#include <new>
#include <optional>
#include <system_error>
#include <unistd.h>

#include "Exceptions.h"
#include "InetTcpSocket.h"
#include "net/DescriptorGate.h"
#include "net/InetTcpSockPimpl.h"
#include "net/PollDescriptor.h"
#include "net/SystemCall.h"

namespace OrynRti {

/// The settings that a descriptor gets on opening, beside those that the socket itself keeps.
/// Sizes that have never been set are left to the system.
struct TcpSettings {
    std::optional<unsigned int> sendBufferSize;
    std::optional<unsigned int> receiveBufferSize;
    std::optional<unsigned int> receiveLowWatermark;
    bool doNotRoute = false;
    bool noDelay = false;
    bool keepAlive = false;
    unsigned short linger_s = 0;
};

/// Why a step of opening failed; number 0 when it did not.
struct TcpFailure {
    int number = 0;
    DtString message;
};

/// The descriptor of a TCP socket, and its queues and their thread while a connection is up whose
/// option word asks for them.
///
/// Threads: `gate`, `poll`, `limits` and the other atomic members from any thread; what `pimpl`
///          points to inside the gate; the rest under the lock of the socket
struct TcpSocketParts {
    /// A new descriptor with the settings. Throws a std::system_error.
    Descriptor make(bool ipv6, unsigned int options) const;

    /// Applies all settings; throws a std::system_error.
    void apply(int descriptor, unsigned int options) const;

    /// Hands the descriptor to the users.
    void begin(Descriptor descriptor);

    /// The connection is up: starts the queues that the options ask for. Throws what keeps them
    /// from being made.
    void startQueues(bool ipv6, unsigned int options);

    /// Takes the descriptor away from the users, wakes those who wait, lets queued sends go out
    /// and closes. An error number when the descriptor was no socket any more, else 0.
    int end();

    /// Whether fork() has brought this here from another process, whose threads it works with.
    bool isInherited() const { return owner_ != getpid(); }

    DescriptorGate gate;
    PollDescriptor poll;
    TcpQueueLimits limits{{DtInetTcpSocket::theQueueLimit_bytes},
                          {DtInetTcpSocket::theQueueLimit_bytes}};
    std::atomic<double> closeWait_s{DtInetTcpSocket::theCloseWait_s};
    std::atomic<bool> reportAborted{false};
    std::atomic<bool> connected{false};  ///< The connection is or was up.
    std::atomic<DtInetTcpSockPimpl*> pimpl{nullptr};

    TcpSettings settings;
    std::atomic<bool> server{false};
    bool opened = false;  ///< A server is so without a descriptor until it listens.

    // The local endpoint as it was asked for, where the system has chosen something, and what it
    // has chosen: the next opening asks anew.
    std::optional<DtInetEndpoint> requested;
    DtInetEndpoint chosen;

    // For callers who want them, see DtInetTcpSocket::tcpSocket().
    std::unique_ptr<DtInetTcpSocket::StreamSocket> stream;
    std::unique_ptr<DtInetTcpSocket::Acceptor> acceptor;

private:
    void releaseBoostObjects();
    void leaveToParent();
    std::unique_ptr<DtInetTcpSockPimpl> queues_;
    pid_t owner_ = getpid();
};

/// Runs a step of opening that may throw. Only std::bad_alloc passes.
template <typename Step>
TcpFailure attempt(Step step) {
    try {
        step();
        return {};
    } catch (const boost::system::system_error& refused) {
        return {refused.code().value(), DtString(refused.code().message())};
    } catch (const std::system_error& refused) {
        return {refused.code().value(), DtString(refused.code().message())};
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const DtException& refused) {
        return {EINVAL, DtString(refused.message())};
    } catch (const std::exception& refused) {
        return {EINVAL, DtString(refused.what())};
    }
}

}  // namespace OrynRti

#endif
