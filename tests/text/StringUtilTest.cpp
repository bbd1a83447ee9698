#include <cstring>
#include <gtest/gtest.h>

#include "NetTypes.h"
#include "StringUtil.h"

namespace OrynRti::Tests {

namespace {

using namespace std::string_literals;

constexpr bool theNarrow = false;
constexpr bool theWide = true;

// The bytes written, without room to spare; checks that one byte less is refused untouched.
std::string written(int number, const DtString& text, bool wide) {
    const auto type = static_cast<DtStringEncodingType>(number);
    std::string buffer(100, '#');
    const int size = DtStringToBuffer(type, buffer.data(), 100, text, wide);
    EXPECT_EQ(DtStringToBuffer(type, buffer.data(), size, text, wide), size);
    std::string small(100, '#');
    EXPECT_EQ(DtStringToBuffer(type, small.data(), size - 1, text, wide), 0);
    EXPECT_EQ(small, std::string(100, '#'));
    EXPECT_EQ(buffer[size], '#');
    return buffer.substr(0, size);
}

// The number of bytes consumed and the text that was "held" before.
std::string reading(int number, const std::string& bytes, int bufLen, bool wide) {
    DtString text("held");
    const auto type = static_cast<DtStringEncodingType>(number);
    const int consumed = DtStringFromBuffer(type, &text, bytes.data(), bufLen, wide);
    return std::to_string(consumed) + " " + text.stdString();
}

template <typename Number>
std::string bytesOf(const Number& number) {
    return std::string(reinterpret_cast<const char*>(&number), sizeof number);
}

}  // namespace

TEST(NetTypesTest, HoldTheirBytesInNetworkOrder) {
    EXPECT_EQ(bytesOf(DtNetInt32(-2)), "\xff\xff\xff\xfe"s);
    EXPECT_EQ(bytesOf(DtNetU16(0x0102)), "\1\2"s);
    EXPECT_EQ(bytesOf(DtNetInt16(-2)), "\xff\xfe"s);
}

TEST(StringUtilTest, WritesEachEncodingIntoExactlyTheRoomItNeeds) {
    EXPECT_EQ(written(0, "abc", theNarrow), "\0\0\0\3abc"s);
    EXPECT_EQ(written(0, "a\xe9", theWide), "\0\0\0\2\0a\0\xe9"s);
    DtString cleared(std::string(100, 'x'));
    cleared.clear();
    for (const bool wide : {theNarrow, theWide}) {
        EXPECT_EQ(written(0, cleared, wide), "\0\0\0\0"s);
        for (const int type : {1, 4, 5, 6})
            EXPECT_EQ(written(type, "abc", wide), "abc");
        for (const int type : {2, 3}) {
            EXPECT_EQ(written(type, "abc", wide), "abc\0"s);
            EXPECT_EQ(written(type, cleared, wide), "\0"s);
        }
    }
}

TEST(StringUtilTest, ReadsEachEncoding) {
    EXPECT_EQ(DtToString(L"a\u00e9\u20ac\U0001F600"), "a\xe9??");
    EXPECT_EQ(reading(0, "\0\0\0\5abcde"s, 1, theNarrow), "9 abcde");  // the most beyond 1
    EXPECT_EQ(reading(0, "\0\0\0\3\0a\0\xe9\xff\xfe"s, 0, theWide), "10 a\xe9?");
    for (const int type : {1, 4, 5})
        EXPECT_EQ(reading(type, "abcd", 3, theNarrow), "3 abc");
    for (const int type : {2, 3}) {
        EXPECT_EQ(reading(type, "abc\0d"s, 5, theWide), "4 abc");
        EXPECT_EQ(reading(type, "abc\0"s, 0, theNarrow), "5 held");
    }
}

TEST(StringUtilTest, RefusesWhatItCannotReadOrWriteAndLeavesTheTarget) {
    EXPECT_EQ(reading(0, "\0\0\0\0"s, -1, theNarrow), "0 held");
    EXPECT_EQ(reading(0, "\0\0\0\5abcde"s, 0, theNarrow), "0 held");
    for (const std::string& length : {"\x7f\xff\xff\xff"s, "\xff\xff\xff\xff"s}) {
        EXPECT_EQ(reading(0, length, 2147483647, theNarrow), "0 held");
        EXPECT_EQ(reading(0, length, 4, theWide), "0 held");
    }
    EXPECT_EQ(reading(1, "abc", -1, theNarrow), "0 held");
    EXPECT_EQ(reading(2, "abc", 3, theNarrow), "0 held");
    EXPECT_EQ(reading(6, "abc", 3, theNarrow), "0 held");

    char buffer[8] = "#";
    DtString text("held");
    EXPECT_EQ(DtStringToBuffer(DtPlainString, nullptr, 8, "abc", theNarrow), 0);
    EXPECT_EQ(DtStringFromBuffer(DtPlainString, nullptr, buffer, 1, theNarrow), 0);
    EXPECT_EQ(DtStringFromBuffer(DtPlainString, &text, nullptr, 1, theNarrow), 0);
    EXPECT_EQ(buffer[0], '#');
}

TEST(StringUtilTest, FollowsTheSelectedByteOrder) {
    const DtNetU32 before(0x01020304u);
    DtSetNetworkByteOrdering(DtHostByteOrder);
    const std::string wide = bytesOf(std::uint32_t{1}) + bytesOf(std::int16_t{'a'});
    EXPECT_EQ(written(0, "a", theWide), wide);
    EXPECT_EQ(reading(0, wide, 6, theWide), "6 a");
    EXPECT_EQ(bytesOf(before), "\1\2\3\4"s);
    DtSetNetworkByteOrdering(DtNetworkByteOrder);
}

}  // namespace OrynRti::Tests
