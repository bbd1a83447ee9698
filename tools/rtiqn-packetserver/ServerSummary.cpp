#include <string>

#include "Server.h"
#include "common/Console.h"

namespace RtiqnPacketServer {

using namespace OrynRti;
using namespace RtiqnTools;

namespace {

/// Lines with a count each, but for what has not happened, under a heading.
class Section {
public:
    explicit Section(const char* heading) : heading_(heading) {}

    void add(std::uint64_t count, const char* what) {
        if (count > 0)
            lines_ += formatted("  %10llu  %s\n", static_cast<unsigned long long>(count), what);
    }

    std::string text() const { return lines_.empty() ? "" : "\n" + heading_ + "\n" + lines_; }

private:
    std::string heading_;
    std::string lines_;
};

std::string networkLosses(const DtDisSocket& socket, std::uint64_t failures) {
    const auto udp = socket.counters();
    const auto dis = socket.disCounters();
    Section section("Not read from the network");
    section.add(udp.kernelDrops, "datagrams for which the socket had no room");
    section.add(udp.emptyDatagrams, "empty datagrams");
    section.add(udp.truncatedDatagrams, "datagrams too large");
    section.add(dis.belowMinSize, "datagrams shorter than a PDU header");
    section.add(dis.incomplete, "datagrams that end within their first PDU");
    section.add(dis.invalidLengths, "PDUs with an impossible length");
    section.add(dis.restsDropped, "ends of datagrams that are no PDU");
    section.add(dis.attributePdusMissing, "coupled Attribute PDUs announced, but missing");
    section.add(dis.queuedPdusLost, "PDUs too large");
    section.add(failures, "failures of the network");
    return section.text();
}

std::string refusals(const Counters& counters) {
    Section section("Requests refused");
    section.add(counters.malformed, "that are no records");
    section.add(counters.notUnderstood, "with values that mean nothing");
    section.add(counters.wrongSocket, "on the wrong socket");
    section.add(counters.foreignUser, "of users that may not");
    section.add(counters.foreignProcess, "in the name of another process");
    section.add(counters.unknownClient, "for clients that are not there");
    section.add(counters.poolsRefused,
                "to be added with shared memory that is not as it should be");
    section.add(counters.noPlace, "to be added when no more clients were served");
    section.add(counters.groupsRefused, "for multicast groups");
    return section.text();
}

}  // namespace

std::string Server::summary() const {
    Counters all = counters_;
    for (const auto& client : clients_) {
        all.droppedOld += client->droppedOld();
        all.droppedNew += client->droppedNew();
    }
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start_;
    const DtDisSocket& socket = network_.socket();
    Section clients("Not received by a client");
    clients.add(all.droppedOld, "records overwritten unread: the client was too slow");
    clients.add(all.droppedNew, "records not written: the client had locked its queue");
    Section others("Beside");
    others.add(deadPools_.removedCount(), "queues removed that killed clients had left");
    return formatted("%s, %llu bytes, in %.3f s\n%s added, %s handed over\n",
                     counted(all.packets, options_.network.unbundle ? "PDU" : "datagram").c_str(),
                     static_cast<unsigned long long>(all.bytes), time.count(),
                     counted(all.clients, "client").c_str(),
                     counted(all.handedOver, "packet").c_str()) +
           networkLosses(socket, all.networkFailures) + clients.text() + refusals(all) +
           others.text();
}

}  // namespace RtiqnPacketServer
