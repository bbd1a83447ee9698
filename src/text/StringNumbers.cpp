// The parts of DtString that read numbers.

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "String.h"

namespace OrynRti {

namespace {

// Where the number of a text begins.
struct NumberText {
    const char* text;
    bool hexadecimal;
};

bool isSkipped(char character) {
    switch (character) {
        case ' ':
        case '\t':
        case '\n':
        case '\r':
        case '+':
        case '0':
            return true;
        default:
            return false;
    }
}

// Skips what may stand before a number, but never the last character, so that "0" stays one.
NumberText findNumber(const char* text) {
    const char* at = text;
    while (isSkipped(*at) && at[1] != '\0')
        ++at;
    if ((*at != 'x' && *at != 'X') || at == text)
        return {at, false};
    return {at[-1] == '0' ? at - 1 : at, true};
}

struct HexValue {
    unsigned long value;
    bool converted;
};

HexValue readHex(const char* text) {
    char* end = nullptr;
    const unsigned long value = std::strtoul(text, &end, 16);
    return {value, end != text};
}

// The number without its fraction, modulo 2^32; 0 for what no integer type holds.
std::uint32_t lowWord(double value) {
    constexpr double twoTo63 = 9223372036854775808.0;
    if (value >= -twoTo63 && value < twoTo63)
        return static_cast<std::uint32_t>(static_cast<std::int64_t>(value));
    if (value >= twoTo63 && value < 2 * twoTo63)
        return static_cast<std::uint32_t>(static_cast<std::uint64_t>(value));
    return 0;
}

void report(bool* ok, bool result) {
    if (ok != nullptr)
        *ok = result;
}

void reportFailure(bool* ok, bool converted) {
    if (!converted)
        report(ok, false);
}

// errno may stem from an earlier call: nothing here clears it.
bool succeeded(long value, bool consumed) {
    using Limits = std::numeric_limits<long>;
    if (value == 0)
        return consumed;
    return (value != Limits::max() && value != Limits::min()) || errno != ERANGE;
}

// For the types whose one limit value may mean an overflow.
template <typename Number>
bool succeeded(Number value, Number overflowValue, bool consumed) {
    if (value == overflowValue)
        return errno != ERANGE;
    if (value == 0 && errno == EINVAL)
        return false;
    return consumed;
}

double readDouble(const char* text, bool* ok) {
    char* end = nullptr;
    const double value = std::strtod(text, &end);
    report(ok, succeeded(value, std::numeric_limits<double>::infinity(), end != text));
    return value;
}

}  // namespace

int DtString::toInt(bool* ok) const {
    if (data_ == nullptr)
        return 0;
    const NumberText number = findNumber(data_);
    double value = 0;
    if (number.hexadecimal) {
        const HexValue hex = readHex(number.text);
        value = static_cast<double>(hex.value);
        report(ok, hex.converted);
    } else {
        char* end = nullptr;
        const long integer = std::strtol(number.text, &end, 0);
        value = static_cast<double>(integer);
        report(ok, succeeded(integer, end != number.text));
    }
    return static_cast<int>(lowWord(value));
}

unsigned int DtString::toUInt(bool* ok) const {
    if (data_ == nullptr)
        return 0;
    const NumberText number = findNumber(data_);
    double value = 0;
    if (number.hexadecimal) {
        const HexValue hex = readHex(number.text);
        value = static_cast<double>(hex.value);
        reportFailure(ok, hex.converted);
    } else {
        char* end = nullptr;
        const unsigned long integer = std::strtoul(number.text, &end, 0);
        value = static_cast<double>(integer);
        report(ok,
               succeeded(integer, std::numeric_limits<unsigned long>::max(), end != number.text));
    }
    return lowWord(value);
}

float DtString::toFloat(bool* ok) const {
    if (data_ == nullptr)
        return 0;
    const NumberText number = findNumber(data_);
    static_assert(std::numeric_limits<float>::is_iec559, "too large a double becomes infinity");
    if (!number.hexadecimal)
        return static_cast<float>(readDouble(number.text, ok));
    const HexValue hex = readHex(number.text);
    reportFailure(ok, hex.converted);
    const std::uint32_t bits = static_cast<std::uint32_t>(hex.value);
    float value = 0;
    static_assert(sizeof value == sizeof bits);
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

double DtString::toDouble(bool* ok) const {
    if (data_ == nullptr)
        return 0;
    const NumberText number = findNumber(data_);
    if (!number.hexadecimal)
        return readDouble(number.text, ok);
    const HexValue hex = readHex(number.text);
    reportFailure(ok, hex.converted);
    const std::uint64_t bits = hex.value;
    double value = 0;
    static_assert(sizeof value == sizeof bits);
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

bool DtString::toBoolean(bool* ok) const {
    if (data_ == nullptr)
        return false;
    bool isNumber = false;
    const int number = toInt(&isNumber);
    const bool isTrue = !isNumber && caseCompare("true");
    const bool isFalse = !isNumber && !isTrue && caseCompare("false");
    report(ok, isNumber || isTrue || isFalse);
    return isNumber ? number != 0 : isTrue;
}

}  // namespace OrynRti
