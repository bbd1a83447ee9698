// Sending from a DIS socket: to all destinations, and through the send socket.
#include <cerrno>

#include "DisSocket.h"
#include "ScopedLock.h"
#include "net/BufferParts.h"
#include "net/DescriptorIo.h"
#include "net/ScratchChain.h"
#include "transport/DisSockPimpl.h"

namespace OrynRti {

namespace {

/// The texts that an endpoint keeps are not for several threads: of a copy.
DtString textOf(const DtInetEndpoint& endpoint) {
    return DtInetEndpoint(endpoint).toDtString();
}

}  // namespace

// -------------------------------------------------------------------------------------------
// Destinations

bool DtDisSocket::addDestination(const DtInetEndpoint& endpoint) {
    const DtScopedLock lock(mutex());
    const DtInetEndpoint& first = destination();
    if ((first.isIPv6() && !endpoint.isIPv6()) || (first.isIPv4() && !endpoint.isIPv4()))
        return false;
    auto changed = std::make_shared<Destinations>(*additionalDestinations_);
    changed->insert(endpoint);
    additionalDestinations_ = std::move(changed);
    hasAdditionalDestinations_ = true;
    return true;
}

bool DtDisSocket::removeDestination(const DtInetEndpoint& endpoint) {
    const DtScopedLock lock(mutex());
    auto changed = std::make_shared<Destinations>(*additionalDestinations_);
    if (changed->erase(endpoint) == 0)
        return false;
    hasAdditionalDestinations_ = !changed->empty();
    additionalDestinations_ = std::move(changed);
    return true;
}

std::shared_ptr<const DtDisSocket::Destinations> DtDisSocket::additionalDestinations() const {
    const DtScopedLock lock(mutex());
    return additionalDestinations_;
}

int DtDisSocket::send(char* bytes, int size, int flags) {
    return sendToAll("DtDisSocket::send(): ", [=](DtInetEndpoint& destination) {
        return sendTo(bytes, size, destination, flags);
    });
}

int DtDisSocket::sendChain(DtInetSocketBufferChain& chain, int flags) {
    return sendToAll("DtDisSocket::sendChain(): ", [this, &chain, flags](DtInetEndpoint& to) {
        return sendChainTo(chain, to, flags);
    });
}

template <typename Send>
int DtDisSocket::sendToAll(const char* prefix, Send sendOne) {
    const int result =
        callbacksSeeSends() ? sendToCopy(destination_, sendOne) : sendOne(destination_);
    if (result < 0 && !isValidDestination(destination_)) {  // then nothing has gone out
        recordError(EDESTADDRREQ, DtString(prefix) + "Error - no default destination set: " +
                                      textOf(destination_));
        return -1;
    }
    return hasAdditionalDestinations_ ? sendToAdditional(prefix, result, sendOne) : result;
}

/// Callbacks may change the copy. As all scratch memory it costs no allocation.
template <typename Send>
int DtDisSocket::sendToCopy(const DtInetEndpoint& destination, Send sendOne) {
    ScratchChain scratch(nullptr, 0);
    scratch.endpoint() = destination;
    return sendOne(scratch.endpoint());
}

/// `result` is that of the send before.
template <typename Send>
int DtDisSocket::sendToAdditional(const char* prefix, int result, Send sendOne) {
    const std::shared_ptr<const Destinations> additional = additionalDestinations();
    DtString invalid;
    for (const DtInetEndpoint& each : *additional) {
        if (isValid(each)) {
            result = sendToCopy(each, sendOne);
            continue;
        }
        invalid += invalid.isEmpty()
                       ? DtString(prefix) + "Error - additional destination is invalid: "
                       : DtString(", ");
        invalid += textOf(each);
        recordError(EDESTADDRREQ, invalid);
        result = -1;
    }
    return result;
}

bool DtDisSocket::callbacksSeeSends() const {
    return !onlyBundling_ && (hasCallbacks(DtInetSockPreSend) || hasCallbacks(DtInetSockPostSend));
}

/// The question changes nothing, but is not const.
bool DtDisSocket::isValid(const DtInetEndpoint& destination) {
    return isValidDestination(const_cast<DtInetEndpoint&>(destination));
}

// -------------------------------------------------------------------------------------------
// One destination

// What begins the texts of errors: those of the base, where it does the work.

const char* DtDisSocket::sendOperation() const {
    return selfReflectSuppression_ ? "DtDisSocket::send()/sendTo()"
                                   : "DtInetUdpSocket::send()/sendTo()";
}

const char* DtDisSocket::chainOperation() const {
    return selfReflectSuppression_ ? "DtDisSocket::sendChain()/sendChainTo()"
                                   : "DtInetUdpSocket::sendChain()/sendChainTo()";
}

int DtDisSocket::sendTo(char* bytes, int size, DtInetEndpoint& destination, int flags) {
    if (bytes != nullptr && size > 0 && bundlesOnly(destination, flags)) {
        const auto length = static_cast<std::size_t>(size);
        if (bundleDirectly(bytes, length, destination))
            return size;
        ScratchChain pdu(bytes, length);
        return bundleOnly(pdu.chain(), destination, flags, sendOperation());
    }
    if (!selfReflectSuppression_)
        return DtInetUdpSocket::sendTo(bytes, size, destination, flags);
    if (!readyToSend(destination, sendOperation()))
        return -1;
    return sendThroughChains(bytes, size, destination, flags, sendOperation());
}

int DtDisSocket::sendChainTo(DtInetSocketBufferChain& chain, DtInetEndpoint& destination,
                             int flags) {
    if (bundlesOnly(destination, flags))
        return bundleOnly(chain, destination, flags, chainOperation());
    if (!selfReflectSuppression_)
        return DtInetUdpSocket::sendChainTo(chain, destination, flags);
    if (!readyToSend(destination, chainOperation()))
        return -1;
    return sendThroughChains(chain, destination, flags, chainOperation());
}

bool DtDisSocket::readyToSend(DtInetEndpoint& destination, const char* operation) {
    if ((flags() & (DtInetSockSend | DtInetSockAsyncSend)) == 0)
        return recordError(EOPNOTSUPP,
                           DtString(operation) + ": Send socket not initialized for sending.");
    if (isValidDestination(destination))
        return true;
    sendingFailed(EDESTADDRREQ, destination, operation);
    return false;
}

int DtDisSocket::transmit(const iovec* parts, std::size_t count, DtInetEndpoint& destination,
                          int flags, const char* operation) {
    if (!selfReflectSuppression_)
        return DtInetUdpSocket::transmit(parts, count, destination, flags, operation);
    const DtInetEndpoint& to = state() == DtInetSockConnected ? this->destination() : destination;
    const int error = pimpl_ != nullptr
                          ? pimpl_->send(parts, count, SocketAddress(to), flags, sendQueueLimit())
                          : EBADF;
    return error == 0 ? static_cast<int>(partsSize(parts, count))
                      : sendingFailed(error, to, operation);
}

int DtDisSocket::sendingFailed(int error, const DtInetEndpoint& destination,
                               const char* operation) {
    if (error == EAGAIN) {
        recordWouldBlock();
        return 0;
    }
    const DtScopedLock lock(mutex());
    const int number = error == DtDisSockPimpl::theQueueIsFull ? ENOBUFS : error;
    const DtString text = DtString(operation) + " failed from " + textOf(localSenderEndpoint_) +
                          " to " + textOf(destination) + "\n" + systemErrorText(number);
    if (error == DtDisSockPimpl::theQueueIsFull || descriptor() < 0)
        recordRefusal(number, text);
    else
        recordError(number, text);
    return -1;
}

}  // namespace OrynRti
