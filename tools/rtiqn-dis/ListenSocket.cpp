#include "ListenSocket.h"

#include "Errors.h"
#include "OwnTimes.h"
#include "common/Addresses.h"

namespace RtiqnDis {

using namespace OrynRti;

namespace {

constexpr unsigned int theOptions =
    DtInetSockReceive | DtInetSockNonBlocking | DtInetSockReuseAddress | DtInetSockMcastLoopback;

/// Lets only the values of the set pass; a set of all leaves the test as it is.
void select(DtPduFilterTest& test, const ByteSet& wanted) {
    if (wanted.all())
        return;
    std::vector<unsigned int> values;
    for (unsigned int value = 0; value < wanted.size(); ++value)
        if (wanted[value])
            values.push_back(value);
    test.setTest(DtPduAcceptListed, static_cast<int>(values.size()), values.data());
}

}  // namespace

ListenSocket::ListenSocket(const DtInetEndpoint& local, DtInetDevice* device,
                           const PduSelection& selection, PduReport& report, CaptureWriter* record)
    : DtDisSocket(local, 0, device, theOptions, false, false),
      report_(report),
      record_(record),
      buffer_(DtInetUtils::getMaxPacketBufferSize()),
      chain_{&buffer_} {
    select(protocolVersion(), selection.versions);
    select(exerciseId(), selection.exercises);
    select(pduKind(), selection.kinds);
}

bool ListenSocket::receivePdu() {
    OwnTimer timer;
    const int size = recvToChainFrom(chain_, sender_, 0);
    if (size == 0)
        return false;
    timer.stop(report_.statistics().ownTimes(), ReceiveCall);
    if (size == DtInetSockStatusError)
        throw NetworkError("cannot receive: " + errorOf(*this));
    if (size < 0)
        return true;
    BundledPdu pdu;
    pdu.header = PduHeader::read(received(size));
    pdu.size_bytes = static_cast<std::size_t>(size);
    pdu.coupled = pdu.size_bytes > pdu.header.length_bytes;
    report_.pdu({receiveTime(), senderText_, pdu, index_, count_});
    return true;
}

std::vector<std::pair<Loss, std::uint64_t>> ListenSocket::losses() const {
    const Counters datagrams = counters();
    return {{Loss::KernelDropped, datagrams.kernelDrops},
            {Loss::QueueFull, datagrams.receiveQueueDrops},
            {Loss::QueuedTooLarge, datagrams.truncatedDatagrams + disCounters().queuedPdusLost},
            {Loss::TooShort, datagrams.emptyDatagrams}};
}

/// The first step of the receive chain: the datagram is still whole, unless it is a PDU from the
/// queue. One datagram is split and delivered before the next is read, so that the counting of
/// places begins anew.
int ListenSocket::minSizeFilter(int size, DtInetSocketBufferChain& chain, DtInetEndpoint& sender,
                                int* status) {
    if (*status != DtInetSockFromQueue && size > 0) {
        senderText_ = textOf(sender.toDtString(false));
        count_ = report_.datagram(received(size), senderText_, receiveTime()).pdus.size();
        index_ = 0;
        if (record_)
            record_->add(sender, localEndpoint(), received(size), receiveTime());
    }
    return DtDisSocket::minSizeFilter(size, chain, sender, status);
}

/// The last step, for each PDU.
int ListenSocket::filterExercisePdus(int size, DtInetSocketBufferChain& chain,
                                     DtInetEndpoint& sender, int* status) {
    ++index_;
    const int left = DtDisSocket::filterExercisePdus(size, chain, sender, status);
    if (left == 0 && *status == DtInetSockFiltered && size > 0) {
        BundledPdu pdu;
        pdu.header = PduHeader::read(received(size));
        report_.pdu({receiveTime(), senderText_, pdu, index_, count_});
    }
    return left;
}

ByteView ListenSocket::received(int size) const {
    return {reinterpret_cast<const std::uint8_t*>(buffer_.data()), static_cast<std::size_t>(size)};
}

}  // namespace RtiqnDis
