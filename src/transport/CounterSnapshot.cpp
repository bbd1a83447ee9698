#include "CounterSnapshot.h"

#include <cstring>

#include "DisSocket.h"
#include "PacketServerClient.h"
#include "ShmReader.h"
#include "ShmWriter.h"

namespace OrynRti {

namespace {

/// A field of a struct of counters, and its name.
template <typename Counters>
struct Field {
    const char* name;
    std::uint64_t Counters::*value;
};

using Datagrams = DtInetUdpSocket::Counters;
using Pdus = DtDisSocket::DisCounters;
using Packets = DtPacketServerClientStatistics;

constexpr Field<Datagrams> theDatagramFields[] = {
    {"datagramsOnWire", &Datagrams::datagramsOnWire},
    {"bytesOnWire", &Datagrams::bytesOnWire},
    {"sendsRefused", &Datagrams::sendsRefused},
    {"asyncSendsFailed", &Datagrams::asyncSendsFailed},
    {"portUnreachable", &Datagrams::portUnreachable},
    {"kernelDrops", &Datagrams::kernelDrops},
    {"receiveQueueDrops", &Datagrams::receiveQueueDrops},
    {"truncatedDatagrams", &Datagrams::truncatedDatagrams},
    {"emptyDatagrams", &Datagrams::emptyDatagrams},
};

constexpr Field<Pdus> thePduFields[] = {
    {"ownDatagrams", &Pdus::ownDatagrams},
    {"belowMinSize", &Pdus::belowMinSize},
    {"filteredByVersion", &Pdus::filteredByVersion},
    {"filteredByExercise", &Pdus::filteredByExercise},
    {"filteredByKind", &Pdus::filteredByKind},
    {"filteredByAddress", &Pdus::filteredByAddress},
    {"incomplete", &Pdus::incomplete},
    {"invalidLengths", &Pdus::invalidLengths},
    {"restsDropped", &Pdus::restsDropped},
    {"attributePdusMissing", &Pdus::attributePdusMissing},
    {"queuedPdusLost", &Pdus::queuedPdusLost},
    {"bundlesSent", &Pdus::bundlesSent},
    {"bundlesFailed", &Pdus::bundlesFailed},
};

constexpr Field<Packets> thePacketFields[] = {
    {"read", &Packets::read},
    {"missed", &Packets::missed},
    {"unreadable", &Packets::unreadable},
    {"warnings", &Packets::warnings},
    {"stateAnswers", &Packets::stateAnswers},
    {"requestsFailed", &Packets::requestsFailed},
};

/// The fields are all there is in the struct: one that is added is missed here until it is listed.
template <typename Counters, std::size_t Count>
void addAll(DtCounterSnapshot& snapshot, const Counters& counters,
            const Field<Counters> (&fields)[Count]) {
    static_assert(sizeof(Counters) == Count * sizeof(std::uint64_t), "a counter has no name");
    for (const Field<Counters>& field : fields)
        snapshot.add(field.name, counters.*field.value);
}

}  // namespace

DtCounterSnapshot::DtCounterSnapshot(const DtInetSocket& socket) {
    add("totalBytesSent", socket.totalBytesSent());
    add("totalPacketsSent", socket.totalPacketsSent());
    add("totalBytesReceived", socket.totalBytesReceived());
    add("totalPacketsReceived", socket.totalPacketsReceived());
    if (const auto* const udp = dynamic_cast<const DtInetUdpSocket*>(&socket))
        addAll(*this, udp->counters(), theDatagramFields);
    if (const auto* const dis = dynamic_cast<const DtDisSocket*>(&socket))
        addAll(*this, dis->disCounters(), thePduFields);
}

DtCounterSnapshot::DtCounterSnapshot(const DtShmMsgQueueWriter& writer) {
    add("writtenCount", writer.writtenCount());
    add("droppedCount", writer.droppedCount());
    add("failedCount", writer.failedCount());
}

DtCounterSnapshot::DtCounterSnapshot(const DtShmMsgQueueReader& reader) {
    add("readCount", reader.readCount());
}

DtCounterSnapshot::DtCounterSnapshot(const DtPacketServerClient& client) {
    addAll(*this, client.statistics(), thePacketFields);
}

bool DtCounterSnapshot::add(const char* name, std::uint64_t value) {
    if (size_ == theCapacity)
        return false;
    counters_[size_++] = {name, value};
    return true;
}

const DtCounter* DtCounterSnapshot::find(const char* name) const {
    for (const DtCounter& counter : *this)
        if (std::strcmp(counter.name, name) == 0)
            return &counter;
    return nullptr;
}

}  // namespace OrynRti
