#include <cstring>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "NetTypes.h"
#include "StringUtil.h"

namespace OrynRti::Tests {

namespace {

constexpr bool theNarrow = false;
constexpr bool theWide = true;

DtStringEncodingType encoding(int number) {
    return static_cast<DtStringEncodingType>(number);
}

// The bytes written, without room to spare; checks that one byte less is refused untouched.
std::string written(int type, const DtString& text, bool wide) {
    std::string buffer(100, '#');
    const int size = DtStringToBuffer(encoding(type), buffer.data(), 100, text, wide);
    std::string exact(100, '#');
    EXPECT_EQ(DtStringToBuffer(encoding(type), exact.data(), size, text, wide), size);
    std::string small(100, '#');
    EXPECT_EQ(DtStringToBuffer(encoding(type), small.data(), size - 1, text, wide), 0);
    EXPECT_EQ(small, std::string(100, '#'));
    EXPECT_EQ(buffer, exact);
    EXPECT_EQ(buffer.find_first_not_of('#', static_cast<std::size_t>(size)), std::string::npos);
    return buffer.substr(0, static_cast<std::size_t>(size));
}

struct Reading {
    int consumed;
    std::string text;

    bool operator==(const Reading& other) const {
        return consumed == other.consumed && text == other.text;
    }
};

void PrintTo(const Reading& reading, std::ostream* out) {
    *out << reading.consumed << " \"" << reading.text << '"';
}

Reading reading(int type, const std::string& bytes, int bufLen, bool wide) {
    DtString text("held");
    const int consumed = DtStringFromBuffer(encoding(type), &text, bytes.data(), bufLen, wide);
    return {consumed, text.stdString()};
}

class InHostByteOrder {
public:
    InHostByteOrder() { DtSetNetworkByteOrdering(DtHostByteOrder); }
    ~InHostByteOrder() { DtSetNetworkByteOrdering(DtNetworkByteOrder); }
};

template <typename Number>
std::string bytesOf(const Number& number) {
    std::string bytes(sizeof number, '\0');
    std::memcpy(bytes.data(), &number, sizeof number);
    return bytes;
}

template <std::size_t size>
std::string bytes(const char (&literal)[size]) {
    return std::string(literal, size - 1);
}

}  // namespace

TEST(NetTypesTest, HoldTheirBytesInTheSelectedOrder) {
    EXPECT_EQ(DtNetworkByteOrdering(), 1);
    EXPECT_EQ(bytesOf(DtNetU32(0x01020304u)), bytes("\1\2\3\4"));
    EXPECT_EQ(bytesOf(DtNetInt32(-2)), bytes("\xff\xff\xff\xfe"));
    EXPECT_EQ(bytesOf(DtNetU16(0x0102)), bytes("\1\2"));
    EXPECT_EQ(bytesOf(DtNetInt16(-2)), bytes("\xff\xfe"));
    EXPECT_EQ(std::int32_t{DtNetInt32(-2)}, -2);
    EXPECT_EQ(std::int16_t{DtNetInt16(-2)}, -2);
    EXPECT_EQ(std::uint32_t{DtNetU32()}, 0u);

    const DtNetU32 before(0x01020304u);
    const InHostByteOrder hostOrder;
    EXPECT_EQ(bytesOf(DtNetU32(0x01020304u)), bytesOf(std::uint32_t{0x01020304}));
    EXPECT_EQ(std::uint32_t{DtNetU32(7)}, 7u);
    EXPECT_EQ(bytesOf(before), bytes("\1\2\3\4"));
}

TEST(StringUtilTest, WritesEachEncodingIntoExactlyTheRoomItNeeds) {
    EXPECT_EQ(written(0, "abc", theNarrow), bytes("\0\0\0\3abc"));
    EXPECT_EQ(written(0, "a\xe9", theWide), bytes("\0\0\0\2\0a\0\xe9"));
    EXPECT_EQ(written(0, "", theNarrow), bytes("\0\0\0\0"));
    EXPECT_EQ(written(0, "", theWide), bytes("\0\0\0\0"));
    for (const int type : {1, 4, 5, 6})
        EXPECT_EQ(written(type, "abc", type % 2 == 0), "abc");
    for (const int type : {2, 3}) {
        EXPECT_EQ(written(type, "abc", type % 2 == 0), bytes("abc\0"));
        EXPECT_EQ(written(type, "", theNarrow), bytes("\0"));
    }
}

TEST(StringUtilTest, ReadsEachEncoding) {
    EXPECT_EQ(reading(0, bytes("\0\0\0\3abc"), 7, theNarrow), (Reading{7, "abc"}));
    EXPECT_EQ(reading(0, bytes("\0\0\0\3\0a\0\xe9\xff\xfe"), 0, theWide), (Reading{10, "a\xe9?"}));
    for (const int type : {1, 4, 5}) {
        EXPECT_EQ(reading(type, "abcd", 3, theNarrow), (Reading{3, "abc"}));
        EXPECT_EQ(reading(type, "abcd", 0, theWide), (Reading{0, ""}));
    }
    for (const int type : {2, 3}) {
        EXPECT_EQ(reading(type, bytes("abc\0d"), 5, theWide), (Reading{4, "abc"}));
        EXPECT_EQ(reading(type, bytes("abc\0"), 0, theNarrow), (Reading{5, "held"}));
        EXPECT_EQ(reading(type, bytes("abc\0"), -1, theNarrow), (Reading{5, "held"}));
    }
}

TEST(StringUtilTest, TheLengthOfACountedTextMayExceedTheBufferByFour) {
    const std::string buffer = bytes("\0\0\0\x0c") + "abcdefghijkl";
    EXPECT_EQ(reading(0, buffer, 8, theNarrow), (Reading{16, "abcdefghijkl"}));
    EXPECT_EQ(reading(0, buffer, 7, theNarrow), (Reading{0, "held"}));
}

TEST(StringUtilTest, RefusesWhatItCannotReadAndLeavesTheTarget) {
    const Reading refused{0, "held"};
    EXPECT_EQ(reading(0, bytes("\0\0\0\0"), -1, theNarrow), refused);
    EXPECT_EQ(reading(0, bytes("\x7f\xff\xff\xff"), 2147483647, theNarrow), refused);
    EXPECT_EQ(reading(0, bytes("\xff\xff\xff\xff"), 2147483647, theNarrow), refused);
    EXPECT_EQ(reading(0, bytes("\xff\xff\xff\xff"), 4, theWide), refused);
    EXPECT_EQ(reading(0, bytes("\x7f\xff\xff\xff"), 4, theWide), refused);
    EXPECT_EQ(reading(1, "abc", -1, theNarrow), refused);
    EXPECT_EQ(reading(2, "abc", 3, theNarrow), refused);
    for (const int type : {6, 7, -1})
        EXPECT_EQ(reading(type, "abc", 3, theNarrow), refused);

    char buffer[8] = "#";
    EXPECT_EQ(DtStringToBuffer(encoding(7), buffer, 8, "abc", theNarrow), 0);
    EXPECT_EQ(buffer[0], '#');
    DtString text("held");
    EXPECT_EQ(DtStringFromBuffer(DtPlainString, nullptr, buffer, 1, theNarrow), 0);
    EXPECT_EQ(DtStringFromBuffer(DtPlainString, &text, nullptr, 1, theNarrow), 0);
    EXPECT_EQ(DtStringToBuffer(DtPlainString, nullptr, 8, "abc", theNarrow), 0);
}

TEST(StringUtilTest, WritesAClearedStringAsAnEmptyOne) {
    DtString cleared(std::string(100, 'x'));
    cleared.clear();
    char buffer[8] = "####";
    EXPECT_EQ(DtStringToBuffer(DtCountedString, buffer, 4, cleared, theWide), 4);
    EXPECT_EQ(DtStringToBuffer(DtTerminatedString, buffer, 1, cleared, theNarrow), 1);
    EXPECT_EQ(DtStringToBuffer(DtPlainString, buffer, 0, cleared, theNarrow), 0);
}

TEST(StringUtilTest, FollowsTheSelectedByteOrder) {
    const InHostByteOrder hostOrder;
    const std::string narrow = bytesOf(std::uint32_t{2}) + "ab";
    const std::string wide = bytesOf(std::uint32_t{1}) + bytesOf(std::int16_t{'a'});
    EXPECT_EQ(written(0, "ab", theNarrow), narrow);
    EXPECT_EQ(written(0, "a", theWide), wide);
    EXPECT_EQ(reading(0, narrow, 6, theNarrow), (Reading{6, "ab"}));
    EXPECT_EQ(reading(0, wide, 6, theWide), (Reading{6, "a"}));
}

TEST(StringUtilTest, PaddingIsWhatAnEncodingAddsToTheText) {
    const int expected[] = {4, 0, 1, 1, 0, 0, 0, 0};
    for (int type = 0; type < 8; ++type)
        EXPECT_EQ(DtStringGetNetPadding(encoding(type)), expected[type]) << type;
}

TEST(StringUtilTest, NarrowsWideText) {
    EXPECT_EQ(DtToString(L"a\u00e9\u20ac\U0001F600").stdString(), "a\xe9??");
    EXPECT_EQ(DtToString(std::wstring(1, static_cast<wchar_t>(-1))).stdString(), "?");
}

}  // namespace OrynRti::Tests
