#include "NetworkSource.h"

#include "Errors.h"
#include "common/Addresses.h"
#include "common/Console.h"

namespace RtiqnDis {

using namespace OrynRti;

namespace {

constexpr unsigned int theReceiveBuffer_bytes = 8U << 20;

/// The address to listen on: the one asked for, else all of the family of the groups.
DtInetAddr localAddress(const ListenOptions& options, const std::vector<DtInetAddr>& groups) {
    const DtInetAddr local =
        options.bind.empty()
            ? DtInetAddr::inaddrAny(groups.empty() ? DtInetUtils::IPv4 : groups.front().family())
            : parseAddress(options.bind);
    for (const DtInetAddr& group : groups)
        if (group.family() != local.family())
            throw UsageError("IPv4 and IPv6 cannot be listened to at once: group " +
                             textOf(group.toDtString()) + ", address " +
                             textOf(local.toDtString()));
    return local;
}

std::vector<DtInetAddr> parseGroups(const std::vector<std::string>& texts) {
    std::vector<DtInetAddr> groups;
    groups.reserve(texts.size());
    for (const std::string& text : texts)
        groups.push_back(parseGroup(text));
    return groups;
}

}  // namespace

NetworkSource::NetworkSource(const ListenOptions& options, PduReport& report, CaptureWriter* record)
    : NetworkSource(options, parseGroups(options.groups), report, record) {}

NetworkSource::NetworkSource(const ListenOptions& options, const Groups& groups, PduReport& report,
                             CaptureWriter* record)
    : socket_(DtInetEndpoint(localAddress(options, groups), options.report.port, DtInetUdp),
              openDevice(options.device).release(), options.report.selection, report, record) {
    open(groups);
}

void NetworkSource::open(const Groups& groups) {
    socket_.setReceiveBufferSize(theReceiveBuffer_bytes);
    if (!socket_.openSocket())
        throw NetworkError("cannot listen on " + textOf(socket_.localEndpoint().toDtString(false)) +
                           ": " + errorOf(socket_));
    for (const DtInetAddr& group : groups)
        if (!socket_.joinMulticastGroup(group, socket_.hostIf()))
            throw NetworkError("cannot join group " + textOf(group.toDtString()) + ": " +
                               errorOf(socket_));
    if (socket_.pollDescriptor() < 0)
        throw NetworkError("cannot wait for datagrams: " + errorOf(socket_));
    printError("listening on " + title());
}

std::string NetworkSource::title() const {
    return textOf(socket_.localEndpoint().toDtString(false));
}

}  // namespace RtiqnDis
