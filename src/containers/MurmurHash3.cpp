#include <cstddef>
#include <cstring>

#include "Hash.h"

// MurmurHash3 after the algorithm that Austin Appleby published and placed in the public domain.
// The published text reads blocks as the machine's own integers and is thus right on
// little-endian machines only; here blocks are put together byte by byte, which compilers turn
// into one load where that is the same.

namespace OrynRti {

namespace {

using std::size_t;
using std::uint32_t;
using std::uint64_t;
using std::uint8_t;

/// The integer of the first `count` bytes, least significant byte first.
template <typename Integer>
Integer partOfBlock(const uint8_t* bytes, size_t count) {
    Integer value = 0;
    for (size_t i = 0; i < count; ++i)
        value |= static_cast<Integer>(bytes[i]) << (8 * i);
    return value;
}

template <typename Integer>
Integer block(const uint8_t* bytes) {
#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
    Integer value;
    std::memcpy(&value, bytes, sizeof value);
    return value;
#else
    return partOfBlock<Integer>(bytes, sizeof(Integer));
#endif
}

/// Integer number `index` of a last block of which only `left` bytes are there.
template <typename Integer>
Integer partOfTail(const uint8_t* tail, size_t left, size_t index) {
    const size_t start = index * sizeof(Integer);
    if (left <= start)
        return 0;
    const size_t count = left - start;
    return partOfBlock<Integer>(tail + start, count < sizeof(Integer) ? count : sizeof(Integer));
}

template <typename Integer>
Integer rotatedLeft(Integer value, int bits) {
    return (value << bits) | (value >> (8 * static_cast<int>(sizeof(Integer)) - bits));
}

/// How the bits of one integer of a block are spread. 0 stays 0, so that a part of a last block
/// that is not there changes nothing.
template <typename Integer>
Integer scrambled(Integer value, Integer first, int bits, Integer second) {
    return rotatedLeft<Integer>(value * first, bits) * second;
}

uint32_t finalMix(uint32_t h) {
    h ^= h >> 16;
    h *= 0x85ebca6bU;
    h ^= h >> 13;
    h *= 0xc2b2ae35U;
    return h ^ (h >> 16);
}

uint64_t finalMix(uint64_t h) {
    h ^= h >> 33;
    h *= 0xff51afd7ed558ccdU;
    h ^= h >> 33;
    h *= 0xc4ceb9fe1a85ec53U;
    return h ^ (h >> 33);
}

size_t checkedLength(int length) {
    return length > 0 ? static_cast<size_t>(length) : 0;
}

// ---- 128 bits in four integers of 32

struct X86State {
    uint32_t h1, h2, h3, h4;
};

constexpr uint32_t x86Factors[] = {0x239b961bU, 0xab0e9789U, 0x38b34ae5U, 0xa1e38b93U};

uint32_t x86Scrambled(uint32_t value, int index) {
    return scrambled(value, x86Factors[index], 15 + index, x86Factors[(index + 1) % 4]);
}

void addBlock(X86State& s, const uint8_t* bytes) {
    s.h1 ^= x86Scrambled(block<uint32_t>(bytes), 0);
    s.h1 = (rotatedLeft(s.h1, 19) + s.h2) * 5 + 0x561ccd1bU;
    s.h2 ^= x86Scrambled(block<uint32_t>(bytes + 4), 1);
    s.h2 = (rotatedLeft(s.h2, 17) + s.h3) * 5 + 0x0bcaa747U;
    s.h3 ^= x86Scrambled(block<uint32_t>(bytes + 8), 2);
    s.h3 = (rotatedLeft(s.h3, 15) + s.h4) * 5 + 0x96cd1c35U;
    s.h4 ^= x86Scrambled(block<uint32_t>(bytes + 12), 3);
    s.h4 = (rotatedLeft(s.h4, 13) + s.h1) * 5 + 0x32ac3b17U;
}

void addTail(X86State& s, const uint8_t* tail, size_t left) {
    s.h1 ^= x86Scrambled(partOfTail<uint32_t>(tail, left, 0), 0);
    s.h2 ^= x86Scrambled(partOfTail<uint32_t>(tail, left, 1), 1);
    s.h3 ^= x86Scrambled(partOfTail<uint32_t>(tail, left, 2), 2);
    s.h4 ^= x86Scrambled(partOfTail<uint32_t>(tail, left, 3), 3);
}

void mixTogether(X86State& s) {
    s.h1 += s.h2 + s.h3 + s.h4;
    s.h2 += s.h1;
    s.h3 += s.h1;
    s.h4 += s.h1;
}

// ---- 128 bits in two integers of 64

struct X64State {
    uint64_t h1, h2;
};

uint64_t x64First(uint64_t value) {
    return scrambled<uint64_t>(value, 0x87c37b91114253d5U, 31, 0x4cf5ad432745937fU);
}

uint64_t x64Second(uint64_t value) {
    return scrambled<uint64_t>(value, 0x4cf5ad432745937fU, 33, 0x87c37b91114253d5U);
}

void addBlock(X64State& s, const uint8_t* bytes) {
    s.h1 ^= x64First(block<uint64_t>(bytes));
    s.h1 = (rotatedLeft(s.h1, 27) + s.h2) * 5 + 0x52dce729U;
    s.h2 ^= x64Second(block<uint64_t>(bytes + 8));
    s.h2 = (rotatedLeft(s.h2, 31) + s.h1) * 5 + 0x38495ab5U;
}

void mixTogether(X64State& s) {
    s.h1 += s.h2;
    s.h2 += s.h1;
}

}  // namespace

void MurmurHash3_x86_32(const void* data, int length, uint32_t seed, void* output) {
    const auto* bytes = static_cast<const uint8_t*>(data);
    size_t left = checkedLength(length);
    const auto lengthBits = static_cast<uint32_t>(left);
    const auto mixed = [](uint32_t k) { return scrambled(k, 0xcc9e2d51U, 15, 0x1b873593U); };
    uint32_t h = seed;
    for (; left >= 4; bytes += 4, left -= 4)
        h = rotatedLeft(h ^ mixed(block<uint32_t>(bytes)), 13) * 5 + 0xe6546b64U;
    h ^= mixed(partOfBlock<uint32_t>(bytes, left));
    h = finalMix(h ^ lengthBits);
    std::memcpy(output, &h, sizeof h);
}

void MurmurHash3_x86_128(const void* data, int length, uint32_t seed, void* output) {
    const auto* bytes = static_cast<const uint8_t*>(data);
    size_t left = checkedLength(length);
    const auto lengthBits = static_cast<uint32_t>(left);
    X86State s{seed, seed, seed, seed};
    for (; left >= 16; bytes += 16, left -= 16)
        addBlock(s, bytes);
    addTail(s, bytes, left);
    s = {s.h1 ^ lengthBits, s.h2 ^ lengthBits, s.h3 ^ lengthBits, s.h4 ^ lengthBits};
    mixTogether(s);
    s = {finalMix(s.h1), finalMix(s.h2), finalMix(s.h3), finalMix(s.h4)};
    mixTogether(s);
    static_assert(sizeof s == 16);
    std::memcpy(output, &s, sizeof s);
}

void MurmurHash3_x64_128(const void* data, int length, uint32_t seed, void* output) {
    const auto* bytes = static_cast<const uint8_t*>(data);
    size_t left = checkedLength(length);
    const uint64_t lengthBits = left;
    X64State s{seed, seed};
    for (; left >= 16; bytes += 16, left -= 16)
        addBlock(s, bytes);
    s.h1 ^= x64First(partOfTail<uint64_t>(bytes, left, 0));
    s.h2 ^= x64Second(partOfTail<uint64_t>(bytes, left, 1));
    s = {s.h1 ^ lengthBits, s.h2 ^ lengthBits};
    mixTogether(s);
    s = {finalMix(s.h1), finalMix(s.h2)};
    mixTogether(s);
    static_assert(sizeof s == 16);
    std::memcpy(output, &s, sizeof s);
}

}  // namespace OrynRti
