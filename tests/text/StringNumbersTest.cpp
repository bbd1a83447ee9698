#include <cerrno>
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <optional>
#include <string>

#include "String.h"

namespace OrynRti::Tests {

namespace {

constexpr bool theOk = true;
constexpr bool theFailure = false;
constexpr std::nullopt_t theUntouched = std::nullopt;

template <typename Number>
struct Case {
    const char* text;
    Number value;
    std::optional<bool> ok;
};

// Converts twice, to see whether `ok` was written at all.
template <typename Number, typename Convert>
void expectConversion(const Case<Number>& c, const Convert& convert) {
    bool wasTrue = true;
    bool wasFalse = false;
    errno = 0;
    const Number value = convert(DtString(c.text), &wasTrue);
    errno = 0;
    convert(DtString(c.text), &wasFalse);
    const bool bothNaN = value != value && c.value != c.value;
    EXPECT_TRUE(value == c.value || bothNaN) << '"' << c.text << "\" gave " << value;
    const std::optional<bool> ok = wasTrue == wasFalse ? std::optional(wasTrue) : std::nullopt;
    EXPECT_TRUE(ok == c.ok) << '"' << c.text << '"';
}

template <typename Float, typename Bits>
Float fromBits(Bits bits) {
    Float value;
    static_assert(sizeof value == sizeof bits);
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

}  // namespace

TEST(StringNumbersTest, ReadsIntegers) {
    const Case<int> cases[] = {
        {"0", 0, theOk},
        {"010", 10, theOk},
        {" \t\r\n+00042abc", 42, theOk},
        {"-5", -5, theOk},
        {"-010", -8, theOk},  // the sign ends the skipping, so the 0 selects octal
        {"-0x1F", -31, theOk},
        {"0x1F", 31, theOk},
        {"000X1f", 31, theOk},
        {"0x", 0, theOk},
        {"0xzz", 0, theOk},
        {" x1F", 0, theFailure},
        {"x1F", 0, theFailure},
        {"", 0, theFailure},
        {"   ", 0, theFailure},
        {"0 ", 0, theFailure},
        {"0abc", 0, theFailure},
        {"abc", 0, theFailure},
        {"2147483648", -2147483647 - 1, theOk},
        {"4294967297", 1, theOk},
        {"9223372036854775807", 0, theOk},
        {"99999999999999999999", 0, theFailure},
        {"-99999999999999999999", 0, theFailure},
        {"0x8000000000001000", 4096, theOk},
        {"0xffffffffffffffff", 0, theOk},
        {"0x1234567890123456789", 0, theOk},
    };
    for (const Case<int>& c : cases)
        expectConversion(c, [](const DtString& text, bool* ok) { return text.toInt(ok); });
}

TEST(StringNumbersTest, ReadsUnsignedIntegers) {
    const Case<unsigned int> cases[] = {
        {"4294967295", 4294967295u, theOk},
        {"0", 0, theOk},
        {"", 0, theFailure},
        {"-1", 0, theOk},  // the largest unsigned long, which a double rounds up to 2^64
        {"-2147483648", 0x80000000u, theOk},
        {"18446744073709551615", 0, theOk},
        {"18446744073709551616", 0, theFailure},
        {"0xFFFFFFFF", 4294967295u, theUntouched},
        {"+x1", 0, theFailure},
    };
    for (const Case<unsigned int>& c : cases)
        expectConversion(c, [](const DtString& text, bool* ok) { return text.toUInt(ok); });
}

TEST(StringNumbersTest, ReadsDoubles) {
    const double infinity = HUGE_VAL;
    const Case<double> cases[] = {
        {"0.5", 0.5, theOk},
        {" +1.5e3m", 1500, theOk},
        {"-0x10", -16, theOk},
        {"0", 0, theOk},
        {"0.", 0, theFailure},
        {"", 0, theFailure},
        {"inf", infinity, theOk},
        {"nan", std::nan(""), theOk},
        {"1e999", infinity, theFailure},
        {"-1e999", -infinity, theOk},
        {"0x10", fromBits<double>(std::uint64_t{16}), theUntouched},
        {"0x3FF0000000000000", 1.0, theUntouched},
        {" x10", 0, theFailure},
    };
    for (const Case<double>& c : cases)
        expectConversion(c, [](const DtString& text, bool* ok) { return text.toDouble(ok); });
}

TEST(StringNumbersTest, ReadsFloats) {
    const Case<float> cases[] = {
        {"0.1", 0.1f, theOk},
        {"1e300", HUGE_VALF, theOk},
        {"1e999", HUGE_VALF, theFailure},
        {"0x3F800000", 1.0f, theUntouched},
        {"0xFFFFFFFF3F800000", 1.0f, theUntouched},
        {" x10", 0, theFailure},
    };
    for (const Case<float>& c : cases)
        expectConversion(c, [](const DtString& text, bool* ok) { return text.toFloat(ok); });
}

TEST(StringNumbersTest, ReadsBooleans) {
    const Case<bool> cases[] = {
        {"TRUE", true, theOk},   {"false", false, theOk},      {"2", true, theOk},
        {"0", false, theOk},     {"4294967296", false, theOk}, {"yes", false, theFailure},
        {"", false, theFailure}, {"0x1", true, theOk},         {"true ", false, theFailure},
    };
    for (const Case<bool>& c : cases)
        expectConversion(c, [](const DtString& text, bool* ok) { return text.toBoolean(ok); });
}

TEST(StringNumbersTest, AnErrnoLeftByEarlierCallsCountsAgainstLimitsAndZero) {
    const auto failsAfter = [](int error, const auto& convert) {
        bool ok = true;
        errno = error;
        convert(ok);
        return !ok;
    };
    EXPECT_TRUE(failsAfter(ERANGE, [](bool& ok) { DtString("9223372036854775807").toInt(&ok); }));
    EXPECT_TRUE(failsAfter(ERANGE, [](bool& ok) { DtString("inf").toDouble(&ok); }));
    EXPECT_TRUE(failsAfter(EINVAL, [](bool& ok) { DtString("0").toUInt(&ok); }));
    EXPECT_TRUE(failsAfter(EINVAL, [](bool& ok) { DtString("0").toFloat(&ok); }));
    EXPECT_FALSE(failsAfter(EINVAL, [](bool& ok) { DtString("0").toInt(&ok); }));
    EXPECT_FALSE(failsAfter(ERANGE, [](bool& ok) { DtString("7").toUInt(&ok); }));
}

TEST(StringNumbersTest, ClearedStringsGiveZeroAndLeaveOkAlone) {
    DtString string(std::string(100, '1'));
    string.clear();
    for (const bool before : {true, false}) {
        bool ok = before;
        EXPECT_EQ(string.toInt(&ok), 0);
        EXPECT_EQ(string.toUInt(&ok), 0u);
        EXPECT_EQ(string.toFloat(&ok), 0.0f);
        EXPECT_EQ(string.toDouble(&ok), 0.0);
        EXPECT_FALSE(string.toBoolean(&ok));
        EXPECT_EQ(ok, before);
    }
    EXPECT_EQ(DtString("7").toInt() + static_cast<int>(DtString("7").toDouble()), 14);
}

}  // namespace OrynRti::Tests
