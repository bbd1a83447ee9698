#ifndef RTIQN_DIS_CAPTURE_FILE_H
#define RTIQN_DIS_CAPTURE_FILE_H

#include <cstdint>
#include <memory>
#include <string>

#include "ByteView.h"

struct pcap;

namespace RtiqnDis {

/// One packet of a capture file.
struct CapturedPacket {
    double time_s = 0;  ///< Unix time
    ByteView bytes;     ///< borrowed until the next packet
    /// The capture kept less than the packet had.
    bool cut = false;
};

/// Reads the packets of a pcap or pcapng file, of microseconds or nanoseconds.
class CaptureFile {
public:
    /// Throws FileError when the file cannot be opened, is no capture, or is of a link type that
    /// linkPayload() does not take.
    explicit CaptureFile(const std::string& path);

    /// False at the end, and where the file is damaged or cut off.
    bool next(CapturedPacket& packet);

    int linkType() const;

    /// Empty, or why the rest of the file cannot be read.
    const std::string& damage() const { return damage_; }

private:
    struct Close {
        void operator()(pcap* handle) const;
    };
    std::unique_ptr<pcap, Close> handle_;
    std::string damage_;
};

}  // namespace RtiqnDis

#endif
