#ifndef RTIQN_DIS_NETWORK_SOURCE_H
#define RTIQN_DIS_NETWORK_SOURCE_H

#include "ListenCommand.h"
#include "ListenSocket.h"
#include "PduSource.h"

namespace RtiqnDis {

/// PDUs from a socket of the program's own.
class NetworkSource : public PduSource {
public:
    /// Listens from now on. `record` may be null. Throws NetworkError and UsageError.
    NetworkSource(const ListenOptions& options, PduReport& report, CaptureWriter* record);

    bool receive() override { return socket_.receivePdu(); }
    int descriptor() override { return socket_.pollDescriptor(); }
    double longestWait_s() override { return 3600; }
    std::vector<std::pair<Loss, std::uint64_t>> losses() const override { return socket_.losses(); }
    std::string title() const override;
    const char* key() const override { return "socket"; }
    OrynRti::DtCounterSnapshot counters() const override {
        return OrynRti::DtCounterSnapshot(socket_);
    }

private:
    using Groups = std::vector<OrynRti::DtInetAddr>;

    NetworkSource(const ListenOptions& options, const Groups& groups, PduReport& report,
                  CaptureWriter* record);
    void open(const Groups& groups);

    ListenSocket socket_;
};

}  // namespace RtiqnDis

#endif
