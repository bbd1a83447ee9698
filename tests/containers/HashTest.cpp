#include <array>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "Hash.h"

namespace OrynRti {
namespace {

using HashFunction = void (*)(const void*, int, std::uint32_t, void*);

/// The self-test that was published with the algorithm: the keys {}, {0}, {0, 1}, ... under
/// falling seeds, and the hash of all their hashes.
std::uint32_t verificationValue(HashFunction hash, std::size_t hashSize) {
    std::array<std::uint8_t, 257> room;
    std::uint8_t* const key = &room[1];  // at an odd address
    std::vector<std::uint8_t> hashes(256 * hashSize);
    for (int i = 0; i < 256; ++i) {
        key[i] = static_cast<std::uint8_t>(i);
        hash(key, i, static_cast<std::uint32_t>(256 - i), &hashes[i * hashSize]);
    }
    std::array<std::uint8_t, 16> last;
    hash(hashes.data(), static_cast<int>(hashes.size()), 0, last.data());
    return last[0] | last[1] << 8 | last[2] << 16 | static_cast<std::uint32_t>(last[3]) << 24;
}

TEST(MurmurHash3Test, GivesThePublishedVerificationValues) {
    EXPECT_EQ(verificationValue(MurmurHash3_x86_32, 4), 0xB0F57EE3U);
    EXPECT_EQ(verificationValue(MurmurHash3_x86_128, 16), 0xB3ECE62AU);
    EXPECT_EQ(verificationValue(MurmurHash3_x64_128, 16), 0x6384BA69U);
}

TEST(HashTest, IsNotSetUntilItHasAName) {
    DtHash hash;
    EXPECT_EQ(hash.str(), "NOT SET");
    EXPECT_EQ(DtHash::valueToString(hash.value()), "");
    hash.set(std::string("a\0b", 3));
    EXPECT_EQ(hash.value(), 0x97714489U);
}

TEST(HashTest, TwoNamesOfOneValueAreEqualAndTheLastOneIsGivenBack) {
    const DtHash one("Aircraft");
    const std::string& name = DtHash::valueToString(one.value());
    EXPECT_EQ(name, "Aircraft");
    const DtHash two("aabdiYuJ");
    for (int i = 0; i < 1000; ++i)
        DtHash::makeHash("name " + std::to_string(i));
    EXPECT_TRUE(one == two && one.str() == "Aircraft");
    EXPECT_EQ(DtHash::makeHash("Aircraft"), two.value());
    EXPECT_EQ(name, "aabdiYuJ");
}

}  // namespace
}  // namespace OrynRti
