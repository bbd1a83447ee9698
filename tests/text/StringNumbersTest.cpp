#include <cerrno>
#include <gtest/gtest.h>
#include <string>

#include "String.h"

namespace OrynRti::Tests {

namespace {

constexpr const char* theCleared = nullptr;

struct Case {
    const char* text;
    const char* result;  // the value and what becomes of `ok`
};

template <typename Number, std::size_t count>
void expectConversions(Number (DtString::*convert)(bool*) const, const Case (&cases)[count]) {
    for (const Case& c : cases) {
        DtString text(c.text == theCleared ? std::string(100, '1') : c.text);
        if (c.text == theCleared)
            text.clear();
        Number value = 0;
        bool oks[] = {true, false};
        for (bool& ok : oks) {
            errno = 0;
            value = (text.*convert)(&ok);
        }
        const char* const ok = oks[0] != oks[1] ? " kept" : oks[0] ? " ok" : " failed";
        EXPECT_EQ(DtString(static_cast<double>(value)) + ok, c.result) << '"' << text << '"';
    }
}

}  // namespace

TEST(StringNumbersTest, ReadsIntegers) {
    // In "-010" the sign ends the skipping, so that the 0 selects octal.
    const Case signedOnes[] = {{"0", "0 ok"},
                               {" \t\r\n+00042abc", "42 ok"},
                               {"-010", "-8 ok"},
                               {"-0x1F", "-31 ok"},
                               {"000X1f", "31 ok"},
                               {" x1F", "0 failed"},
                               {"", "0 failed"},
                               {"0abc", "0 failed"},
                               {"2147483648", "-2147483648 ok"},
                               {"9223372036854775807", "0 ok"},
                               {"99999999999999999999", "0 failed"},
                               {"0x8000000000001000", "4096 ok"},
                               {"0x1234567890123456789", "0 ok"},
                               {theCleared, "0 kept"}};
    expectConversions(&DtString::toInt, signedOnes);
    EXPECT_EQ(DtString("7").toInt(), 7);
    // "-1" is the largest unsigned long, which a double rounds up to 2^64.
    const Case unsignedOnes[] = {{"4294967295", "4294967295 ok"},
                                 {"-1", "0 ok"},
                                 {"18446744073709551616", "0 failed"},
                                 {"0xFFFFFFFF", "4294967295 kept"},
                                 {theCleared, "0 kept"}};
    expectConversions(&DtString::toUInt, unsignedOnes);
}

TEST(StringNumbersTest, ReadsFloatingPointNumbersAndTheBitsOfHexadecimalOnes) {
    const Case doubles[] = {{" +1.5e3m", "1500 ok"}, {"0", "0 ok"},
                            {"0.", "0 failed"},      {"1e999", "inf failed"},
                            {"-1e999", "-inf ok"},   {"0x3FF0000000000000", "1 kept"},
                            {" x10", "0 failed"},    {theCleared, "0 kept"}};
    expectConversions(&DtString::toDouble, doubles);
    const Case floats[] = {{"1e300", "inf ok"},
                           {"0xFFFFFFFF3F800000", "1 kept"},
                           {" x10", "0 failed"},
                           {theCleared, "0 kept"}};
    expectConversions(&DtString::toFloat, floats);
}

TEST(StringNumbersTest, ReadsBooleans) {
    const Case cases[] = {{"TRUE", "1 ok"},       {"false", "0 ok"},     {"2", "1 ok"},
                          {"4294967296", "0 ok"}, {"true ", "0 failed"}, {"", "0 failed"},
                          {theCleared, "0 kept"}};
    expectConversions(&DtString::toBoolean, cases);
}

TEST(StringNumbersTest, AnErrnoLeftByEarlierCallsCountsAgainstLimitsAndZero) {
    bool limitOk = true, zeroOk = true;
    errno = ERANGE;
    DtString("9223372036854775807").toInt(&limitOk);
    errno = EINVAL;
    DtString("0").toUInt(&zeroOk);
    EXPECT_FALSE(limitOk || zeroOk);
}

}  // namespace OrynRti::Tests
