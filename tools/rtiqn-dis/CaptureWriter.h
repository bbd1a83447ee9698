#ifndef RTIQN_DIS_CAPTURE_WRITER_H
#define RTIQN_DIS_CAPTURE_WRITER_H

#include <memory>
#include <string>
#include <vector>

#include "ByteView.h"
#include "InetEndpoint.h"

struct pcap;
struct pcap_dumper;

namespace RtiqnDis {

/// Records datagrams in a pcap file of raw IP packets, whose headers are made up for the purpose.
/// The file is whole after each flush().
class CaptureWriter {
public:
    /// Empties an existing file. Throws FileError.
    explicit CaptureWriter(const std::string& path);

    /// Adds a datagram. Both ends are of the same family.
    void add(const OrynRti::DtInetEndpoint& source, const OrynRti::DtInetEndpoint& destination,
             ByteView data, double time_s);

    /// Hands everything over to the system. Throws FileError when it or an earlier add() failed.
    void flush();

private:
    struct Close {
        void operator()(pcap* handle) const;
        void operator()(pcap_dumper* file) const;
    };

    std::string path_;
    std::unique_ptr<pcap, Close> handle_;
    std::unique_ptr<pcap_dumper, Close> file_;
    std::vector<std::uint8_t> packet_;
    int error_ = 0;  ///< Of the first write that failed.
};

}  // namespace RtiqnDis

#endif
