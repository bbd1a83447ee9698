// Options of a UDP socket: remembered for the next opening, and applied to an open descriptor.
#include <cerrno>

#include "InetUdpSocket.h"
#include "ScopedLock.h"
#include "net/DescriptorIo.h"
#include "net/InetUdpSocketPimpl.h"
#include "net/SocketOptions.h"

namespace OrynRti {

namespace Options = SocketOptions;

// -------------------------------------------------------------------------------------------
// The common part

/// True also when there is no descriptor to apply it to yet.
bool DtInetUdpSocket::applySetting(const DtString& failure, const Setting& setting) {
    const DtScopedLock lock(mutex());
    const DescriptorGate::Use use(pimpl_->gate);
    if (use.descriptor() < 0)
        return true;
    const int error = setting(use.descriptor());
    if (error != 0)
        return recordError(error, failure + systemErrorText(error));
    noteSuccess();
    return true;
}

/// Keeps the bit of the option word true to the setting.
bool DtInetUdpSocket::setFlag(unsigned int bit, bool on, const char* name, const char* words,
                              const Setting& setting) {
    const DtScopedLock lock(mutex());
    const DtString failure = DtString("DtInetUdpSocket::") + name + "(): Error " +
                             (on ? "enabling" : "disabling") + words;
    if (!applySetting(failure, setting))
        return false;
    flags_ = on ? flags_ | bit : flags_ & ~bit;
    return true;
}

bool DtInetUdpSocket::askSetting(const char* name, const Setting& question) {
    const DtScopedLock lock(mutex());
    const DescriptorGate::Use use(pimpl_->gate);
    if (use.descriptor() < 0)
        return refuseUnopened(name);
    const int error = question(use.descriptor());
    if (error != 0)
        return recordError(error, DtString("DtInetUdpSocket::") + name +
                                      "(): Error reading the option\n" + systemErrorText(error));
    noteSuccess();
    return true;
}

namespace {

DtString sizeFailure(const char* name, const char* words, unsigned int bytes) {
    return DtString("DtInetUdpSocket::") + name + "(): Error setting " + words + " to " +
           DtString(bytes) + "\n";
}

}  // namespace

// -------------------------------------------------------------------------------------------
// Flags

bool DtInetUdpSocket::setNonBlockingOption(bool on) {
    if (!setFlag(DtInetSockNonBlocking, on, "setNonBlockingOption", " non-blocking IO\n",
                 [on](int number) { return Options::setNonBlocking(number, on); }))
        return false;
    nonBlocking_ = on;
    return true;
}

bool DtInetUdpSocket::setReuseAddressOption(bool on) {
    if (!setFlag(DtInetSockReuseAddress, on, "setReuseAddressOption", " address reuse\n",
                 [on](int number) { return Options::setReuseAddress(number, on); }))
        return false;
    reuseAddress_ = on;
    return true;
}

bool DtInetUdpSocket::setBroadcastOption(bool on) {
    return setFlag(DtInetSockBroadcast, on, "setBroadcastOption", " broadcast\n",
                   [on](int number) { return Options::setBroadcast(number, on); });
}

bool DtInetUdpSocket::setMcastLoopOption(bool on) {
    const auto kind = family();
    return setFlag(DtInetSockMcastLoopback, on, "setMcastLoopOption", " multicast loopback\n",
                   [=](int number) { return Options::setMulticastLoop(number, kind, on); });
}

bool DtInetUdpSocket::setDoNotRouteOption(bool on) {
    if (!setFlag(0, on, "setDoNotRouteOption", " do-not-route\n",
                 [on](int number) { return Options::setDoNotRoute(number, on); }))
        return false;
    doNotRoute_ = on;
    const DtScopedLock lock(mutex());
    pimpl_->settings.doNotRoute = on;
    return true;
}

bool DtInetUdpSocket::getReuseAddressOption(bool& on) {
    return askSetting("getReuseAddressOption",
                      [&on](int number) { return Options::getReuseAddress(number, on); });
}

bool DtInetUdpSocket::getBroadcastOption(bool& on) {
    return askSetting("getBroadcastOption",
                      [&on](int number) { return Options::getBroadcast(number, on); });
}

bool DtInetUdpSocket::getMcastLoopOption(bool& on) {
    return askSetting("getMcastLoopOption",
                      [&](int number) { return Options::getMulticastLoop(number, family(), on); });
}

bool DtInetUdpSocket::getDoNotRouteOption(bool& on) {
    return askSetting("getDoNotRouteOption",
                      [&on](int number) { return Options::getDoNotRoute(number, on); });
}

// -------------------------------------------------------------------------------------------
// Sizes

bool DtInetUdpSocket::setSendBufferSize(unsigned int bytes) {
    const DtScopedLock lock(mutex());
    if (!applySetting(sizeFailure("setSendBufferSize", "send buffer size", bytes),
                      [=](int number) { return Options::setSendBufferSize(number, bytes); }))
        return false;
    pimpl_->settings.sendBufferSize = bytes;
    return true;
}

bool DtInetUdpSocket::setReceiveBufferSize(unsigned int bytes) {
    const DtScopedLock lock(mutex());
    if (!applySetting(sizeFailure("setReceiveBufferSize", "receive buffer size", bytes),
                      [=](int number) { return Options::setReceiveBufferSize(number, bytes); }))
        return false;
    pimpl_->settings.receiveBufferSize = bytes;
    return true;
}

bool DtInetUdpSocket::setReceiveLowWatermark(unsigned int bytes) {
    const DtScopedLock lock(mutex());
    if (!applySetting(sizeFailure("setReceiveLowWatermark", "receive low watermark", bytes),
                      [=](int number) { return Options::setReceiveLowWatermark(number, bytes); }))
        return false;
    pimpl_->settings.receiveLowWatermark = bytes;
    return true;
}

/// There is nothing to remember: the answer is known before the socket is open.
bool DtInetUdpSocket::setSendLowWatermark(unsigned int bytes) {
    const DtString failure = sizeFailure("setSendLowWatermark", "send low watermark", bytes);
    if (!applySetting(failure,
                      [=](int number) { return Options::setSendLowWatermark(number, bytes); }))
        return false;
    if (isOpen())
        return true;
    return recordRefusal(ENOPROTOOPT, failure + systemErrorText(ENOPROTOOPT));
}

bool DtInetUdpSocket::getSendBufferSize(unsigned int& bytes) {
    return askSetting("getSendBufferSize",
                      [&](int number) { return Options::getSendBufferSize(number, bytes); });
}

bool DtInetUdpSocket::getReceiveBufferSize(unsigned int& bytes) {
    return askSetting("getReceiveBufferSize",
                      [&](int number) { return Options::getReceiveBufferSize(number, bytes); });
}

bool DtInetUdpSocket::getSendLowWatermark(unsigned int& bytes) {
    return askSetting("getSendLowWatermark",
                      [&](int number) { return Options::getSendLowWatermark(number, bytes); });
}

bool DtInetUdpSocket::getReceiveLowWatermark(unsigned int& bytes) {
    return askSetting("getReceiveLowWatermark",
                      [&](int number) { return Options::getReceiveLowWatermark(number, bytes); });
}

bool DtInetUdpSocket::getBytesAvailable(unsigned int& bytes) {
    return askSetting("getBytesAvailable", [&](int number) {
        if (pimpl_->async == nullptr || pimpl_->async->receiver == nullptr)
            return Options::getBytesAvailable(number, bytes);
        bytes = pimpl_->async->receiver->nextSize();
        return 0;
    });
}

// -------------------------------------------------------------------------------------------
// Hops

bool DtInetUdpSocket::setTtlOption(int hops) {
    const DtScopedLock lock(mutex());
    const auto kind = family();
    if (!applySetting(
            "DtInetUdpSocket::setTtlOption(): Error setting TTL to " + DtString(hops) + "\n",
            [=](int number) { return Options::setTtl(number, kind, hops); }))
        return false;
    pimpl_->settings.ttl = hops;
    return true;
}

bool DtInetUdpSocket::setMcastTtlOption(int hops) {
    const DtScopedLock lock(mutex());
    const auto kind = family();
    if (!applySetting("DtInetUdpSocket::setMcastTtlOption(): Error setting multicast TTL to " +
                          DtString(hops) + "\n",
                      [=](int number) { return Options::setMulticastTtl(number, kind, hops); }))
        return false;
    pimpl_->settings.multicastTtl = hops;
    return true;
}

bool DtInetUdpSocket::getTtlOption(int& hops) {
    return askSetting("getTtlOption",
                      [&](int number) { return Options::getTtl(number, family(), hops); });
}

bool DtInetUdpSocket::getMcastTtlOption(int& hops) {
    return askSetting("getMcastTtlOption",
                      [&](int number) { return Options::getMulticastTtl(number, family(), hops); });
}

}  // namespace OrynRti
