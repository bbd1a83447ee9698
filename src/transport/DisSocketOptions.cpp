// Options of a DIS socket, applied to its receiving socket and then to its send socket.
#include <boost/asio/ip/udp.hpp>
#include <cerrno>

#include "DisSocket.h"
#include "InetDevice.h"
#include "ScopedLock.h"
#include "net/DescriptorIo.h"
#include "net/SocketOptions.h"

namespace OrynRti {

namespace Options = SocketOptions;

namespace {

DtString flagFailure(const char* name, bool on, const char* words) {
    return DtString("DtDisSocket::") + name + "(): Error " + (on ? "enabling" : "disabling") + " " +
           words + " on send socket\n";
}

DtString sizeFailure(const char* name, const char* words, unsigned int bytes) {
    return DtString("DtDisSocket::") + name + "(): Error setting " + words + " to " +
           DtString(bytes) + " on send socket\n";
}

DtString nameOf(const DtInetDevice* device) {
    return device != nullptr ? device->name() : DtString("of the system's choice");
}

}  // namespace

/// `setting` is given the descriptor and answers 0 or the error number. The system's text comes
/// right behind that of the failure.
bool DtDisSocket::applyToSendSocket(bool baseResult, const DtString& failure,
                                    const std::function<int(int descriptor)>& setting) {
    if (!selfReflectSuppression_)
        return baseResult;
    const DtScopedLock lock(mutex());
    if (sendSocket_ == nullptr || !sendSocket_->is_open())
        return false;
    const int error = setting(sendSocket_->native_handle());
    return error == 0 ? baseResult : recordError(error, failure + systemErrorText(error));
}

// -------------------------------------------------------------------------------------------
// Flags

bool DtDisSocket::setNonBlockingOption(bool on) {
    return applyToSendSocket(
        DtInetUdpSocket::setNonBlockingOption(on),
        flagFailure("setSendSockNonBlockingOption", on, "non-blocking IO"),
        [on](int descriptor) { return Options::setNonBlocking(descriptor, on); });
}

bool DtDisSocket::setBroadcastOption(bool on) {
    return applyToSendSocket(
        DtInetUdpSocket::setBroadcastOption(on),
        flagFailure("setSendSockBroadcastOption", on, "broadcast"),
        [on](int descriptor) { return Options::setBroadcast(descriptor, on); });
}

bool DtDisSocket::setReuseAddressOption(bool on) {
    return applyToSendSocket(
        DtInetUdpSocket::setReuseAddressOption(on),
        flagFailure("setSendSockReuseAddrOption", on, "address reuse"),
        [on](int descriptor) { return Options::setReuseAddress(descriptor, on); });
}

bool DtDisSocket::setDoNotRouteOption(bool on) {
    return applyToSendSocket(
        DtInetUdpSocket::setDoNotRouteOption(on),
        flagFailure("setSendSockDoNotRouteOption", on, "do-not-route"),
        [on](int descriptor) { return Options::setDoNotRoute(descriptor, on); });
}

bool DtDisSocket::setMcastLoopOption(bool on) {
    return applyToSendSocket(
        DtInetUdpSocket::setMcastLoopOption(on),
        flagFailure("setSendSockMcastLoopOption", on, "multicast loopback"),
        [=](int descriptor) { return Options::setMulticastLoop(descriptor, family(), on); });
}

// -------------------------------------------------------------------------------------------
// Sizes and numbers of routers

bool DtDisSocket::setSendBufferSize(unsigned int bytes) {
    return applyToSendSocket(
        DtInetUdpSocket::setSendBufferSize(bytes),
        sizeFailure("setSendSockSendBuffSize", "send buffer size", bytes),
        [bytes](int descriptor) { return Options::setSendBufferSize(descriptor, bytes); });
}

bool DtDisSocket::setReceiveBufferSize(unsigned int bytes) {
    return applyToSendSocket(
        DtInetUdpSocket::setReceiveBufferSize(bytes),
        sizeFailure("setSendSockRcvBuffSize", "receive buffer size", bytes),
        [bytes](int descriptor) { return Options::setReceiveBufferSize(descriptor, bytes); });
}

bool DtDisSocket::setSendLowWatermark(unsigned int bytes) {
    return applyToSendSocket(
        DtInetUdpSocket::setSendLowWatermark(bytes),
        sizeFailure("setSendSockSendLowWatermark", "send low watermark", bytes),
        [bytes](int descriptor) { return Options::setSendLowWatermark(descriptor, bytes); });
}

bool DtDisSocket::setReceiveLowWatermark(unsigned int bytes) {
    return applyToSendSocket(
        DtInetUdpSocket::setReceiveLowWatermark(bytes),
        sizeFailure("setSendSockRcvLowWatermark", "receive low watermark", bytes),
        [bytes](int descriptor) { return Options::setReceiveLowWatermark(descriptor, bytes); });
}

bool DtDisSocket::setMcastTtlOption(int hops) {
    return applyToSendSocket(
        DtInetUdpSocket::setMcastTtlOption(hops),
        DtString("DtDisSocket::setSendSockMcastTtl(): "
                 "Error setting multicast TTL for send socket to  ") +
            DtString(hops),
        [=](int descriptor) { return Options::setMulticastTtl(descriptor, family(), hops); });
}

bool DtDisSocket::setTtlOption(int hops) {
    return applyToSendSocket(
        DtInetUdpSocket::setTtlOption(hops),
        DtString("DtDisSocket::setSendSockTtl(): Error setting TTL for send socket to ") +
            DtString(hops),
        [=](int descriptor) { return Options::setTtl(descriptor, family(), hops); });
}

// -------------------------------------------------------------------------------------------
// Devices and groups

bool DtDisSocket::setMcastDevice(const DtInetDevice* device) {
    const unsigned int index = device != nullptr ? device->index() : 0;
    const bool exists = device == nullptr || device->isOk();
    return applyToSendSocket(
        DtInetUdpSocket::setMcastDevice(device),
        DtString("DtDisSocket::setSendSockMcastDevice(): "
                 "Error setting multicast device for send socket to ") +
            nameOf(device),
        [=](int descriptor) {
            return exists ? Options::setMulticastInterface(descriptor, family(), index) : ENODEV;
        });
}

bool DtDisSocket::setSendMcastDevice(const DtInetDevice* device) {
    return setMcastDevice(device);
}

bool DtDisSocket::sendSockJoinMulticastGroup(const DtInetAddr& group, DtInetDevice* device) {
    return changeGroup("joinMulticastGroup", "joining", group, device, true);
}

bool DtDisSocket::sendSockJoinMulticastGroup(const DtInetEndpoint& group, DtInetDevice* device) {
    return sendSockJoinMulticastGroup(group.address(), device);
}

bool DtDisSocket::sendSockDropMulticastGroup(const DtInetAddr& group, DtInetDevice* device) {
    return changeGroup("dropMulticastGroup", "leaving", group, device, false);
}

bool DtDisSocket::sendSockDropMulticastGroup(const DtInetEndpoint& group, DtInetDevice* device) {
    return sendSockDropMulticastGroup(group.address(), device);
}

bool DtDisSocket::changeGroup(const char* name, const char* verb, const DtInetAddr& group,
                              const DtInetDevice* device, bool join) {
    const DtString failure = DtString("DtDisSocket::") + name + "(): Error " + verb + " group " +
                             group.toDtString() + " on send socket on interface " + nameOf(device);
    return selfReflectSuppression_ && applyToSendSocket(true, failure, [&](int descriptor) {
               if (group.family() != family())
                   return EAFNOSUPPORT;
               if (device != nullptr && !device->isOk())
                   return ENODEV;
               const unsigned int index = device != nullptr ? device->index() : 0;
               return join ? Options::joinGroup(descriptor, group, index)
                           : Options::dropGroup(descriptor, group, index);
           });
}

}  // namespace OrynRti
