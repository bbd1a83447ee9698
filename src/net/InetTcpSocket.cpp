#include "InetTcpSocket.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/socket.h>
#include <utility>

#include "InetDevice.h"
#include "ScopedLock.h"
#include "net/DescriptorIo.h"
#include "net/InetTcpSocketParts.h"
#include "net/SocketAddress.h"
#include "net/SocketOptions.h"
#include "net/StreamIo.h"

namespace OrynRti {

namespace {

using boost::asio::ip::tcp;

DtInetEndpoint anyEndpoint(DtInetUtils::DtInetAddrFamily family, unsigned short port) {
    return DtInetEndpoint(DtInetAddr::inaddrAny(family), port, DtInetTcp);
}

DtInetUtils::DtInetAddrFamily ipFamily(DtInetUtils::DtInetAddrFamily family) {
    return family == DtInetUtils::IPv6 ? DtInetUtils::IPv6 : DtInetUtils::IPv4;
}

/// The context of Boost objects that work on their caller's thread. Never run, never destroyed.
boost::asio::io_context& idleContext() {
    static boost::asio::io_context* const context = new boost::asio::io_context;
    return *context;
}

}  // namespace

DtInetTcpSocket::DtInetTcpSocket() : parts_(std::make_unique<TcpSocketParts>()) {
    localEndpoint_ = anyEndpoint(DtInetUtils::IPv4, 0);
    takeOptions(flags_);
}

DtInetTcpSocket::DtInetTcpSocket(unsigned short localPort, DtInetDevice* device,
                                 DtInetUtils::DtInetAddrFamily family, unsigned int options,
                                 bool open) {
    hostIf_ = device;  // which is ours from now on
    parts_ = std::make_unique<TcpSocketParts>();
    localEndpoint_ = anyEndpoint(ipFamily(family), localPort);
    parts_->server = true;
    takeOptions(options);
    if (open)
        DtInetTcpSocket::openSocket();
}

DtInetTcpSocket::DtInetTcpSocket(const DtInetEndpoint& destination, unsigned short localPort,
                                 DtInetDevice* device, unsigned int options, bool open) {
    hostIf_ = device;  // which is ours from now on
    parts_ = std::make_unique<TcpSocketParts>();
    destination_ = destination;
    localEndpoint_ = anyEndpoint(ipFamily(destination.family()), localPort);
    takeOptions(options);
    if (open)
        DtInetTcpSocket::openSocket();
}

DtInetTcpSocket::~DtInetTcpSocket() {
    if (isOpen())
        DtInetTcpSocket::closeSocket();
}

void DtInetTcpSocket::takeOptions(unsigned int options) {
    flags_ = options;
    nonBlocking_ = (options & DtInetSockNonBlocking) != 0;
    reuseAddress_ = (options & DtInetSockReuseAddress) != 0;
}

// -------------------------------------------------------------------------------------------
// State and error

bool DtInetTcpSocket::isOpen() const {
    return parts_->gate.descriptor() >= 0;
}

bool DtInetTcpSocket::isOk() const {
    return state() >= DtInetSockServerOpen && state() <= DtInetSockConnected;
}

int DtInetTcpSocket::descriptor() const {
    return parts_->gate.descriptor();
}

bool DtInetTcpSocket::isServerSock() const {
    return parts_->server;
}

/// From a copy: the texts that an endpoint keeps are not for several threads.
DtString DtInetTcpSocket::localText() const {
    const DtScopedLock lock(mutex());
    return DtInetEndpoint(localEndpoint_).toDtString();
}

/// A closed socket stays closed, whatever is still tried with it.
bool DtInetTcpSocket::recordFailure(int number, const DtString& text) {
    const DtScopedLock lock(mutex());
    return state() == DtInetSockClosed ? recordRefusal(number, text) : recordError(number, text);
}

bool DtInetTcpSocket::refuseUninitialized(const char* name) {
    return recordFailure(
        EBADF, DtString("DtInetTcpSocket()::") + name + "() called on uninitialized socket");
}

// -------------------------------------------------------------------------------------------
// Endpoints and device

bool DtInetTcpSocket::setDestination(const DtInetEndpoint& destination) {
    const DtScopedLock lock(mutex());
    if (!destination.isTcp())
        return recordFailure(EINVAL,
                             "DtInetTcpSocket::setDestination(): "
                             "Specified destination endpoint is not TCP");
    destination_ = destination;
    return true;
}

bool DtInetTcpSocket::bindToDevice(DtInetDevice* device) {
    const DtScopedLock lock(mutex());
    if (device != hostIf_)
        delete std::exchange(hostIf_, device);
    return true;
}

/// With a device its own address becomes the local one.
bool DtInetTcpSocket::takeDeviceAddress() {
    if (hostIf_ == nullptr)
        return true;
    const bool ipv6 = isIPv6();
    if (ipv6 ? !hostIf_->hasIPv6() : !hostIf_->hasIPv4())
        return recordError(
            EOPNOTSUPP, DtString("DtInetTcpSocket():: Specified interface does not have an IPv") +
                            (ipv6 ? "6" : "4") + " address assigned. ");
    localEndpoint_.setAddress(ipv6 ? hostIf_->ipv6Addr() : hostIf_->ipv4Addr());
    return true;
}

/// What the system chose for an earlier connection is not asked for again.
void DtInetTcpSocket::forgetChosenEndpoint() {
    if (parts_->requested.has_value() && localEndpoint_ == parts_->chosen)
        localEndpoint_ = *parts_->requested;
    parts_->requested.reset();
}

// -------------------------------------------------------------------------------------------
// Opening and closing

bool DtInetTcpSocket::checkOpening(const DtString& prefix) {
    const bool fromState =
        state() == DtInetSockInitial || state() == DtInetSockClosed || state() == DtInetSockError;
    if (!fromState || isOpen())
        return recordError(ENOTRECOVERABLE, prefix + "Invalid state " + DtString(state()));
    if (isUdp())
        return recordError(EINVAL, prefix + "Cannot open TCP socket from local UDP endpoint");
    if (destination_.isUdp())
        return recordError(EINVAL, prefix + "Cannot open TCP socket to a remote UDP endpoint");
    return true;
}

/// A client is bound now, when there is anything to bind it to; a server when it listens.
bool DtInetTcpSocket::openSocket() {
    const DtScopedLock lock(mutex());
    const DtString prefix("DtInetTcpSocket::openSocket(): ");
    if (!checkOpening(prefix))
        return false;
    if (isServerSock()) {
        beginUsing(DtInetSockServerOpen);
        return true;
    }
    forgetChosenEndpoint();
    if (localEndpoint_.address().isAnyAddr() && destination_.isTcp())
        localEndpoint_.setAddress(DtInetAddr::inaddrAny(destination_.family()));
    if (!takeDeviceAddress())
        return false;
    const TcpFailure failure = attempt([this] {
        Descriptor descriptor = parts_->make(isIPv6(), flags());
        const SocketAddress local(localEndpoint_);
        if (localPort() != 0 || !localEndpoint_.address().isAnyAddr())
            checkedCall("bind",
                        [&] { return bind(descriptor.number(), local.get(), local.size()); });
        parts_->begin(std::move(descriptor));
    });
    if (failure.number != 0)
        return recordError(failure.number, prefix + "Error opening socket on " + localText() +
                                               "\n" + failure.message);
    beginUsing(DtInetSockOpen);
    return true;
}

void DtInetTcpSocket::beginUsing(int state) {
    parts_->opened = true;
    setTermination(0, "");
    setState(state, 0);
    if (state == DtInetSockListening)
        parts_->poll.watch(descriptor());
}

bool DtInetTcpSocket::closeSocket() {
    const DtScopedLock lock(mutex());
    const DtString prefix("DtInetTcpSocket::closeSocket()");
    if (!std::exchange(parts_->opened, false)) {
        if (state() == DtInetSockClosed)
            return true;
        return recordError(EBADF, prefix + " called on uninitialized socket");
    }
    const int error = isOpen() ? parts_->end() : 0;
    setState(DtInetSockClosed, 0);
    return error == 0 || recordError(error, prefix + ": " + systemErrorText(error));
}

// -------------------------------------------------------------------------------------------
// Descriptors of others

/// The descriptor stays the caller's when this fails.
TcpFailure DtInetTcpSocket::takeDescriptor(int number) {
    TcpFailure failure = attempt([&] {
        checkedCall("close on exec", [=] { return fcntl(number, F_SETFD, FD_CLOEXEC); });
        parts_->apply(number, flags());
    });
    if (failure.number == 0) {
        parts_->begin(Descriptor(number));
        beginUsing(isListening(number) ? DtInetSockListening : DtInetSockOpen);
        parts_->server = state() == DtInetSockListening;
    }
    return failure;
}

void DtInetTcpSocket::takeEndpointsOf(int number) {
    sockaddr_storage addr;
    if (localAddress(number, addr))
        localEndpoint_.fromAddrStorage(DtInetTcp, addr);
    if (peerAddress(number, addr))
        destination_.fromAddrStorage(DtInetTcp, addr);
}

bool DtInetTcpSocket::setSocket(int number) {
    const DtScopedLock lock(mutex());
    const DtString prefix("DtInetTcpSocket::setSocket(): ");
    if (!isTcpSocket(number) || number == descriptor())
        return recordFailure(EINVAL, prefix + "Not a TCP socket");
    if (parts_->opened)
        closeSocket();
    const TcpFailure failure = takeDescriptor(number);
    if (failure.number != 0)
        return recordError(failure.number,
                           prefix + "Error taking over the socket\n" + failure.message);
    takeEndpointsOf(number);
    parts_->requested.reset();
    sockaddr_storage peer;
    return !peerAddress(number, peer) || connectionUp();
}

// -------------------------------------------------------------------------------------------
// Boost objects

DtInetTcpSocket::StreamSocket* DtInetTcpSocket::tcpSocket() {
    const DtScopedLock lock(mutex());
    if (isServerSock() || !isOpen())
        return nullptr;
    if (parts_->stream == nullptr) {
        auto stream = std::make_unique<StreamSocket>(idleContext());
        stream->assign(isIPv6() ? tcp::v6() : tcp::v4(), descriptor());
        parts_->stream = std::move(stream);
    }
    return parts_->stream.get();
}

DtInetTcpSocket::Acceptor* DtInetTcpSocket::tcpServerSocket() {
    const DtScopedLock lock(mutex());
    if (!isServerSock())
        return nullptr;
    if (parts_->acceptor == nullptr)
        parts_->acceptor = std::make_unique<Acceptor>(idleContext());
    if (isOpen() && !parts_->acceptor->is_open())
        parts_->acceptor->assign(isIPv6() ? tcp::v6() : tcp::v4(), descriptor());
    return parts_->acceptor.get();
}

// -------------------------------------------------------------------------------------------
// Queues and event loops

void DtInetTcpSocket::setSendQueueLimit(std::size_t bytes) {
    parts_->limits.send = bytes;
}

void DtInetTcpSocket::setReceiveQueueLimit(std::size_t bytes) {
    parts_->limits.receive = bytes;
}

std::size_t DtInetTcpSocket::sendQueueLimit() const {
    return parts_->limits.send;
}

std::size_t DtInetTcpSocket::receiveQueueLimit() const {
    return parts_->limits.receive;
}

void DtInetTcpSocket::setCloseWait(double seconds) {
    parts_->closeWait_s = seconds;
}

double DtInetTcpSocket::closeWait() const {
    return parts_->closeWait_s;
}

int DtInetTcpSocket::pollDescriptor() {
    return parts_->poll.descriptor();
}

}  // namespace OrynRti
