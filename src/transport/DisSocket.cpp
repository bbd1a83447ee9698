#include "DisSocket.h"

#include <boost/asio/ip/udp.hpp>
#include <boost/system/system_error.hpp>
#include <cerrno>
#include <cstddef>
#include <new>
#include <sys/socket.h>
#include <system_error>
#include <tuple>
#include <utility>

#include "Exceptions.h"
#include "InetDevice.h"
#include "ScopedLock.h"
#include "net/DescriptorIo.h"
#include "net/SocketAddress.h"
#include "net/SocketOptions.h"
#include "net/SystemCall.h"
#include "transport/DisEventCounters.h"
#include "transport/DisSockPimpl.h"
#include "transport/PduQueue.h"

namespace OrynRti {

namespace {

namespace Options = SocketOptions;
using boost::asio::ip::udp;

constexpr const char* theOpenOperation = "DtDisSocket::openSocket(): ";
constexpr const char* theCloseOperation = "DtDisSocket::closeSocket(): ";

/// Orders all endpoints; `<` of two endpoints knows none for those without a protocol.
auto orderKey(const DtInetEndpoint& endpoint) {
    const DtInetAddr& addr = endpoint.address();
    return std::make_tuple(endpoint.protocol(), addr.family(), addr.toU128(), addr.scope(),
                           endpoint.port());
}

void require(const char* name, int error) {
    if (error != 0)
        throw std::system_error(error, std::generic_category(), name);
}

unsigned short firstNonZero(unsigned short port, unsigned short otherPort) {
    return port != 0 ? port : otherPort;
}

/// A send socket bound to the endpoint. Broadcasts are always allowed and the buffer is as large
/// as the system lets it be; the rest is as the option word says.
Descriptor boundSendSocket(const DtInetEndpoint& endpoint, unsigned int options) {
    const auto family = endpoint.family();
    const int domain = family == DtInetUtils::IPv6 ? AF_INET6 : AF_INET;
    Descriptor descriptor(
        checkedCall("socket", [=] { return socket(domain, SOCK_DGRAM | SOCK_CLOEXEC, 0); }));
    const int number = descriptor.number();
    const bool async = (options & DtInetSockAsyncSend) != 0;
    if (family == DtInetUtils::IPv6)
        require("IPv6 only", Options::setIpv6Only(number, true));
    require("address reuse",
            Options::setReuseAddress(number, (options & DtInetSockReuseAddress) != 0));
    require("non-blocking",
            Options::setNonBlocking(number, !async && (options & DtInetSockNonBlocking) != 0));
    require("broadcast", Options::setBroadcast(number, true));
    require("send buffer size", Options::setSendBufferSize(number, 0xFFFFFFFF));
    require("multicast loopback",
            Options::setMulticastLoop(number, family, (options & DtInetSockMcastLoopback) != 0));
    const SocketAddress local(endpoint);
    checkedCall("bind", [&] { return bind(number, local.get(), local.size()); });
    return descriptor;
}

void readChosenPort(int descriptor, DtInetEndpoint& endpoint) {
    sockaddr_storage local{};
    socklen_t size = sizeof local;
    DtInetEndpoint bound;
    if (getsockname(descriptor, reinterpret_cast<sockaddr*>(&local), &size) == 0 &&
        bound.fromAddrStorage(DtInetUdp, local))
        endpoint.setPort(bound.port());
}

}  // namespace

bool DtDisSocket::EndpointLess::operator()(const DtInetEndpoint& left,
                                           const DtInetEndpoint& right) const {
    return orderKey(left) < orderKey(right);
}

DtDisSocket::DtDisSocket(const DtInetEndpoint& endpoint, unsigned short sendPort,
                         DtInetDevice* device, unsigned int options, bool openNow,
                         bool suppressSelfReflect)
    : DtInetUdpSocket(endpoint, firstNonZero(sendPort, endpoint.port()), device, options, false),
      additionalDestinations_(std::make_shared<Destinations>()),
      selfReflectSuppression_(suppressSelfReflect),
      receiveQueue_(std::make_unique<PduQueue>()),
      events_(std::make_unique<DisEventCounters>()) {
    try {
        if (suppressSelfReflect) {
            prepareSendSocket();
            localSenderEndpoint_.setPort(firstNonZero(sendPort, endpoint.port()));
        }
        registerSteps();
        if (openNow)
            DtDisSocket::openSocket();
    } catch (...) {
        pimpl_.reset();  // before the context that it uses
        throw;
    }
}

void DtDisSocket::registerSteps() {
    if (selfReflectSuppression_)
        addProcessingCallback(DtInetSockAfterReceive, &DtDisSocket::suppressSelfReflect, nullptr,
                              2);
    addProcessingCallback(DtInetSockAfterReceive, &DtDisSocket::unbundle, nullptr, 5);
    addProcessingCallback(DtInetSockBeforeRead, &DtDisSocket::getNextBundle, nullptr, 1);
    addProcessingCallback(DtInetSockAfterReceive, &DtDisSocket::minSizeFilter, nullptr, 1);
    addProcessingCallback(DtInetSockAfterReceive, &DtDisSocket::filterExercisePdus, nullptr, 7);
}

/// When the system refuses, openSocket() tries again, and tells.
void DtDisSocket::prepareSendSocket() {
    try {
        makeSendSocket();
    } catch (const boost::system::system_error&) {
    }
}

void DtDisSocket::makeSendSocket() {
    auto context = std::make_unique<boost::asio::io_context>();
    auto sendSocket = std::make_unique<SendSocket>(*context);
    pimpl_ = std::make_unique<DtDisSockPimpl>(*context, datagramCounters());
    sendSocket_ = std::move(sendSocket);
    ioContext_ = std::move(context);
}

DtDisSocket::~DtDisSocket() {
    if (descriptor() >= 0)
        DtDisSocket::closeSocket();
    pimpl_.reset();
    sendSocket_.reset();
    ioContext_.reset();
}

// -------------------------------------------------------------------------------------------
// Opening and closing

bool DtDisSocket::openSocket() {
    const DtScopedLock lock(mutex());
    if (!DtInetUdpSocket::openSocket())
        return false;
    if (!selfReflectSuppression_)
        return true;
    if (pimpl_ != nullptr && pimpl_->isInherited())
        leaveToParent();
    try {
        return takeSenderAddress()
                   ? openSendSocket()
                   : openingFailed(EFAULT, DtString(theOpenOperation) +
                                               "Could not identify localhost interface for "
                                               "self-reflect suppression\n");
    } catch (const std::bad_alloc&) {
        DtInetUdpSocket::closeSocket();
        closeSendSocket();
        throw;
    }
}

/// False when no device, or one without an address of the family, is there to send from.
bool DtDisSocket::takeSenderAddress() {
    std::unique_ptr<DtInetDevice> found;
    if (hostIf() == nullptr)
        found.reset(DtInetDevice::findInterface(localEndpoint().address()));
    const DtInetDevice* device = hostIf() != nullptr ? hostIf() : found.get();
    if (device == nullptr || (isIPv6() ? !device->hasIPv6() : !device->hasIPv4()))
        return false;
    localSenderEndpoint_.setAddress(isIPv6() ? device->ipv6Addr() : device->ipv4Addr());
    localSenderEndpoint_.setProtocol(DtInetUdp);
    return true;
}

bool DtDisSocket::openSendSocket() {
    const DtString prefix(theOpenOperation);
    const DtString refused("Error opening Boost send socket for self-reflect suppression\n");
    const DtString failed("self-reflect suppression sending socket - ");
    try {
        if (pimpl_ == nullptr)
            makeSendSocket();
        Descriptor descriptor = boundSendSocket(localSenderEndpoint_, flags());
        if (localSenderEndpoint_.port() == 0)
            readChosenPort(descriptor.number(), localSenderEndpoint_);
        // Closing the Boost socket and closing the descriptor that the library sends through are
        // two things: each has its own.
        assignDuplicate(descriptor.number(), [this](int number) {
            boost::system::error_code error;
            sendSocket_->assign(isIPv6() ? udp::v6() : udp::v4(), number, error);
            require("assign", error.value());
        });
        pimpl_->start(std::move(descriptor), flags());
        return true;
    } catch (const std::system_error& error) {
        return openingFailed(error.code().value(), prefix + refused + error.code().message());
    } catch (const boost::system::system_error& error) {
        return openingFailed(error.code().value(), prefix + refused + error.code().message());
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const DtException& error) {
        return openingFailed(EINVAL, prefix + failed + error.message());
    } catch (const std::exception& error) {
        return openingFailed(EINVAL, prefix + failed + error.what());
    }
}

/// Takes back what has been opened.
bool DtDisSocket::openingFailed(int error, const DtString& text) {
    DtInetUdpSocket::closeSocket();
    closeSendSocket();
    return recordError(error, text);
}

/// Bundles for which there is no memory are lost: a socket can always be closed.
bool DtDisSocket::closeSocket() {
    if (isInherited())
        leaveToParent();
    try {
        if (descriptor() >= 0)
            flush();
    } catch (const std::bad_alloc&) {
    }
    const DtScopedLock lock(mutex());
    const bool closed = DtInetUdpSocket::closeSocket();
    const int error = closeSendSocket();
    if (error != 0)
        return recordError(error, DtString(theCloseOperation) +
                                      "Error closing Boost send socket used for self-reflect "
                                      "suppression\n" +
                                      systemErrorText(error));
    return closed;
}

/// In a child of fork(): bundles, send socket and thread are the parent's.
void DtDisSocket::leaveToParent() {
    const DtScopedLock lock(mutex());
    pendingBundles_.clear();
    lastBundle_ = pendingBundles_.end();
    if (pimpl_ == nullptr)
        return;
    pimpl_->closeCopies();
    if (sendSocket_->is_open())
        ::close(sendSocket_->native_handle());
    static_cast<void>(pimpl_.release());
    static_cast<void>(sendSocket_.release());
    static_cast<void>(ioContext_.release());
}

/// 0 or the error number. That the socket was not connected is as it should be.
int DtDisSocket::closeSendSocket() {
    if (sendSocket_ == nullptr || !sendSocket_->is_open())
        return 0;
    pimpl_->stop(theCloseWait_s);
    boost::system::error_code shutdownError;
    boost::system::error_code closeError;
    sendSocket_->shutdown(SendSocket::shutdown_both, shutdownError);
    sendSocket_->close(closeError);
    if (shutdownError && shutdownError.value() != ENOTCONN)
        return shutdownError.value();
    return closeError.value();
}

// -------------------------------------------------------------------------------------------
// Settings and counters

void DtDisSocket::setMinPacketSize(int bytes) {
    minPacketSize_ = bytes;
}

int DtDisSocket::minPacketSize() const {
    return minPacketSize_;
}

DtPduFilterTest& DtDisSocket::exerciseId() {
    return exerciseId_;
}

DtPduFilterTest& DtDisSocket::protocolVersion() {
    return protocolVersion_;
}

DtPduFilterTest& DtDisSocket::pduKind() {
    return pduKind_;
}

DtPduFilterTest& DtDisSocket::ipAddr() {
    return ipAddr_;
}

DtInetEndpoint& DtDisSocket::localSenderEndpoint() {
    return localSenderEndpoint_;
}

void DtDisSocket::setAttributePduStrategy(DtAttributePduStrategy strategy) {
    attributePduStrategy_ = strategy;
}

DtAttributePduStrategy DtDisSocket::attributePduStrategy() const {
    return attributePduStrategy_;
}

DtDisSocket::SendSocket* DtDisSocket::disSendSocket() {
    return sendSocket_.get();
}

DtDisSocket::DisCounters DtDisSocket::disCounters() const {
    return events_->snapshot();
}

std::uint64_t DtDisSocket::totalBytesSent() const {
    return DtInetUdpSocket::totalBytesSent() + events_->bytesBundled.total();
}

std::uint64_t DtDisSocket::totalPacketsSent() const {
    return DtInetUdpSocket::totalPacketsSent() + events_->pdusBundled.total();
}

void DtDisSocket::clearStats() {
    DtInetUdpSocket::clearStats();
    events_->clear();
}

}  // namespace OrynRti
