#include <array>
#include <cstring>
#include <gtest/gtest.h>
#include <vector>

#include "Hash.h"

namespace OrynRti {

namespace {

using HashFunction = void (*)(const void*, int, std::uint32_t, void*);

/// The self-test that was published with the algorithm: the keys {}, {0}, {0, 1}, ... under
/// falling seeds, and the hash of all their hashes.
std::uint32_t verificationValue(HashFunction hash, std::size_t hashSize) {
    std::array<std::uint8_t, 256> key;
    std::vector<std::uint8_t> hashes(256 * hashSize);
    for (int i = 0; i < 256; ++i) {
        key[i] = static_cast<std::uint8_t>(i);
        hash(key.data(), i, static_cast<std::uint32_t>(256 - i), &hashes[i * hashSize]);
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

TEST(MurmurHash3Test, GivesTheSameAtEveryAlignmentAndCountsANegativeLengthAsNone) {
    std::array<char, 64> room{};
    for (const HashFunction hash : {MurmurHash3_x86_32, MurmurHash3_x86_128, MurmurHash3_x64_128}) {
        std::array<char, 16> expected{};
        std::array<char, 16> empty{};
        std::array<char, 16> actual{};
        hash("the quick brown fox jumps over the dog", 37, 7, expected.data());
        for (int shift = 1; shift < 8; ++shift) {
            std::memcpy(&room[shift], "the quick brown fox jumps over the dog", 37);
            hash(&room[shift], 37, 7, actual.data());
            EXPECT_EQ(actual, expected);
        }
        hash(nullptr, 0, 7, empty.data());
        hash("x", -1, 7, actual.data());
        EXPECT_EQ(actual, empty);
    }
}

TEST(HashTest, IsNotSetUntilItHasAName) {
    DtHash hash;
    EXPECT_FALSE(hash.isValid());
    EXPECT_EQ(hash.value(), 0xFFFFFFFFU);
    EXPECT_EQ(hash.str(), "NOT SET");
    EXPECT_EQ(DtHash::valueToString(hash.value()), "");

    hash.set("HLAobjectRoot");
    EXPECT_TRUE(hash.isValid());
    EXPECT_EQ(hash.str(), "HLAobjectRoot");
    EXPECT_EQ(hash(), DtHash::value("HLAobjectRoot"));
    hash.set(hash.str());
    EXPECT_EQ(hash.str(), "HLAobjectRoot");
}

TEST(HashTest, HashesTheBytesOfTheNameWithItsSeed) {
    EXPECT_EQ(DtHash::value(""), 0xAB3E7C0BU);
    EXPECT_EQ(DtHash::value(std::string("a\0b", 3)), 0x97714489U);
}

TEST(HashTest, InternsANameOnceAndKeepsReferencesGood) {
    const unsigned int value = DtHash::makeHash("first");
    const std::string& name = DtHash::valueToString(value);
    const std::size_t names = DtHash::theHashStringMap().size();
    EXPECT_EQ(DtHash::makeHash("first"), value);
    EXPECT_EQ(DtHash::theHashStringMap().size(), names);

    for (int i = 0; i < 1000; ++i)
        DtHash::makeHash("name " + std::to_string(i));
    EXPECT_EQ(name, "first");
    EXPECT_EQ(&DtHash::valueToString(value), &name);
}

TEST(HashTest, TwoNamesOfOneValueAreEqualAndTheLastOneIsGivenBack) {
    const DtHash one("Aircraft");
    const DtHash two("aabdiYuJ");
    EXPECT_TRUE(one == two && one <= two && one >= two);
    EXPECT_FALSE(one != two || one < two || one > two);
    EXPECT_EQ(one.str(), "Aircraft");
    EXPECT_EQ(DtHash::valueToString(one.value()), "aabdiYuJ");
    EXPECT_EQ(DtHash::makeHash("Aircraft"), two.value());
    EXPECT_EQ(DtHash::valueToString(one.value()), "aabdiYuJ");
}

}  // namespace

}  // namespace OrynRti
