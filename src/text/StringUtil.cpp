#include "StringUtil.h"

#include <cstdint>
#include <cstring>
#include <limits>

#include "NetTypes.h"

namespace OrynRti {

const int DtVariableArraySizeLength = 4;

namespace {

static_assert(sizeof(DtNetU32) == 4 && sizeof(DtNetInt16) == 2, "the wire's field widths");

constexpr int theLengthSize = 4;
constexpr int theCodeUnitSize = 2;

// Sizes are summed in 64 bits; one that the callers' int cannot hold is a failure.
int fitting(std::int64_t size) {
    return size > std::numeric_limits<int>::max() ? 0 : static_cast<int>(size);
}

void copyBytes(char* target, const char* source, std::int64_t size) {
    if (size > 0)
        std::memcpy(target, source, static_cast<std::size_t>(size));
}

template <typename NetNumber>
NetNumber read(const char* buffer) {
    NetNumber number;
    std::memcpy(&number, buffer, sizeof number);
    return number;
}

void writeLength(char* buffer, std::int64_t length) {
    const DtNetU32 number = static_cast<std::uint32_t>(length);
    std::memcpy(buffer, &number, sizeof number);
}

// --------------------------------------------------------------------------------- writing

int writeCounted(char* buffer, int bufLen, const char* text, std::int64_t length) {
    if (bufLen <= length + theLengthSize - 1)
        return 0;
    writeLength(buffer, length);
    copyBytes(buffer + theLengthSize, text, length);
    return static_cast<int>(length + theLengthSize);
}

int writeCountedWide(char* buffer, int bufLen, const char* text, std::int64_t length) {
    const std::int64_t size = theLengthSize + theCodeUnitSize * length;
    if (bufLen < size)
        return 0;
    writeLength(buffer, length);
    char* target = buffer + theLengthSize;
    for (std::int64_t i = 0; i < length; ++i, target += theCodeUnitSize) {
        const DtNetInt16 unit = static_cast<std::int16_t>(static_cast<unsigned char>(text[i]));
        std::memcpy(target, &unit, sizeof unit);
    }
    return static_cast<int>(size);
}

int writePlain(char* buffer, int bufLen, const char* text, std::int64_t length) {
    if (bufLen < length)
        return 0;
    copyBytes(buffer, text, length);
    return static_cast<int>(length);
}

int writeTerminated(char* buffer, int bufLen, const char* text, std::int64_t length) {
    if (bufLen <= length)
        return 0;
    copyBytes(buffer, text, length);
    buffer[length] = '\0';
    return static_cast<int>(length + 1);
}

// --------------------------------------------------------------------------------- reading

int readCounted(DtString& text, const char* buffer, int bufLen) {
    if (bufLen < 0)
        return 0;
    const std::int64_t length = std::uint32_t{read<DtNetU32>(buffer)};
    if (length > std::int64_t{bufLen} + theLengthSize)
        return 0;
    const int consumed = fitting(length + theLengthSize);
    if (consumed != 0)
        text = DtString(buffer + theLengthSize, static_cast<int>(length)).c_str();
    return consumed;
}

int readCountedWide(DtString& text, const char* buffer) {
    const std::int64_t count = std::int32_t{read<DtNetInt32>(buffer)};
    const int consumed = count < 0 ? 0 : fitting(theLengthSize + theCodeUnitSize * count);
    if (consumed == 0)
        return 0;
    std::wstring wide;
    wide.reserve(static_cast<std::size_t>(count));
    const char* const end = buffer + consumed;
    for (const char* at = buffer + theLengthSize; at != end; at += theCodeUnitSize) {
        const std::int16_t unit = read<DtNetInt16>(at);
        wide += static_cast<wchar_t>(static_cast<std::uint16_t>(unit));
    }
    text = DtToString(wide).c_str();
    return consumed;
}

int readPlain(DtString& text, const char* buffer, int bufLen) {
    if (bufLen < 0)
        return 0;
    text = DtString(buffer, bufLen).c_str();
    return bufLen;
}

int readTerminated(DtString& text, const char* buffer, int bufLen) {
    if (bufLen > 0) {
        if (std::memchr(buffer, '\0', static_cast<std::size_t>(bufLen)) == nullptr)
            return 0;
        text = buffer;
    }
    return fitting(std::int64_t{text.size()} + 1);
}

}  // namespace

int DtStringToBuffer(DtStringEncodingType type, char* buffer, int bufLen, const DtString& text,
                     bool wide) {
    if (buffer == nullptr)
        return 0;
    const char* const characters = text.c_str();
    const std::int64_t length = text.size();
    switch (type) {
        case DtCountedString:
            return wide ? writeCountedWide(buffer, bufLen, characters, length)
                        : writeCounted(buffer, bufLen, characters, length);
        case DtPlainString:
        case DtPlainFieldString:
        case DtPlainTailString:
        case DtWriteOnlyString:
            return writePlain(buffer, bufLen, characters, length);
        case DtTerminatedString:
        case DtTerminatedFieldString:
            return writeTerminated(buffer, bufLen, characters, length);
    }
    return 0;
}

int DtStringFromBuffer(DtStringEncodingType type, DtString* text, const char* buffer, int bufLen,
                       bool wide) {
    const bool terminated = type == DtTerminatedString || type == DtTerminatedFieldString;
    if (text == nullptr || (buffer == nullptr && !(terminated && bufLen <= 0)))
        return 0;
    switch (type) {
        case DtCountedString:
            return wide ? readCountedWide(*text, buffer) : readCounted(*text, buffer, bufLen);
        case DtPlainString:
        case DtPlainFieldString:
        case DtPlainTailString:
            return readPlain(*text, buffer, bufLen);
        case DtTerminatedString:
        case DtTerminatedFieldString:
            return readTerminated(*text, buffer, bufLen);
        case DtWriteOnlyString:
            break;
    }
    return 0;
}

int DtStringGetNetPadding(DtStringEncodingType type) {
    switch (type) {
        case DtCountedString:
            return DtVariableArraySizeLength;
        case DtTerminatedString:
        case DtTerminatedFieldString:
            return 1;
        default:
            return 0;
    }
}

DtString DtToString(const std::wstring& text) {
    std::string narrow;
    narrow.reserve(text.size());
    for (const wchar_t unit : text)
        narrow += unit >= 0 && unit <= 0xFF ? static_cast<char>(unit) : '?';
    return narrow;
}

}  // namespace OrynRti
