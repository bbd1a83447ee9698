#include "CaptureFile.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <pcap/pcap.h>

#include "Errors.h"
#include "LinkLayer.h"

namespace RtiqnDis {

namespace {

[[noreturn]] void throwReadError(const std::string& path, const std::string& why) {
    throw FileError("cannot read " + path + ": " + why);
}

pcap_t* openCapture(const std::string& path) {
    std::FILE* file = std::fopen(path.c_str(), "rbe");
    if (!file)
        throwReadError(path, std::strerror(errno));
    char why[PCAP_ERRBUF_SIZE] = "";
    pcap_t* handle =
        pcap_fopen_offline_with_tstamp_precision(file, PCAP_TSTAMP_PRECISION_NANO, why);
    if (!handle) {
        std::fclose(file);
        throwReadError(path, why + std::string("; captures are pcap or pcapng files"));
    }
    return handle;
}

std::string linkName(int type) {
    const char* name = pcap_datalink_val_to_name(type);
    return name ? name : "number " + std::to_string(type);
}

}  // namespace

void CaptureFile::Close::operator()(pcap* handle) const {
    pcap_close(handle);
}

CaptureFile::CaptureFile(const std::string& path) : handle_(openCapture(path)) {
    if (!knowsLinkType(linkType()))
        throwReadError(path, "packets of link type " + linkName(linkType()) + " are not supported");
}

bool CaptureFile::next(CapturedPacket& packet) {
    if (!damage_.empty())
        return false;
    pcap_pkthdr* header = nullptr;
    const unsigned char* bytes = nullptr;
    const int result = pcap_next_ex(handle_.get(), &header, &bytes);
    if (result != 1) {
        if (result != PCAP_ERROR_BREAK)
            damage_ = pcap_geterr(handle_.get());
        return false;
    }
    packet.time_s = static_cast<double>(header->ts.tv_sec) +
                    static_cast<double>(header->ts.tv_usec) * 1e-9;  // asked for nanoseconds
    packet.bytes = ByteView(bytes, header->caplen);
    packet.cut = header->caplen < header->len;
    return true;
}

int CaptureFile::linkType() const {
    return pcap_datalink(handle_.get());
}

}  // namespace RtiqnDis
