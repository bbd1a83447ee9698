#ifndef RTIQN_DIS_PDU_REPORT_H
#define RTIQN_DIS_PDU_REPORT_H

#include <cstdint>
#include <memory>
#include <string>

#include "ByteView.h"
#include "PduSelection.h"
#include "PduWriter.h"
#include "TrafficStatistics.h"

namespace RtiqnDis {

/// What `listen` and `read` have in common.
struct ReportOptions {
    std::uint16_t port = 3000;
    PduSelection selection;
    std::uint64_t count = 0;  ///< end after that many PDUs; 0 for no end
    OutputFormat format = OutputFormat::Text;
    bool strict = false;
    bool quiet = false;
};

/// Counts datagrams and writes the PDUs of them that are wanted.
class PduReport {
public:
    /// Borrows the options.
    explicit PduReport(const ReportOptions& options)
        : options_(options), writer_(PduWriter::create(options.format, options.quiet)) {}

    /// Counts a datagram and what of it is no PDU. The result is borrowed until the next one.
    const Bundle& datagram(ByteView bytes, const std::string& sender, double time_s);

    /// Writes a PDU when it is wanted, counts it in either case.
    void pdu(const ReceivedPdu& received);

    /// Whether as many PDUs were written as asked for.
    bool isFull() const;

    /// Writes the summary; the exit status.
    int finish();

    TrafficStatistics& statistics() { return statistics_; }

private:
    const ReportOptions& options_;
    TrafficStatistics statistics_;
    std::unique_ptr<PduWriter> writer_;
    Bundle bundle_;
};

}  // namespace RtiqnDis

#endif
