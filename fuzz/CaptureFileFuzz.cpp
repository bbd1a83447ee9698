// A capture file of any content is read to its end, its datagrams put together and split, or it
// is refused.
#include <cstdint>
#include <cstdlib>

#include "CaptureDatagrams.h"
#include "Errors.h"
#include "MemoryFile.h"
#include "Unbundler.h"

using namespace RtiqnDis;

namespace {

constexpr std::uint16_t thePort = 3000;

void require(bool holds) {
    if (!holds)
        std::abort();
}

/// Every byte that is handed out may be read.
void readAll(ByteView bytes) {
    volatile std::uint8_t sum = 0;
    for (std::size_t at = 0; at < bytes.size(); ++at)
        sum = static_cast<std::uint8_t>(sum + bytes.u8(at));
}

/// The PDUs of a datagram follow each other, within it.
void checkPdus(ByteView datagram) {
    static Bundle bundle;
    unbundle(datagram, bundle);
    std::size_t end = 0;
    for (const BundledPdu& pdu : bundle.pdus) {
        require(pdu.offset >= end && pdu.size_bytes >= theHeaderSize_bytes);
        require(pdu.size_bytes >= pdu.header.length_bytes);
        end = pdu.offset + pdu.size_bytes;
        require(end <= datagram.size());
    }
    require(!bundle.pdus.empty() || !bundle.losses.empty());
}

void readCapture(const std::string& path, std::size_t size) {
    constexpr std::size_t recordHeaderSize_bytes = 12;  // of the smallest, pcapng's simple packet
    TrafficStatistics statistics;
    CaptureDatagrams capture(path, thePort, statistics);
    CapturedDatagram datagram;
    std::size_t count = 0;
    while (capture.next(datagram)) {
        require(++count * recordHeaderSize_bytes < size);
        require(datagram.destinationPort == thePort);
        readAll(datagram.payload);
        checkPdus(datagram.payload);
    }
    require(!capture.next(datagram));
    require(capture.damage().empty() || statistics.hasDataProblems());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const MemoryFile file(data, size);
    try {
        readCapture(file.path(), size);
    } catch (const FileError&) {
    }
    return 0;
}
