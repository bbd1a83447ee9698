#ifndef RTIQNUTIL_STRINGUTIL_H
#define RTIQNUTIL_STRINGUTIL_H

#include <string>

#include "Export.h"
#include "String.h"

namespace OrynRti {

/// How a text lies in a message. The encodings that look alike here mean different fields to
/// the messages that carry them.
enum DtStringEncodingType : int {
    DtCountedString = 0,          ///< length, then the text
    DtPlainString = 1,            ///< the text alone
    DtTerminatedString = 2,       ///< the text with its NUL
    DtTerminatedFieldString = 3,  ///< as 2
    DtPlainFieldString = 4,       ///< as 1
    DtPlainTailString = 5,        ///< as 1
    DtWriteOnlyString = 6         ///< as 1, but only written, never read
};

/// Width of the length field of type 0, in bytes.
DT_EXPORT extern const int DtVariableArraySizeLength;

/// Writes `text` to `buffer` and returns the number of bytes written; 0, with nothing written,
/// when they do not fit into `bufLen` bytes or the type is unknown. Numbers are in the order of
/// DtNetworkByteOrdering. With L characters:
///
///     type        wide    bytes
///     0           no      L as 4 bytes, the characters
///     0           yes     L as 4 bytes, each character as 2 bytes
///     1, 4, 5, 6  either  the characters
///     2, 3        either  the characters, NUL
DT_EXPORT int DtStringToBuffer(DtStringEncodingType type, char* buffer, int bufLen,
                               const DtString& text, bool wide);

/// Reads `*text` from `buffer`, through its `operator=(const char*)`, and returns the number of
/// bytes consumed; 0, with `*text` left alone, on failure. What is taken:
///
/// - 0, not wide: a length of up to `bufLen` + 4 and as many characters. The caller owes
///   `bufLen` + 8 readable bytes, since the length is not held against `bufLen` alone.
/// - 0, wide: a count n and as many 16-bit code units; above 0xFF they become '?'. `bufLen` is
///   not looked at: the caller owes 4 + 2n readable bytes.
/// - 1, 4, 5: exactly `bufLen` bytes.
/// - 2, 3: the characters before the first NUL, which must lie within `bufLen`. With a `bufLen`
///   of 0 or less nothing is read, and the result is the held text's size plus 1.
/// - 6 and unknown types: nothing.
DT_EXPORT int DtStringFromBuffer(DtStringEncodingType type, DtString* text, const char* buffer,
                                 int bufLen, bool wide);

/// How many bytes an encoding adds to those of the characters.
DT_EXPORT int DtStringGetNetPadding(DtStringEncodingType type);

/// Each code unit of at most 0xFF becomes that byte, any other '?'.
DT_EXPORT DtString DtToString(const std::wstring& text);

}  // namespace OrynRti

#endif
