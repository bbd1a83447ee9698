#ifndef RTIQN_DIS_BYTE_VIEW_H
#define RTIQN_DIS_BYTE_VIEW_H

#include <cstddef>
#include <cstdint>
#include <stdexcept>

namespace RtiqnDis {

/// Borrowed bytes of a message, read in network order. Callers ask size() first: reading beyond
/// the end is a mistake of the code, whatever the message, and throws std::out_of_range.
class ByteView {
public:
    ByteView() = default;
    ByteView(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}

    const std::uint8_t* data() const { return data_; }
    std::size_t size() const { return size_; }

    std::uint8_t u8(std::size_t at) const { return *need(at, 1); }
    std::uint16_t u16(std::size_t at) const {
        const std::uint8_t* bytes = need(at, 2);
        return static_cast<std::uint16_t>(bytes[0] << 8 | bytes[1]);
    }
    std::uint32_t u32(std::size_t at) const {
        return std::uint32_t{u16(at)} << 16 | std::uint32_t{u16(at + 2)};
    }

    ByteView from(std::size_t at) const { return {need(at, 0), size_ - at}; }
    ByteView first(std::size_t count) const {
        need(0, count);
        return {data_, count};
    }

private:
    const std::uint8_t* need(std::size_t at, std::size_t count) const {
        if (at > size_ || count > size_ - at)
            throw std::out_of_range("read beyond the end of a message");
        return data_ + at;
    }

    const std::uint8_t* data_ = nullptr;
    std::size_t size_ = 0;
};

}  // namespace RtiqnDis

#endif
