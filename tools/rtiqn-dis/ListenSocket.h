#ifndef RTIQN_DIS_LISTEN_SOCKET_H
#define RTIQN_DIS_LISTEN_SOCKET_H

#include "CaptureWriter.h"
#include "DisSocket.h"
#include "PduReport.h"

namespace RtiqnDis {

/// A DIS socket that reports: the PDUs it delivers, its datagrams before they are split, and what
/// its filters drop.
class ListenSocket : public OrynRti::DtDisSocket {
public:
    /// `device` belongs to the socket from now on; null for none. Borrows the others. `record` may
    /// be null.
    ListenSocket(const OrynRti::DtInetEndpoint& local, OrynRti::DtInetDevice* device,
                 const PduSelection& selection, PduReport& report, CaptureWriter* record);

    /// Receives one PDU and reports it. False when nothing is there. Throws NetworkError.
    bool receivePdu();

    /// What the socket and the system have lost so far.
    std::vector<std::pair<Loss, std::uint64_t>> losses() const;

    int minSizeFilter(int size, OrynRti::DtInetSocketBufferChain& chain,
                      OrynRti::DtInetEndpoint& sender, int* status) override;
    int filterExercisePdus(int size, OrynRti::DtInetSocketBufferChain& chain,
                           OrynRti::DtInetEndpoint& sender, int* status) override;

private:
    ByteView received(int size) const;

    PduReport& report_;
    CaptureWriter* record_;
    std::vector<char> buffer_;
    OrynRti::DtInetSocketBufferChain chain_;
    OrynRti::DtInetEndpoint sender_;
    std::string senderText_;
    std::size_t count_ = 0;  ///< PDUs in the datagram
    std::size_t index_ = 0;  ///< place of the one that was received last
};

}  // namespace RtiqnDis

#endif
