#ifndef RTIQN_DIS_PDU_WRITER_H
#define RTIQN_DIS_PDU_WRITER_H

#include <memory>
#include <string>

#include "TrafficStatistics.h"
#include "Unbundler.h"

namespace RtiqnDis {

enum class OutputFormat { Text, Json, Ndjson };

/// A PDU that was received and is wanted.
struct ReceivedPdu {
    double time_s;              ///< Unix time
    const std::string& sender;  ///< address and port, borrowed for the call
    const BundledPdu& pdu;
    std::size_t index;  ///< its place in the datagram, counted from 1
    std::size_t count;  ///< PDUs in the datagram
};

/// Writes PDUs and the summary to standard output in one of the formats. Throws FileError when
/// standard output cannot be written.
class PduWriter {
public:
    virtual ~PduWriter() = default;
    virtual void pdu(const ReceivedPdu& received) = 0;
    virtual void finish(const TrafficStatistics& statistics) = 0;

    /// With `quiet`, PDUs are left out and only the summary is written.
    static std::unique_ptr<PduWriter> create(OutputFormat format, bool quiet);
};

}  // namespace RtiqnDis

#endif
