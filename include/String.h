#ifndef RTIQNUTIL_STRING_H
#define RTIQNUTIL_STRING_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iosfwd>
#include <string>
#include <vector>

#include "Export.h"

namespace OrynRti {

/// The 8-bit, NUL-terminated text that every interface of the library takes and returns:
/// names, messages, addresses in text form, file names. Short text lives inside the object;
/// longer text goes to a heap block that fits it exactly and is kept until destruction.
///
///     DtString name("HLAobjectRoot.Platform.Aircraft");
///     name.snipFront('.', true);                // "Aircraft"
///     name += DtString(7);                      // "Aircraft7"
///     bool ok = false;
///     const int port = DtString("0x1F").toInt(&ok);   // 31, true
///
/// A derived string may override any virtual operation and thereby changes the operations
/// built on it: members call one another through their virtual slots. The order of the virtual
/// functions and of the data members is fixed.
///
/// Ownership: the text is owned; pointers and references to it last until the next change.
/// Errors:    none, except std::bad_alloc when memory runs out or a text would exceed 2^31 - 1
///            characters; the string is then as it was. A null text counts as "no text".
/// Cost:      no allocation up to 63 characters, above that one whenever the text outgrows
///            its block; the length is measured on demand.
class DT_EXPORT DtString {
public:
    /// Stream extraction takes tokens of at most one character less than this.
    static constexpr int theMaxInsertionStringSize = 256;

    DtString() noexcept : data_(inlineBuffer_), owned_(false), capacity_(theInlineSize) {
        inlineBuffer_[0] = '\0';
    }
    DtString(const char* text);  ///< Null gives the empty string.

    /// Copies `length` bytes, NULs included. A negative length gives the empty string.
    DtString(const char* text, int length);
    DtString(const std::string& text);  ///< Copies all of it, NULs included.

    /// Copies the whole block, not the text alone, so that room that the source has reserved
    /// goes along. A copy of a cleared string is empty.
    DtString(const DtString& source);

    /// Takes the source's heap block, which leaves the source empty; a source without one is
    /// copied.
    DtString(DtString&& source) noexcept;

    /// The decimal digits of the number, or the one character. @{
    DtString(int value);
    DtString(long value);
    DtString(char character);
    DtString(unsigned int value);
    DtString(unsigned long value);
    /// @}

    /// 13 significant digits, as "%.13g" of the current C locale.
    DtString(double value);

    // ------------------------------------------------------- virtual operations, slot order

    virtual ~DtString() {
        if (owned_)
            clear();
    }

    /// A null text makes the string empty and keeps its block. The text may be part of this
    /// string.
    virtual DtString& operator=(const char* text);

    /// Copies the whole block, as the copy constructor does.
    virtual DtString& operator=(const DtString& source);

    virtual operator const char*() const;  ///< As c_str().

    /// A copy on the heap, owned by the caller.
    virtual DtString* clone() const;

    /// Byte-wise comparisons. All six, != and >= too, are false when this string is cleared
    /// or `text` is null. (Defined here, as string() is, they need no call where the compiler
    /// knows the type of the string; exported, since not every caller is compiled that way.) @{
    DT_EXPORT virtual bool operator<(const char* text) const {
        return areTexts(data_, text) && std::strcmp(data_, text) < 0;
    }
    DT_EXPORT virtual bool operator>(const char* text) const {
        return areTexts(data_, text) && std::strcmp(data_, text) > 0;
    }
    DT_EXPORT virtual bool operator==(const char* text) const {
        return areTexts(data_, text) && std::strcmp(data_, text) == 0;
    }
    DT_EXPORT virtual bool operator!=(const char* text) const {
        return areTexts(data_, text) && std::strcmp(data_, text) != 0;
    }
    DT_EXPORT virtual bool operator<=(const char* text) const {
        return areTexts(data_, text) && std::strcmp(data_, text) <= 0;
    }
    DT_EXPORT virtual bool operator>=(const char* text) const {
        return areTexts(data_, text) && std::strcmp(data_, text) >= 0;
    }
    /// @}

    /// Equality without regard to case. @{
    virtual bool caseCompare(const char* text) const;
    virtual bool caseCompare(const DtString& text) const;
    /// @}

    virtual DtString operator+(const char* text) const;  ///< This text, then the other.

    /// The text may be part of this string. An override of size() that these use owes a
    /// length within the text. @{
    virtual DtString& operator+=(const char* text);
    virtual DtString& operator+=(const DtString& text);
    /// @}

    /// Unchecked: the caller owes an index from 0 to size(). Of a string cleared while on the heap
    /// every index gives a NUL. @{
    virtual char& operator[](int index);
    virtual const char& operator[](int index) const;
    /// @}

    /// Removes everything up to and including the first (or last) `character`. False, and no
    /// change, when it does not occur or is NUL.
    virtual bool snipFront(char character, bool toLast = false);

    /// Removes everything from the last (or first) `character` on.
    virtual bool snipBack(char character, bool toFirst = false);

    /// Remove leading or trailing white space; true when there was any. @{
    virtual bool chompFront();
    virtual bool chompBack();
    /// @}

    /// Cuts the text at each separator; empty tokens are kept, except after the last
    /// separator: "a,,b," gives "a", "" and "b". `tokens` may hold this string itself.
    virtual void tokenize(char separator, std::vector<DtString>& tokens) const;

    /// Number conversions. Blanks, tabs, line ends, '+' and '0' at the front are skipped, up
    /// to the last character, so "010" is ten; but "-010" is octal, and "0 " and "0abc" are 0
    /// with `ok` false, since nothing convertible is left. Integers pass through a double and
    /// are cut to their low 32 bits: 4294967296 reads as 0, and toUInt of "-1" is 0. errno is
    /// not cleared: an ERANGE or EINVAL left by earlier calls counts against values at the
    /// limits and against 0. Hexadecimal text ("0x1F") is read unsigned; except in toInt it
    /// leaves `ok` alone unless it fails. A cleared string gives 0 and leaves `ok` alone. @{
    virtual int toInt(bool* ok = nullptr) const;
    virtual unsigned int toUInt(bool* ok = nullptr) const;
    /// @}

    /// Hexadecimal text states the bits of the result: toDouble of "0x10" is the double whose
    /// 64 bits are 16, toFloat the float whose 32 bits are the low ones of the number. @{
    virtual float toFloat(bool* ok = nullptr) const;
    virtual double toDouble(bool* ok = nullptr) const;
    /// @}

    /// Numbers by toInt (not 0 is true), then "true" and "false" in any case.
    virtual bool toBoolean(bool* ok = nullptr) const;

    /// Change the case of every letter; true when any changed. @{
    virtual bool toUpper();
    virtual bool toLower();
    /// @}

    /// The searches give -1 when nothing is found. NUL is found at size(). @{
    virtual int findChar(char character);
    virtual int findLastChar(char character);
    /// @}

    /// The empty text is found at 0.
    virtual int findString(const DtString& text) const;

    /// The first occurrence, as findString: callers count on that.
    virtual int findLastString(const DtString& text);

    virtual int count(char character) const;  ///< How often it occurs; NUL never does.
    virtual int length() const;               ///< As size().
    virtual int size() const;                 ///< Characters before the first NUL.
    virtual std::string stdString() const;    ///< Empty for a cleared string.

    /// All three ways to the text give null when the string was cleared while on the heap. @{
    DT_EXPORT virtual const char* string() const { return data_; }
    virtual const char* c_str() const;
    /// @}
    virtual bool isEmpty() const;  ///< Whether size() is 0.

    /// The tokens from `start` to `end` (from 0, both included; negative ones count from the
    /// end), joined by the separator. Empty tokens are not counted, but inside the range each
    /// leaves its separator: section(',', 0, 1) of "a,,b,c" is "a,,b".
    virtual DtString section(char separator, int start, int end) const;

    // ------------------------------------------------------------- operations without a slot

    /// What `operator=(const char*)` does.
    void setString(const char* text);

    /// Releases the block. On the heap the string is then without text (c_str() is null),
    /// inside the object the characters stay readable; either way the next text assigned goes
    /// to a fresh heap block.
    void clear() {
        if (owned_ && data_ != nullptr) {
            delete[] data_;
            data_ = nullptr;
        }
        capacity_ = 0;
    }

    bool snipFrontToLast(char character) { return snipFront(character, true); }  ///< What it says.
    bool snipBackToFirst(char character) { return snipBack(character, true); }   ///< What it says.

    /// Shared empty values, built on first use. @{
    static const DtString& nullString();
    static const DtString& nullId();
    /// @}

protected:
    static constexpr std::uint32_t theInlineSize = 64;  ///< Room inside, in bytes.

    char inlineBuffer_[theInlineSize];  ///< The text, unless it is on the heap.
    char* data_;                        ///< inlineBuffer_, a heap block, or null
    bool owned_;                        ///< data_ is a heap block (or was, before clear)
    std::uint32_t capacity_;            ///< bytes at data_, terminator included; 0 when cleared

private:
    static bool areTexts(const char* one, const char* other) {
        return one != nullptr && other != nullptr;
    }
    static char* newBlock(std::size_t size);
    void adopt(char* block, std::size_t size);
    void construct(const char* text, std::size_t length);
};

/// @name Comparisons
/// @{

/// The operations on two strings ask the left one; with a plain text on the left, the right one.
/// std::less<DtString> orders by `<`. A cleared string is neither below nor above any other, so
/// it does not belong in an ordered container.

inline bool operator<(const DtString& left, const DtString& right) {
    return left < right.string();
}
inline bool operator>(const DtString& left, const DtString& right) {
    return left > right.string();
}
inline bool operator==(const DtString& left, const DtString& right) {
    return left == right.string();
}
inline bool operator!=(const DtString& left, const DtString& right) {
    return left != right.string();
}
inline bool operator<=(const DtString& left, const DtString& right) {
    return left <= right.string();
}
inline bool operator>=(const DtString& left, const DtString& right) {
    return left >= right.string();
}

inline bool operator<(const char* left, const DtString& right) {
    return right > left;
}
inline bool operator>(const char* left, const DtString& right) {
    return right < left;
}
inline bool operator==(const char* left, const DtString& right) {
    return right == left;
}
inline bool operator!=(const char* left, const DtString& right) {
    return right != left;
}
inline bool operator<=(const char* left, const DtString& right) {
    return right >= left;
}
inline bool operator>=(const char* left, const DtString& right) {
    return right <= left;
}
/// @}

#ifdef __cpp_impl_three_way_comparison
// Else pairs and vectors of strings would be ordered by address, through `const char*`.
void operator<=>(const DtString& left, const DtString& right) = delete;
#endif

/// Both texts, one after the other. @{
DT_EXPORT DtString operator+(const char* left, const DtString& right);
DT_EXPORT DtString operator+(const DtString& left, const DtString& right);
/// @}

/// Writes the text; of a cleared string nothing.
DT_EXPORT std::ostream& operator<<(std::ostream& out, const DtString& text);

/// Reads one word, or a phrase in double quotes, which it takes without the quotes and with
/// each run of white space as one blank. A word is cut at 255 characters and the rest stays in
/// the stream; the words of a phrase may be of any length. A phrase that the input leaves open
/// ends with the input. Without any word the stream fails and the string stays as it was.
DT_EXPORT std::istream& operator>>(std::istream& in, DtString& text);

}  // namespace OrynRti

#endif
