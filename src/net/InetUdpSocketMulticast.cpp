// Groups of a UDP socket.
#include <cerrno>

#include "InetDevice.h"
#include "InetUdpSocket.h"
#include "ScopedLock.h"
#include "net/DescriptorIo.h"
#include "net/InetUdpSocketPimpl.h"
#include "net/SocketOptions.h"

namespace OrynRti {

namespace {

DtString nameOf(const DtInetDevice* device) {
    return device != nullptr ? device->name() : DtString("of the system's choice");
}

}  // namespace

bool DtInetUdpSocket::setMcastDevice(const DtInetDevice* device) {
    const DtScopedLock lock(mutex());
    const auto kind = family();
    const unsigned int index = device != nullptr ? device->index() : 0;
    const DtString failure(
        "DtInetUdpSocket::setMcastDevice(): Error setting multicast device to interface " +
        nameOf(device) + "\n");
    if (device != nullptr && !device->isOk())
        return recordFailure(ENODEV, failure + systemErrorText(ENODEV));
    if (!applySetting(failure, [=](int number) {
            return SocketOptions::setMulticastInterface(number, kind, index);
        }))
        return false;
    pimpl_->settings.multicastInterface = index;
    return true;
}

bool DtInetUdpSocket::joinMulticastGroup(const DtInetAddr& group, DtInetDevice* device) {
    return changeGroup("joinMulticastGroup", "joining", group, device, true);
}

bool DtInetUdpSocket::joinMulticastGroup(const DtInetEndpoint& group, DtInetDevice* device) {
    return joinMulticastGroup(group.address(), device);
}

bool DtInetUdpSocket::dropMulticastGroup(const DtInetAddr& group, DtInetDevice* device) {
    return changeGroup("dropMulticastGroup", "leaving", group, device, false);
}

bool DtInetUdpSocket::dropMulticastGroup(const DtInetEndpoint& group, DtInetDevice* device) {
    return dropMulticastGroup(group.address(), device);
}

bool DtInetUdpSocket::changeGroup(const char* name, const char* verb, const DtInetAddr& group,
                                  const DtInetDevice* device, bool join) {
    const DtScopedLock lock(mutex());
    if (!isOpen())
        return refuseUnopened(name);
    if (device == nullptr)
        device = hostIf_;
    const DtString failure = DtString("DtInetUdpSocket::") + name + "(): Error " + verb +
                             " group " + group.toDtString() + " on interface " + nameOf(device) +
                             "\n";
    return applySetting(failure, [&](int number) {
        if (group.family() != family())
            return EAFNOSUPPORT;
        if (device != nullptr && !device->isOk())
            return ENODEV;
        const unsigned int index = device != nullptr ? device->index() : 0;
        return join ? SocketOptions::joinGroup(number, group, index)
                    : SocketOptions::dropGroup(number, group, index);
    });
}

}  // namespace OrynRti
