#include "NetworkSource.h"

#include <algorithm>
#include <arpa/inet.h>

#include "Errors.h"
#include "common/Addresses.h"

namespace RtiqnPacketServer {

using namespace OrynRti;

namespace {

constexpr unsigned int theOptions =
    DtInetSockReceive | DtInetSockNonBlocking | DtInetSockReuseAddress | DtInetSockMcastLoopback;
constexpr unsigned int theReceiveBuffer_bytes = 8U << 20;

DtInetAddr addressOf(std::uint32_t group) {
    return DtInetAddr(static_cast<unsigned int>(ntohl(group)));
}

}  // namespace

NetworkSource::NetworkSource(const NetworkOptions& options)
    : buffer_(DtInetUtils::getMaxPacketBufferSize()), chain_{&buffer_} {
    for (const std::string& text : options.groups)
        ownGroups_.push_back(parseGroup(text));
    socket_.emplace(localEndpoint(options), 0, openDevice(options.device).release(), theOptions,
                    false, false);
    setUp(options);
    if (!open())
        throw NetworkError("cannot read " + endpointText() + ": " + failure());
}

/// The address asked for, else all of the family of the groups.
DtInetEndpoint NetworkSource::localEndpoint(const NetworkOptions& options) {
    const DtInetAddr local =
        options.bind.empty()
            ? DtInetAddr::inaddrAny(ownGroups_.empty() ? DtInetUtils::IPv4
                                                       : ownGroups_.front().family())
            : parseAddress(options.bind);
    for (const DtInetAddr& group : ownGroups_)
        if (group.family() != local.family())
            throw UsageError("IPv4 and IPv6 cannot be read at once: group " +
                             textOf(group.toDtString()) + ", address " +
                             textOf(local.toDtString()));
    return DtInetEndpoint(local, options.port, DtInetUdp);
}

/// Of the steps that a DIS socket takes, the smallest size stays for whole datagrams: the others
/// look at PDUs, and the filters cut the datagram behind its first.
void NetworkSource::setUp(const NetworkOptions& options) {
    socket_->setReceiveBufferSize(theReceiveBuffer_bytes);
    if (options.unbundle)
        return;
    socket_->removeProcessingCallback(DtInetSockAfterReceive, &DtDisSocket::unbundle);
    socket_->removeProcessingCallback(DtInetSockAfterReceive, &DtDisSocket::filterExercisePdus);
    socket_->removeProcessingCallback(DtInetSockBeforeRead, &DtDisSocket::getNextBundle);
}

bool NetworkSource::open() {
    well_ = socket_->openSocket();
    for (const DtInetAddr& group : ownGroups_)
        well_ = well_ && socket_->joinMulticastGroup(group, socket_->hostIf());
    well_ = well_ && socket_->pollDescriptor() >= 0;
    return well_;
}

int NetworkSource::descriptor() {
    return well_ ? socket_->pollDescriptor() : -1;
}

/// A group of a client that the system refuses this time stays counted.
bool NetworkSource::reopen() {
    socket_->closeSocket();
    if (open())
        for (const auto& [group, count] : groups_)
            socket_->joinMulticastGroup(addressOf(group), socket_->hostIf());
    return well_;
}

std::string NetworkSource::failure() const {
    return errorOf(*socket_);
}

std::string NetworkSource::endpointText() const {
    return textOf(socket_->localEndpoint().toDtString(false));
}

// -------------------------------------------------------------------------------------------

NetworkSource::Result NetworkSource::receive(Packet& packet) {
    const int size = socket_->recvToChainFrom(chain_, sender_, 0);
    if (size == 0)
        return Result::Nothing;
    if (size == DtInetSockStatusError) {
        well_ = false;
        return Result::Failed;
    }
    if (size < 0)
        return Result::Dropped;
    packet.bytes = buffer_.data();
    packet.length = size;
    packet.address = sender_.isIPv4() ? htonl(sender_.address().toULong()) : 0;
    packet.port = sender_.port();
    return Result::Packet;
}

// -------------------------------------------------------------------------------------------

bool NetworkSource::join(std::uint32_t group) {
    const DtInetAddr address = addressOf(group);
    const bool isOwn = std::find(ownGroups_.begin(), ownGroups_.end(), address) != ownGroups_.end();
    const auto known = groups_.find(group);
    if (known != groups_.end())
        ++known->second;
    else if (isOwn || socket_->joinMulticastGroup(address, socket_->hostIf()))
        groups_[group] = 1;
    else
        return false;
    return true;
}

void NetworkSource::leave(std::uint32_t group) {
    const auto known = groups_.find(group);
    if (known == groups_.end() || --known->second > 0)
        return;
    groups_.erase(known);
    const DtInetAddr address = addressOf(group);
    if (std::find(ownGroups_.begin(), ownGroups_.end(), address) == ownGroups_.end())
        socket_->dropMulticastGroup(address, socket_->hostIf());
}

}  // namespace RtiqnPacketServer
