#include "net/InetUdpSocketPimpl.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <utility>

#include "InetDevice.h"
#include "net/DatagramIo.h"
#include "net/SocketAddress.h"
#include "net/SocketOptions.h"

namespace OrynRti {

namespace {

namespace Options = SocketOptions;

void require(const char* name, int error) {
    if (error != 0)
        throw std::system_error(error, std::generic_category(), name);
}

void applyWord(int descriptor, DtInetUtils::DtInetAddrFamily family, unsigned int options) {
    require("address reuse",
            Options::setReuseAddress(descriptor, (options & DtInetSockReuseAddress) != 0));
    require("broadcast", Options::setBroadcast(descriptor, (options & DtInetSockBroadcast) != 0));
    require("non-blocking",
            Options::setNonBlocking(descriptor, (options & DtInetSockNonBlocking) != 0));
    require("multicast loopback",
            Options::setMulticastLoop(descriptor, family, options & DtInetSockMcastLoopback));
}

template <typename Value, typename Setter>
void applySet(const char* name, const std::optional<Value>& value, Setter setter) {
    if (value.has_value())
        require(name, setter(*value));
}

void applySettings(int descriptor, DtInetUtils::DtInetAddrFamily family,
                   const DatagramSettings& settings) {
    using namespace SocketOptions;
    applySet("send buffer size", settings.sendBufferSize,
             [=](unsigned int bytes) { return setSendBufferSize(descriptor, bytes); });
    applySet("receive buffer size", settings.receiveBufferSize,
             [=](unsigned int bytes) { return setReceiveBufferSize(descriptor, bytes); });
    applySet("receive low watermark", settings.receiveLowWatermark,
             [=](unsigned int bytes) { return setReceiveLowWatermark(descriptor, bytes); });
    applySet("do-not-route", settings.doNotRoute,
             [=](bool on) { return setDoNotRoute(descriptor, on); });
    applySet("TTL", settings.ttl, [=](int hops) { return setTtl(descriptor, family, hops); });
    applySet("multicast TTL", settings.multicastTtl,
             [=](int hops) { return setMulticastTtl(descriptor, family, hops); });
    applySet("multicast device", settings.multicastInterface,
             [=](unsigned int index) { return setMulticastInterface(descriptor, family, index); });
}

/// IPv6 has no broadcast: the group of all nodes takes its place, and as a broadcast is received
/// without having been asked for. Interfaces without IPv6 refuse, which does not matter.
void joinAllNodes(int descriptor, const DtInetDevice* device) {
    const DtInetAddr allNodes("ff02::1");
    if (device != nullptr) {
        Options::joinGroup(descriptor, allNodes, device->index());
        return;
    }
    for (const DtInetDevice& each : DtInetDevice::interfaces())
        if (each.isUp() && each.hasIPv6())
            Options::joinGroup(descriptor, allNodes, each.index());
}

}  // namespace

DtInetUdpSockPimpl::Async::Async(DtInetUdpSockPimpl& owner, int descriptor, unsigned int options) {
    if ((options & DtInetSockAsyncSend) != 0)
        sender =
            std::make_unique<AsyncDatagramSender>(thread.context(), descriptor, owner.counters);
    if ((options & DtInetSockAsyncReceive) != 0) {
        receiver = std::make_unique<AsyncDatagramReceiver>(thread.context(), descriptor, owner.poll,
                                                           owner.receiveLimit, owner.counters);
        receiver->start();
    }
    thread.start();
}

DtInetUdpSockPimpl::Async::~Async() {
    thread.stop();
}

// -------------------------------------------------------------------------------------------

Descriptor DtInetUdpSockPimpl::bound(const DtInetAddr& address, unsigned short port,
                                     const DtInetDevice* device, unsigned int options) const {
    const DtInetUtils::DtInetAddrFamily family = address.family();
    const bool ipv6 = family == DtInetUtils::IPv6;
    Descriptor descriptor(checkedCall(
        "socket", [=] { return socket(ipv6 ? AF_INET6 : AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0); }));
    const int number = descriptor.number();
    if (ipv6)
        require("IPv6 only", Options::setIpv6Only(number, true));
    applyWord(number, family, options);
    applySettings(number, family, settings);
    require("multicast", Options::setMulticastOfOthers(number, family, false));
    if (device != nullptr)
        require("bind to device", Options::bindToInterface(number, device->index()));
    // An address of the device's own would shut out what is sent to groups and to all.
    const DtInetAddr& bindAddr = device != nullptr ? DtInetAddr::inaddrAny(family) : address;
    const SocketAddress local(bindAddr, port);
    checkedCall("bind", [&] { return bind(number, local.get(), local.size()); });
    if (ipv6 && (options & DtInetSockBroadcast) != 0)
        joinAllNodes(number, device);
    return descriptor;
}

void DtInetUdpSockPimpl::begin(Descriptor descriptor, unsigned int options) {
    prepare(descriptor.number(), options);
    gate.open(std::move(descriptor));
}

void DtInetUdpSockPimpl::adopt(int number, unsigned int options) {
    checkedCall("close on exec", [=] { return fcntl(number, F_SETFD, FD_CLOEXEC); });
    require("non-blocking",
            Options::setNonBlocking(number, (options & DtInetSockNonBlocking) != 0));
    prepare(number, options);
    gate.open(Descriptor(number));
}

void DtInetUdpSockPimpl::prepare(int number, unsigned int options) {
    if (isInherited())
        leaveToParent();
    const bool receives = (options & DtInetSockAsyncReceive) != 0;
    counters.forgetKernelCount();
    require("arrival reports", Options::setArrivalReports(number, receives));
    if ((options & (DtInetSockAsyncSend | DtInetSockAsyncReceive)) != 0)
        async = std::make_unique<Async>(*this, number, options);
    poll.lower(PollDescriptor::ReceiveQueue, true);
    poll.lower(PollDescriptor::Closed, true);
    if (!receives)
        poll.watch(number);
}

void DtInetUdpSockPimpl::noteKernelDrops() {
    const DescriptorGate::Use use(gate);
    if (use.descriptor() >= 0)
        counters.noteKernelDrops(kernelDrops(use.descriptor()));
}

double DtInetUdpSockPimpl::lastArrival() {
    const DescriptorGate::Use use(gate);
    const double arrival = use.descriptor() >= 0 ? OrynRti::lastArrival(use.descriptor()) : 0.0;
    return arrival != 0.0 ? arrival : arrivalBeforeClosing_.load();
}

void DtInetUdpSockPimpl::rememberArrival(int number) {
    const double arrival = OrynRti::lastArrival(number);
    if (arrival != 0.0)
        arrivalBeforeClosing_ = arrival;
}

/// Closes what is open here, and does nothing that the parent would notice: the socket and what
/// waits for it are shared with it. Queues and thread stay behind as they were. False when there
/// was nothing to close.
bool DtInetUdpSockPimpl::leaveToParent() {
    owner_ = getpid();
    const Descriptor closed = gate.closeWithoutUsers();
    poll.leaveToParent();
    Async* const left = async.release();
    if (left != nullptr && left->sender != nullptr)
        left->sender->closeCopy();
    if (left != nullptr && left->receiver != nullptr)
        left->receiver->closeCopy();
    return closed.number() >= 0;
}

bool DtInetUdpSockPimpl::end(double sendWait_s) {
    if (isInherited())
        return leaveToParent();
    const int number = gate.beginClose();
    if (number < 0)
        return false;
    // Wakes those who receive, connected or not; the system may all the same say that it was
    // not connected.
    shutdown(number, SHUT_RD);
    if (async != nullptr && async->receiver != nullptr)
        async->receiver->close();
    if (async != nullptr && async->sender != nullptr)
        async->sender->drain(sendWait_s);
    shutdown(number, SHUT_RDWR);
    const Descriptor closed = gate.endClose();
    counters.noteKernelDrops(kernelDrops(number));
    rememberArrival(number);
    async.reset();
    poll.watch(-1);
    poll.raise(PollDescriptor::Closed);
    return true;
}

}  // namespace OrynRti
