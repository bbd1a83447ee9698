// Options of a TCP socket: remembered for the next opening, and applied to an open descriptor.
#include <cerrno>

#include "InetTcpSocket.h"
#include "ScopedLock.h"
#include "net/DescriptorIo.h"
#include "net/InetTcpSocketParts.h"
#include "net/SocketOptions.h"
#include "net/TcpOptions.h"

namespace OrynRti {

namespace Options = SocketOptions;  // those that sockets of both kinds have

// -------------------------------------------------------------------------------------------
// The common part

/// 0 also when there is no descriptor to apply it to yet.
int DtInetTcpSocket::applySetting(const Setting& setting) {
    const DescriptorGate::Use use(parts_->gate);
    return use.descriptor() >= 0 ? setting(use.descriptor()) : 0;
}

bool DtInetTcpSocket::setFlag(bool on, const char* name, const char* words,
                              const Setting& setting) {
    const int error = applySetting(setting);
    return error == 0 || recordFailure(error, DtString("DtInetTcpSocket::") + name + "(): Error " +
                                                  (on ? "enabling" : "disabling") + words +
                                                  systemErrorText(error));
}

/// Keeps the option word true to the setting.
void DtInetTcpSocket::keepBit(unsigned int bit, bool on) {
    flags_ = on ? flags_ | bit : flags_ & ~bit;
}

bool DtInetTcpSocket::setSize(unsigned int bytes, const char* name, const char* words,
                              const Setting& setting) {
    const int error = applySetting(setting);
    return error == 0 ||
           recordFailure(error, DtString("DtInetTcpSocket::") + name + "(): Error setting " +
                                    words + " to " + DtString(bytes));
}

bool DtInetTcpSocket::askSetting(const char* name, const Setting& question) {
    const DtScopedLock lock(mutex());
    const DescriptorGate::Use use(parts_->gate);
    const int error = use.descriptor() >= 0 ? question(use.descriptor()) : EBADF;
    return error == 0 ||
           recordFailure(error, DtString("DtInetTcpSocket::") + name +
                                    "(): Error reading the option\n" + systemErrorText(error));
}

// -------------------------------------------------------------------------------------------
// Flags

bool DtInetTcpSocket::setNonBlockingOption(bool on) {
    const DtScopedLock lock(mutex());
    if (!setFlag(on, "setNonBlockingOption", " non-blocking IO\n",
                 [on](int number) { return Options::setNonBlocking(number, on); }))
        return false;
    keepBit(DtInetSockNonBlocking, on);
    nonBlocking_ = on;
    return true;
}

bool DtInetTcpSocket::setReuseAddressOption(bool on) {
    const DtScopedLock lock(mutex());
    if (!setFlag(on, "setReuseAddressOption", " address reuse\n",
                 [on](int number) { return Options::setReuseAddress(number, on); }))
        return false;
    keepBit(DtInetSockReuseAddress, on);
    reuseAddress_ = on;
    return true;
}

bool DtInetTcpSocket::setDoNotRouteOption(bool on) {
    const DtScopedLock lock(mutex());
    if (!setFlag(on, "setDoNotRouteOption", " do-not-route\n",
                 [on](int number) { return Options::setDoNotRoute(number, on); }))
        return false;
    doNotRoute_ = parts_->settings.doNotRoute = on;
    return true;
}

bool DtInetTcpSocket::setTcpNoDelayOption(bool on) {
    const DtScopedLock lock(mutex());
    if (!setFlag(on, "setTcpNoDelayOption", " Nagle coalescing (no-delay)\n",
                 [on](int number) { return TcpOptions::setNoDelay(number, on); }))
        return false;
    noDelay_ = parts_->settings.noDelay = on;
    return true;
}

bool DtInetTcpSocket::setTcpLingerOption(unsigned short seconds) {
    const DtScopedLock lock(mutex());
    if (!setFlag(seconds != 0, "setTcpLingerOption", " linger option\n",
                 [=](int number) { return TcpOptions::setLinger(number, seconds); }))
        return false;
    parts_->settings.linger_s = seconds;
    return true;
}

/// The system has no such setting: acceptConnection() looks at it.
bool DtInetTcpSocket::setConnAbortedOption(bool on) {
    const DtScopedLock lock(mutex());
    if (!setFlag(on, "setConnAbortedOption", " connection aborted option\n", [](int) { return 0; }))
        return false;
    parts_->reportAborted = on;
    return true;
}

bool DtInetTcpSocket::setTcpKeepAliveOption(bool on) {
    const DtScopedLock lock(mutex());
    if (!setFlag(on, "setTcpKeepAliveOption", " TCP keep alives\n",
                 [on](int number) { return TcpOptions::setKeepAlive(number, on); }))
        return false;
    parts_->settings.keepAlive = on;
    return true;
}

bool DtInetTcpSocket::getReuseAddressOption(bool& on) {
    return askSetting("getReuseAddressOption",
                      [&on](int number) { return Options::getReuseAddress(number, on); });
}

bool DtInetTcpSocket::getDoNotRouteOption(bool& on) {
    return askSetting("getDoNotRouteOption",
                      [&on](int number) { return Options::getDoNotRoute(number, on); });
}

bool DtInetTcpSocket::getTcpLingerOption(unsigned short& seconds) {
    return askSetting("getTcpLingerOption",
                      [&](int number) { return TcpOptions::getLinger(number, seconds); });
}

bool DtInetTcpSocket::getConnAbortedOption(bool& on) {
    return askSetting("getConnAbortedOption", [&](int) {
        on = parts_->reportAborted;
        return 0;
    });
}

bool DtInetTcpSocket::getTcpKeepAliveOption(bool& on) {
    return askSetting("getTcpKeepAliveOption",
                      [&on](int number) { return TcpOptions::getKeepAlive(number, on); });
}

// -------------------------------------------------------------------------------------------
// Sizes

bool DtInetTcpSocket::setSendBufferSize(unsigned int bytes) {
    const DtScopedLock lock(mutex());
    if (!setSize(bytes, "setSendBufferSize", "send buffer size",
                 [=](int number) { return Options::setSendBufferSize(number, bytes); }))
        return false;
    parts_->settings.sendBufferSize = bytes;
    return true;
}

bool DtInetTcpSocket::setReceiveBufferSize(unsigned int bytes) {
    const DtScopedLock lock(mutex());
    if (!setSize(bytes, "setReceiveBufferSize", "receive buffer size",
                 [=](int number) { return Options::setReceiveBufferSize(number, bytes); }))
        return false;
    parts_->settings.receiveBufferSize = bytes;
    return true;
}

bool DtInetTcpSocket::setReceiveLowWatermark(unsigned int bytes) {
    const DtScopedLock lock(mutex());
    if (!setSize(bytes, "setReceiveLowWatermark", "receive low watermark",
                 [=](int number) { return Options::setReceiveLowWatermark(number, bytes); }))
        return false;
    parts_->settings.receiveLowWatermark = bytes;
    return true;
}

/// The answer is known before the socket is open, so there is nothing to remember.
bool DtInetTcpSocket::setSendLowWatermark(unsigned int bytes) {
    return recordFailure(ENOPROTOOPT,
                         "DtInetTcpSocket::setSendLowWatermark(): Error setting send low watermark "
                         "to " +
                             DtString(bytes));
}

bool DtInetTcpSocket::getSendBufferSize(unsigned int& bytes) {
    return askSetting("getSendBufferSize",
                      [&](int number) { return Options::getSendBufferSize(number, bytes); });
}

bool DtInetTcpSocket::getReceiveBufferSize(unsigned int& bytes) {
    return askSetting("getReceiveBufferSize",
                      [&](int number) { return Options::getReceiveBufferSize(number, bytes); });
}

bool DtInetTcpSocket::getSendLowWatermark(unsigned int& bytes) {
    return askSetting("getSendLowWatermark",
                      [&](int number) { return Options::getSendLowWatermark(number, bytes); });
}

bool DtInetTcpSocket::getReceiveLowWatermark(unsigned int& bytes) {
    return askSetting("getReceiveLowWatermark",
                      [&](int number) { return Options::getReceiveLowWatermark(number, bytes); });
}

bool DtInetTcpSocket::getBytesAvailable(unsigned int& bytes) {
    return askSetting("getBytesAvailable", [&](int number) {
        DtInetTcpSockPimpl* const pimpl = parts_->pimpl;
        if (pimpl == nullptr || !pimpl->receives())
            return Options::getBytesAvailable(number, bytes);
        bytes = pimpl->queuedBytes();
        return 0;
    });
}

}  // namespace OrynRti
