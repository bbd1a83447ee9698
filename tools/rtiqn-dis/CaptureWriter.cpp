#include "CaptureWriter.h"

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <new>
#include <pcap/pcap.h>

#include "Errors.h"

namespace RtiqnDis {

using namespace OrynRti;

namespace {

using Packet = std::vector<std::uint8_t>;

constexpr std::uint8_t theUdpProtocol = 17;
constexpr int theSnapLength_bytes = 65575;  // the largest IPv6 packet

[[noreturn]] void throwWriteError(const std::string& path, const std::string& why) {
    throw FileError("cannot write " + path + ": " + why);
}

void put16(Packet& packet, std::size_t value) {
    packet.push_back(static_cast<std::uint8_t>(value >> 8));
    packet.push_back(static_cast<std::uint8_t>(value));
}

void putAddress(Packet& packet, const DtInetAddr& address) {
    const DtU128 value = address.toU128();
    const int size = address.isIPv6() ? 16 : 4;
    for (int at = size - 1; at >= 0; --at) {
        const std::uint64_t half = at >= 8 ? value.high() : value.low();
        packet.push_back(static_cast<std::uint8_t>(half >> (at % 8 * 8)));
    }
}

/// Adds 16-bit words as the checksums of the Internet protocols do.
std::uint32_t sumOf(const std::uint8_t* bytes, std::size_t size, std::uint32_t sum) {
    for (std::size_t i = 0; i < size; ++i)
        sum += i % 2 == 0 ? std::uint32_t{bytes[i]} << 8 : std::uint32_t{bytes[i]};
    return sum;
}

std::uint16_t checksumOf(std::uint32_t sum) {
    while (sum > 0xFFFF)
        sum = (sum & 0xFFFF) + (sum >> 16);
    return static_cast<std::uint16_t>(~sum);
}

void store16(Packet& packet, std::size_t at, std::uint16_t value) {
    packet[at] = static_cast<std::uint8_t>(value >> 8);
    packet[at + 1] = static_cast<std::uint8_t>(value);
}

void putIpv4Header(Packet& packet, const DtInetAddr& source, const DtInetAddr& destination,
                   std::size_t udpSize) {
    constexpr std::size_t headerSize = 20;
    put16(packet, 0x4500);
    put16(packet, headerSize + udpSize);
    put16(packet, 0);
    put16(packet, 0x4000);  // not fragmented
    put16(packet, 64 << 8 | theUdpProtocol);
    put16(packet, 0);
    putAddress(packet, source);
    putAddress(packet, destination);
    store16(packet, 10, checksumOf(sumOf(packet.data(), headerSize, 0)));
}

void putIpv6Header(Packet& packet, const DtInetAddr& source, const DtInetAddr& destination,
                   std::size_t udpSize) {
    put16(packet, 0x6000);
    put16(packet, 0);
    put16(packet, udpSize);
    put16(packet, theUdpProtocol << 8 | 64);
    putAddress(packet, source);
    putAddress(packet, destination);
}

/// The checksum of UDP covers the two addresses, which stand right before it. 0 would mean none.
void finishUdp(Packet& packet, std::size_t udpAt, std::size_t addressSize) {
    const std::size_t from = udpAt - 2 * addressSize;
    const std::size_t udpSize = packet.size() - udpAt;
    const std::uint32_t pseudoHeader = static_cast<std::uint32_t>(udpSize) + theUdpProtocol;
    const std::uint16_t checksum =
        checksumOf(sumOf(packet.data() + from, packet.size() - from, pseudoHeader));
    store16(packet, udpAt + 6, checksum == 0 ? 0xFFFF : checksum);
}

void buildPacket(Packet& packet, const DtInetEndpoint& source, const DtInetEndpoint& destination,
                 ByteView data) {
    constexpr std::size_t udpHeaderSize = 8;
    packet.clear();
    const std::size_t udpSize = udpHeaderSize + data.size();
    if (source.isIPv6())
        putIpv6Header(packet, source.address(), destination.address(), udpSize);
    else
        putIpv4Header(packet, source.address(), destination.address(), udpSize);
    const std::size_t udpAt = packet.size();
    put16(packet, source.port());
    put16(packet, destination.port());
    put16(packet, udpSize);
    put16(packet, 0);
    packet.insert(packet.end(), data.data(), data.data() + data.size());
    finishUdp(packet, udpAt, source.isIPv6() ? 16 : 4);
}

}  // namespace

void CaptureWriter::Close::operator()(pcap* handle) const {
    pcap_close(handle);
}
void CaptureWriter::Close::operator()(pcap_dumper* file) const {
    pcap_dump_close(file);
}

CaptureWriter::CaptureWriter(const std::string& path)
    : path_(path), handle_(pcap_open_dead(DLT_RAW, theSnapLength_bytes)) {
    if (!handle_)
        throw std::bad_alloc();
    std::FILE* file = std::fopen(path.c_str(), "wbe");
    if (!file)
        throwWriteError(path, std::strerror(errno));
    file_.reset(pcap_dump_fopen(handle_.get(), file));
    if (!file_) {
        std::fclose(file);
        throwWriteError(path, pcap_geterr(handle_.get()));
    }
    flush();
}

void CaptureWriter::add(const DtInetEndpoint& source, const DtInetEndpoint& destination,
                        ByteView data, double time_s) {
    buildPacket(packet_, source, destination, data);
    pcap_pkthdr header{};
    header.ts.tv_sec = static_cast<time_t>(std::floor(time_s));
    header.ts.tv_usec = std::lround((time_s - std::floor(time_s)) * 1e6) % 1000000;
    header.caplen = header.len = static_cast<bpf_u_int32>(packet_.size());
    pcap_dump(reinterpret_cast<unsigned char*>(file_.get()), &header, packet_.data());
    if (error_ == 0 && std::ferror(pcap_dump_file(file_.get())))
        error_ = errno;
}

void CaptureWriter::flush() {
    if (pcap_dump_flush(file_.get()) != 0 && error_ == 0)
        error_ = errno;
    if (error_ != 0)
        throwWriteError(path_, std::strerror(error_));
}

}  // namespace RtiqnDis
