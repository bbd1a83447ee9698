#include "Unbundler.h"

#include <algorithm>

namespace RtiqnDis {

namespace {

/// Whether a PDU begins here and is all there; if not, says why in `why`.
bool fits(const PduHeader& header, std::size_t left_bytes, Loss& why) {
    if (header.length_bytes == 0)
        why = Loss::LengthZero;
    else if (header.length_bytes < theHeaderSize_bytes)
        why = Loss::LengthBelowHeader;
    else if (header.length_bytes > left_bytes)
        why = Loss::Incomplete;
    else
        return true;
    return false;
}

/// The length of the Attribute PDU that the bytes begin with; 0 when they do not.
std::size_t attributeSize(ByteView bytes) {
    if (bytes.size() < theHeaderSize_bytes)
        return 0;
    const PduHeader header = PduHeader::read(bytes);
    Loss ignored;
    const bool isAttribute = header.kind == theAttributeKind;
    return isAttribute && fits(header, bytes.size(), ignored) ? header.length_bytes : 0;
}

/// Where the next PDU begins.
std::size_t addPdu(ByteView rest, const PduHeader& header, std::size_t offset, Bundle& bundle) {
    BundledPdu pdu{header, offset, header.length_bytes, false};
    std::size_t next = pdu.size_bytes + paddingAfter(pdu.size_bytes, header.version);
    if (header.announcesAttribute()) {
        const std::size_t size =
            next < rest.size() ? attributeSize(rest.from(next)) : std::size_t{0};
        if (size == 0)
            bundle.losses.push_back(Loss::AttributeMissing);
        else {
            pdu.coupled = true;
            pdu.size_bytes = next + size;
            next += size + paddingAfter(size, header.version);
        }
    }
    bundle.pdus.push_back(pdu);
    return std::min(next, rest.size());
}

/// Whether the last PDU is followed by another one where the padding rule of the other versions
/// puts it. Looked at only when there is none where its own rule does.
bool isMisaligned(ByteView datagram, const Bundle& bundle) {
    if (bundle.pdus.empty())
        return false;
    const BundledPdu& last = bundle.pdus.back();
    const std::uint8_t otherVersion = last.header.version > 6 ? 6 : 7;
    const std::size_t end = last.offset + last.size_bytes;
    const std::size_t next = end + paddingAfter(last.header.length_bytes, otherVersion);
    if (last.coupled || next > datagram.size() || datagram.size() - next < theHeaderSize_bytes)
        return false;
    const PduHeader header = PduHeader::read(datagram.from(next));
    Loss ignored;
    return header.version >= 1 && header.version <= 7 &&
           fits(header, datagram.size() - next, ignored);
}

}  // namespace

std::size_t paddingAfter(std::size_t length_bytes, std::uint8_t version) {
    constexpr std::size_t alignment = 8;
    return version > 6 ? (alignment - length_bytes % alignment) % alignment : 0;
}

void unbundle(ByteView datagram, Bundle& bundle) {
    bundle.pdus.clear();
    bundle.losses.clear();
    std::size_t offset = 0;
    while (datagram.size() - offset >= theHeaderSize_bytes) {
        const ByteView rest = datagram.from(offset);
        const PduHeader header = PduHeader::read(rest);
        Loss why;
        if (!fits(header, rest.size(), why)) {
            bundle.losses.push_back(isMisaligned(datagram, bundle) ? Loss::WrongAlignment : why);
            return;
        }
        offset += addPdu(rest, header, offset, bundle);
    }
    if (offset == 0)
        bundle.losses.push_back(Loss::TooShort);
    else if (offset < datagram.size())
        bundle.losses.push_back(Loss::RestTooShort);
}

}  // namespace RtiqnDis
