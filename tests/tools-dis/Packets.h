#ifndef TESTS_TOOLS_DIS_PACKETS_H
#define TESTS_TOOLS_DIS_PACKETS_H

#include <cstdint>
#include <string>
#include <vector>

#include "ByteView.h"

/// Messages and captures for tests, as strings of bytes in network order.
namespace RtiqnDis::Tests {

inline std::string u8(unsigned int value) {
    return {static_cast<char>(value)};
}
inline std::string u16(unsigned int value) {
    return u8(value >> 8 & 0xFF) + u8(value & 0xFF);
}
inline std::string u32(std::uint64_t value) {
    return u16(value >> 16 & 0xFFFF) + u16(value & 0xFFFF);
}
inline std::string zeros(std::size_t count) {
    return std::string(count, '\0');
}

inline ByteView view(const std::string& bytes) {
    return {reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()};
}

/// A PDU of `size` bytes whose header says `length`.
inline std::string pduSaying(unsigned int length, std::size_t size, unsigned int version = 7,
                             unsigned int kind = 1, unsigned int status = 0) {
    const std::string header =
        u8(version) + u8(1) + u8(kind) + u8(1) + u32(0) + u16(length) + u8(status) + u8(0);
    return (header + zeros(size)).substr(0, size);
}

inline std::string pdu(std::size_t size, unsigned int version = 7, unsigned int kind = 1,
                       unsigned int status = 0) {
    return pduSaying(static_cast<unsigned int>(size), size, version, kind, status);
}

// ------------------------------------------------------------------------------------- packets

inline std::string udp(const std::string& data, unsigned int port = 3000) {
    return u16(3001) + u16(port) + u16(static_cast<unsigned int>(8 + data.size())) + u16(0) + data;
}

/// From 192.0.2.10; `fragment` is the field of flags and offset.
inline std::string ipv4(const std::string& payload, unsigned int fragment = 0,
                        unsigned int identification = 1) {
    return u8(0x45) + u8(0) + u16(static_cast<unsigned int>(20 + payload.size())) +
           u16(identification) + u16(fragment) + u8(64) + u8(17) + u16(0) + u32(0xC000020A) +
           u32(0xC00002FF) + payload;
}

/// From 2001:db8::1 to ff02::1; `header` is the number of what the payload begins with.
inline std::string ipv6(const std::string& payload, unsigned int header = 17) {
    return u32(0x60000000) + u16(static_cast<unsigned int>(payload.size())) + u8(header) + u8(64) +
           u32(0x20010DB8) + zeros(11) + u8(1) + u32(0xFF020000) + zeros(11) + u8(1) + payload;
}

inline std::string ethernet(const std::string& packet, unsigned int type = 0x0800) {
    return zeros(12) + u16(type) + packet;
}

// ------------------------------------------------------------------------------------ captures

/// One packet of a capture file that kept `bytes` of what were `size` (0: all of them).
struct TestPacket {
    std::string bytes;
    std::size_t size = 0;
    std::uint32_t seconds = 1700000000;
    std::uint32_t fraction = 0;
};

enum class CaptureForm { Microseconds, Nanoseconds, Pcapng };

inline std::string pcapngBlock(unsigned int type, std::string body) {
    body += zeros((4 - body.size() % 4) % 4);
    const std::string size = u32(body.size() + 12);
    return u32(type) + size + body + size;
}

inline std::string pcapngPacket(const TestPacket& packet, std::size_t size) {
    const std::uint64_t time = std::uint64_t{packet.seconds} * 1000000 + packet.fraction;
    return pcapngBlock(6, u32(0) + u32(time >> 32) + u32(time & 0xFFFFFFFF) +
                              u32(packet.bytes.size()) + u32(size) + packet.bytes);
}

/// The contents of a capture file in big-endian order. `linkType` is the number that the file
/// format has for it.
inline std::string capture(unsigned int linkType, const std::vector<TestPacket>& packets,
                           CaptureForm form = CaptureForm::Microseconds) {
    std::string file = u32(form == CaptureForm::Nanoseconds ? 0xA1B23C4D : 0xA1B2C3D4) + u16(2) +
                       u16(4) + zeros(8) + u32(262144) + u32(linkType);
    if (form == CaptureForm::Pcapng)
        file = pcapngBlock(0x0A0D0D0A,
                           u32(0x1A2B3C4D) + u16(1) + u16(0) + u32(0xFFFFFFFF) + u32(0xFFFFFFFF)) +
               pcapngBlock(1, u16(linkType) + u16(0) + u32(262144));
    for (const TestPacket& packet : packets) {
        const std::size_t size = packet.size ? packet.size : packet.bytes.size();
        if (form == CaptureForm::Pcapng)
            file += pcapngPacket(packet, size);
        else
            file += u32(packet.seconds) + u32(packet.fraction) + u32(packet.bytes.size()) +
                    u32(size) + packet.bytes;
    }
    return file;
}

}  // namespace RtiqnDis::Tests

#endif
