#include "InetUdpSocket.h"

#include <boost/system/system_error.hpp>
#include <cerrno>
#include <new>
#include <sys/socket.h>
#include <system_error>
#include <utility>

#include "Exceptions.h"
#include "InetDevice.h"
#include "ScopedLock.h"
#include "net/DescriptorIo.h"
#include "net/InetUdpSocketPimpl.h"
#include "net/SocketOptions.h"

namespace OrynRti {

namespace {

/// The address of one end of an open socket, as `question` (getsockname, getpeername) gives it.
template <typename Question>
bool readAddress(int descriptor, sockaddr_storage& addr, Question question) {
    socklen_t size = sizeof addr;
    return question(descriptor, reinterpret_cast<sockaddr*>(&addr), &size) == 0;
}

bool isUdpSocket(int descriptor, sockaddr_storage& local) {
    int type = 0;
    socklen_t size = sizeof type;
    return getsockopt(descriptor, SOL_SOCKET, SO_TYPE, &type, &size) == 0 && type == SOCK_DGRAM &&
           readAddress(descriptor, local, getsockname) &&
           (local.ss_family == AF_INET || local.ss_family == AF_INET6);
}

}  // namespace

DtInetUdpSocket::DtInetUdpSocket(const DtInetEndpoint& localEndpoint, unsigned short port,
                                 DtInetDevice* device, unsigned int options, bool open) {
    hostIf_ = device;  // which is ours from now on
    pimpl_ = std::make_unique<DtInetUdpSockPimpl>();
    localEndpoint_ = localEndpoint;
    if (localEndpoint_.port() == 0)
        localEndpoint_.setPort(port);
    if (localEndpoint_.protocol() == DtInetNoProtocol)
        localEndpoint_.setProtocol(DtInetUdp);
    flags_ = options;
    nonBlocking_ = (options & DtInetSockNonBlocking) != 0;
    reuseAddress_ = (options & DtInetSockReuseAddress) != 0;
    if (open)
        DtInetUdpSocket::openSocket();
}

DtInetUdpSocket::~DtInetUdpSocket() {
    if (isOpen())
        DtInetUdpSocket::closeSocket();
}

// -------------------------------------------------------------------------------------------
// Endpoints and device

bool DtInetUdpSocket::setDestination(const DtInetEndpoint& destination) {
    const DtScopedLock lock(mutex());
    if (!destination.isUdp())
        return recordRefusal(EINVAL,
                             "DtInetUdpSocket::setDestination(): "
                             "Specified destination endpoint is not UDP");
    destination_ = destination;
    return !pimpl_->connected || connectDescriptor("setDestination");
}

bool DtInetUdpSocket::bindToDevice(DtInetDevice* device) {
    const DtScopedLock lock(mutex());
    if (device == hostIf_)
        return true;
    std::unique_ptr<DtInetDevice> owned(device);
    const unsigned int index = device != nullptr ? device->index() : 0;
    const DtString failure("DtInetUdpSocket::bindToDevice(): Error binding to interface " +
                           (device != nullptr ? device->name() : DtString("none")) + "\n");
    if (device != nullptr && !device->isOk())
        return recordFailure(ENODEV, failure + systemErrorText(ENODEV));
    if (!applySetting(failure,
                      [=](int number) { return SocketOptions::bindToInterface(number, index); }))
        return false;
    delete std::exchange(hostIf_, owned.release());
    return true;
}

/// With a device its own address becomes the local one.
bool DtInetUdpSocket::takeDeviceAddress() {
    if (hostIf_ == nullptr)
        return true;
    const bool ipv6 = isIPv6();
    if (ipv6 ? !hostIf_->hasIPv6() : !hostIf_->hasIPv4())
        return recordError(
            EOPNOTSUPP, DtString("DtInetUdpSocket():: Specified interface does not have an IPv") +
                            (ipv6 ? "6" : "4") + " address assigned. ");
    localEndpoint_.setAddress(ipv6 ? hostIf_->ipv6Addr() : hostIf_->ipv4Addr());
    return true;
}

// -------------------------------------------------------------------------------------------
// Opening and closing

bool DtInetUdpSocket::isOpen() const {
    return pimpl_->gate.descriptor() >= 0;
}

bool DtInetUdpSocket::isInherited() const {
    return isOpen() && pimpl_->isInherited();
}

bool DtInetUdpSocket::isOk() const {
    return state() > 0 && state() != DtInetSockClosed;
}

/// Whether a call with these flags does.
bool DtInetUdpSocket::waits(int flags) const {
    return !isNonBlocking() && (flags & MSG_DONTWAIT) == 0;
}

int DtInetUdpSocket::descriptor() const {
    return pimpl_->gate.descriptor();
}

/// What happens to a socket that is not open is no error of its own.
bool DtInetUdpSocket::recordFailure(int error, const DtString& text) {
    const DtScopedLock lock(mutex());
    return isOpen() ? recordError(error, text) : recordRefusal(error, text);
}

bool DtInetUdpSocket::refuseUnopened(const char* name) {
    return recordRefusal(
        EBADF, DtString("DtInetUdpSocket()::") + name + "() called on uninitialized socket");
}

bool DtInetUdpSocket::checkOpening() {
    const DtString prefix("DtInetUdpSocket::openSocket(): ");
    if (isOpen())
        return recordRefusal(ENOTRECOVERABLE, prefix + "Invalid state " + DtString(state()));
    if (isTcp())
        return recordRefusal(EINVAL, prefix + "Cannot open UDP socket from local TCP endpoint");
    if (destination_.isTcp())
        return recordRefusal(EINVAL, prefix + "Cannot open UDP socket to a remote TCP endpoint");
    return takeDeviceAddress();
}

bool DtInetUdpSocket::openSocket() {
    const DtScopedLock lock(mutex());
    if (!checkOpening())
        return false;
    const DtString failure("DtInetUdpSocket::openSocket(): Error opening socket on " +
                           DtInetEndpoint(localEndpoint_).toDtString() + "\n");
    try {
        Descriptor descriptor =
            pimpl_->bound(localEndpoint_.address(), localPort(), hostIf_, flags());
        pimpl_->begin(std::move(descriptor), flags());
        takeChosenPort();
    } catch (const std::system_error& refused) {
        return recordError(refused.code().value(), failure + refused.what());
    } catch (const boost::system::system_error& refused) {
        return recordError(refused.code().value(), failure + refused.what());
    } catch (const std::bad_alloc&) {
        pimpl_->end(0);
        throw;
    } catch (const DtException& refused) {
        return recordError(EINVAL, failure + refused.message());
    } catch (const std::exception& refused) {
        return recordError(EINVAL, failure + refused.what());
    }
    startUsing(DtInetSockOpen);
    return true;
}

void DtInetUdpSocket::takeChosenPort() {
    sockaddr_storage local;
    DtInetEndpoint chosen;
    if (localPort() == 0 && readAddress(descriptor(), local, getsockname) &&
        chosen.fromAddrStorage(DtInetUdp, local))
        localEndpoint_.setPort(chosen.port());
}

void DtInetUdpSocket::startUsing(DtInetSockState state) {
    pimpl_->connected = state == DtInetSockConnected;
    setState(state, state);
}

bool DtInetUdpSocket::closeSocket() {
    const DtScopedLock lock(mutex());
    if (!pimpl_->end(theCloseWait_s)) {
        if (state() == DtInetSockClosed)
            return true;
        return recordRefusal(EBADF,
                             "DtInetUdpSocket::closeSocket() called on uninitialized socket");
    }
    pimpl_->connected = false;
    setState(DtInetSockClosed, 0);
    return true;
}

bool DtInetUdpSocket::connectToDestination() {
    const DtScopedLock lock(mutex());
    if (!isOpen())
        return refuseUnopened("connectToDestination");
    return connectDescriptor("connectToDestination");
}

bool DtInetUdpSocket::connectDescriptor(const char* name) {
    if (!checkDestination(destination_, name, theNoDestination))
        return false;
    const SocketAddress peer(destination_);
    if (!applySetting(
            DtString("DtInetUdpSocket::") + name + "(): Error connecting socket\n",
            [&](int number) { return connect(number, peer.get(), peer.size()) == 0 ? 0 : errno; }))
        return false;
    startUsing(DtInetSockConnected);
    return true;
}

bool DtInetUdpSocket::setSocket(int number) {
    const DtScopedLock lock(mutex());
    sockaddr_storage local{};
    sockaddr_storage peer{};
    if (!isUdpSocket(number, local))
        return recordRefusal(EINVAL, "DtInetUdpSocket::setSocket(): Not a UDP socket");
    pimpl_->end(theCloseWait_s);
    setState(DtInetSockClosed, 0);
    localEndpoint_.fromAddrStorage(DtInetUdp, local);
    const bool connected =
        readAddress(number, peer, getpeername) && destination_.fromAddrStorage(DtInetUdp, peer);
    try {
        pimpl_->adopt(number, flags());
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception& refused) {
        return recordError(EINVAL, DtString("DtInetUdpSocket::setSocket(): Error taking over the "
                                            "socket\n") +
                                       refused.what());
    }
    startUsing(connected ? DtInetSockConnected : DtInetSockOpen);
    return true;
}

// -------------------------------------------------------------------------------------------
// Queues, event loops, counters

void DtInetUdpSocket::setSendQueueLimit(std::size_t bytes) {
    pimpl_->sendLimit = bytes;
}

void DtInetUdpSocket::setReceiveQueueLimit(std::size_t bytes) {
    pimpl_->receiveLimit = bytes;
}

std::size_t DtInetUdpSocket::sendQueueLimit() const {
    return pimpl_->sendLimit;
}

std::size_t DtInetUdpSocket::receiveQueueLimit() const {
    return pimpl_->receiveLimit;
}

int DtInetUdpSocket::pollDescriptor() {
    const DtScopedLock lock(mutex());
    const int descriptor = pimpl_->poll.descriptor();
    if (pimpl_->derivedQueueWaits)
        pimpl_->poll.raise(PollDescriptor::DerivedQueue);
    return descriptor;
}

void DtInetUdpSocket::announceQueued(bool waiting) {
    pimpl_->derivedQueueWaits = waiting;
    if (!pimpl_->poll.isMade())
        return;
    if (waiting)
        pimpl_->poll.raise(PollDescriptor::DerivedQueue);
    else
        pimpl_->poll.lower(PollDescriptor::DerivedQueue, !isNonBlocking());
}

DtInetUdpSocket::Counters DtInetUdpSocket::counters() const {
    pimpl_->noteKernelDrops();
    return pimpl_->counters.snapshot();
}

std::uint64_t DtInetUdpSocket::totalBytesReceived() const {
    return DtInetSocket::totalBytesReceived() + pimpl_->bytesReceived.total();
}

std::uint64_t DtInetUdpSocket::totalPacketsReceived() const {
    return DtInetSocket::totalPacketsReceived() + pimpl_->packetsReceived.total();
}

void DtInetUdpSocket::clearStats() {
    DtInetSocket::clearStats();
    pimpl_->packetsReceived.clear();
    pimpl_->bytesReceived.clear();
    pimpl_->noteKernelDrops();
    pimpl_->counters.clear();
}

DatagramCounters& DtInetUdpSocket::datagramCounters() {
    return pimpl_->counters;
}

}  // namespace OrynRti
