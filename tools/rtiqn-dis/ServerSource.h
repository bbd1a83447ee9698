#ifndef RTIQN_DIS_SERVER_SOURCE_H
#define RTIQN_DIS_SERVER_SOURCE_H

#include <optional>
#include <string>
#include <vector>

#include "CaptureWriter.h"
#include "ListenCommand.h"
#include "PacketServerClient.h"
#include "PduSource.h"

namespace RtiqnDis {

/// PDUs from the packet server of this host. When it is gone, its successor is waited for.
class ServerSource : public PduSource {
public:
    /// Connects, or begins to wait for the server if the options say so. `record` may be null.
    /// Throws NetworkError and UsageError.
    ServerSource(const ListenOptions& options, PduReport& report, CaptureWriter* record);

    bool receive() override;
    int descriptor() override { return client_.pollDescriptor(); }
    double longestWait_s() override;
    std::vector<std::pair<Loss, std::uint64_t>> losses() const override;
    void askForLosses() override;
    std::string title() const override;
    const char* key() const override { return "client"; }
    OrynRti::DtCounterSnapshot counters() const override {
        return OrynRti::DtCounterSnapshot(client_);
    }

private:
    bool connect();
    bool setFilters();
    bool tryAgain();
    void complain(const std::string& text);
    void take(int length);

    const ListenOptions& options_;
    PduReport& report_;
    CaptureWriter* record_;
    OrynRti::DtPacketServerClient client_;
    std::vector<char> buffer_;
    OrynRti::DtInetEndpoint sender_;
    bool isSuccessor_ = false;
    std::optional<std::uint64_t> missedAtEnd_;
    std::string complaint_;  ///< The last one, so that it is not repeated.
};

}  // namespace RtiqnDis

#endif
