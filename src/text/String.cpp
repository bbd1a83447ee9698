#include "String.h"

#include <charconv>
#include <cstdio>
#include <cstring>
#include <iomanip>
#include <istream>
#include <limits>
#include <locale>
#include <new>
#include <ostream>
#include <strings.h>

namespace OrynRti {

namespace {

template <typename Integer>
void printInteger(char* buffer, std::size_t size, Integer value) {
    *std::to_chars(buffer, buffer + size - 1, value).ptr = '\0';
}

}  // namespace

// ---------------------------------------------------------------------------------- storage

char* DtString::newBlock(std::size_t size) {
    constexpr std::size_t maxSize = std::size_t{std::numeric_limits<int>::max()} + 1;
    if (size > maxSize)
        throw std::bad_alloc();
    return new char[size];
}

void DtString::adopt(char* block, std::size_t size) {
    clear();
    data_ = block;
    owned_ = true;
    capacity_ = static_cast<std::uint32_t>(size);
}

// ----------------------------------------------------------------------------- construction

void DtString::construct(const char* text, std::size_t length) {
    if (length >= theInlineSize)
        adopt(newBlock(length + 1), length + 1);
    std::memcpy(data_, text, length);
    data_[length] = '\0';
}

DtString::DtString(const char* text) : DtString() {
    if (text != nullptr)
        construct(text, std::strlen(text));
}

DtString::DtString(const char* text, int length) : DtString() {
    if (text != nullptr && length > 0)
        construct(text, static_cast<std::size_t>(length));
}

DtString::DtString(const std::string& text) : DtString() {
    construct(text.data(), text.size());
}

DtString::DtString(const DtString& source) : DtString() {
    if (source.capacity_ == theInlineSize) {
        std::memcpy(inlineBuffer_, source.data_, theInlineSize);
    } else if (source.capacity_ != 0) {
        if (source.capacity_ > theInlineSize)
            adopt(newBlock(source.capacity_), source.capacity_);
        std::memcpy(data_, source.data_, source.capacity_);
    }
}

DtString::DtString(DtString&& source) noexcept : DtString() {
    if (source.owned_ && source.data_ != nullptr) {
        adopt(source.data_, source.capacity_);
        source.data_ = source.inlineBuffer_;
        source.inlineBuffer_[0] = '\0';
        source.owned_ = false;
        source.capacity_ = theInlineSize;
    } else if (source.capacity_ != 0) {
        std::memcpy(inlineBuffer_, source.inlineBuffer_, theInlineSize);
    }
}

DtString::DtString(int value) : DtString() {
    printInteger(inlineBuffer_, theInlineSize, value);
}

DtString::DtString(long value) : DtString() {
    printInteger(inlineBuffer_, theInlineSize, value);
}

DtString::DtString(char character) : DtString() {
    inlineBuffer_[0] = character;
    inlineBuffer_[1] = '\0';
}

DtString::DtString(unsigned int value) : DtString() {
    printInteger(inlineBuffer_, theInlineSize, value);
}

DtString::DtString(unsigned long value) : DtString() {
    printInteger(inlineBuffer_, theInlineSize, value);
}

DtString::DtString(double value) : DtString() {
    char formatted[30];
    std::snprintf(formatted, sizeof formatted, "%.13g", value);
    setString(formatted);
}

DtString* DtString::clone() const {
    return new DtString(*this);
}

const DtString& DtString::nullString() {
    static const DtString empty;
    return empty;
}

const DtString& DtString::nullId() {
    static const DtString empty;
    return empty;
}

// ------------------------------------------------------------------------------- assignment

void DtString::setString(const char* text) {
    if (text == nullptr) {
        if (data_ != nullptr)
            data_[0] = '\0';
        return;
    }
    if (text == data_)
        return;
    const std::size_t size = std::strlen(text) + 1;
    if (size <= capacity_) {
        std::memmove(data_, text, size);  // the text may be the rear part of our own
        return;
    }
    char* const block = newBlock(size);
    std::memcpy(block, text, size);
    adopt(block, size);
}

DtString& DtString::operator=(const char* text) {
    setString(text);
    return *this;
}

DtString& DtString::operator=(const DtString& source) {
    if (this == &source)
        return *this;
    if (source.capacity_ == 0) {
        setString(nullptr);
        return *this;
    }
    if (source.capacity_ > capacity_)
        adopt(newBlock(source.capacity_), source.capacity_);
    if (source.capacity_ == theInlineSize)
        std::memcpy(data_, source.data_, theInlineSize);
    else
        std::memcpy(data_, source.data_, source.capacity_);
    return *this;
}

// ----------------------------------------------------------------------------------- access

DtString::operator const char*() const {
    return data_;
}

const char* DtString::c_str() const {
    return data_;
}

std::string DtString::stdString() const {
    return data_ == nullptr ? std::string() : std::string(data_);
}

char& DtString::operator[](int index) {
    if (data_ != nullptr)
        return data_[index];
    inlineBuffer_[0] = '\0';  // not in use: the string was cleared while on the heap
    return inlineBuffer_[0];
}

const char& DtString::operator[](int index) const {
    static constexpr char end = '\0';
    return data_ == nullptr ? end : data_[index];
}

int DtString::size() const {
    return data_ == nullptr ? 0 : static_cast<int>(std::strlen(data_));
}

int DtString::length() const {
    return size();
}

bool DtString::isEmpty() const {
    return data_ == nullptr || data_[0] == '\0';
}

// ------------------------------------------------------------------------------- comparison

bool DtString::caseCompare(const char* text) const {
    return data_ != nullptr && text != nullptr && strcasecmp(data_, text) == 0;
}

bool DtString::caseCompare(const DtString& text) const {
    return caseCompare(text.string());
}

// ---------------------------------------------------------------------------- concatenation

DtString& DtString::operator+=(const char* text) {
    if (text == nullptr || *text == '\0')
        return *this;
    const std::size_t held = static_cast<std::size_t>(size());
    const std::size_t added = std::strlen(text);
    const std::size_t needed = held + added + 1;
    if (needed <= capacity_) {
        std::memmove(data_ + held, text, added);  // the text may be the rear part of our own
    } else {
        char* const block = newBlock(needed);
        if (held != 0)
            std::memcpy(block, data_, held);
        std::memcpy(block + held, text, added);  // NOLINT(bugprone-not-null-terminated-result)
        adopt(block, needed);
    }
    data_[held + added] = '\0';
    return *this;
}

DtString& DtString::operator+=(const DtString& text) {
    return *this += text.c_str();
}

DtString DtString::operator+(const char* text) const {
    DtString sum(*this);
    sum += text;
    return sum;
}

DtString operator+(const char* left, const DtString& right) {
    DtString sum(left);
    sum += right;
    return sum;
}

DtString operator+(const DtString& left, const DtString& right) {
    DtString sum(left);
    sum += right;
    return sum;
}

// ---------------------------------------------------------------------------------- streams

namespace {

// The next word, of at most 255 characters; empty when there is none.
std::string readWord(std::istream& in) {
    char word[DtString::theMaxInsertionStringSize] = {};
    in >> std::setw(DtString::theMaxInsertionStringSize) >> word;
    return word;
}

bool endsWithQuote(const std::string& word) {
    return !word.empty() && word.back() == '"';
}

// Passes over white space; true when there was any. Asks the buffer, since the stream's own
// operations would set failbit at the end of input.
bool skipWhiteSpace(std::istream& in) {
    const std::locale locale = in.getloc();
    using Traits = std::istream::traits_type;
    bool skipped = false;
    while (in.good()) {
        const auto next = in.peek();
        if (Traits::eq_int_type(next, Traits::eof()) ||
            !std::isspace(Traits::to_char_type(next), locale))
            break;
        in.ignore();
        skipped = true;
    }
    return skipped;
}

// Completes the phrase that `text` begins.
void readPhrase(std::istream& in, std::string& text) {
    while (in.good()) {
        const bool newWord = skipWhiteSpace(in);
        if (!in.good())
            return;
        const std::string word = readWord(in);
        if (newWord)
            text += ' ';
        text += word;
        if (endsWithQuote(word)) {
            text.pop_back();
            return;
        }
    }
}

}  // namespace

std::ostream& operator<<(std::ostream& out, const DtString& text) {
    const char* const characters = text.string();
    if (characters != nullptr)
        return out << characters;
    out.width(0);  // used up, as by any other insertion
    return out;
}

std::istream& operator>>(std::istream& in, DtString& text) {
    std::string word = readWord(in);
    if (in.fail())
        return in;
    if (word[0] == '"') {
        const bool closed = word.size() > 1 && endsWithQuote(word);
        word.erase(0, 1);
        if (closed)
            word.pop_back();
        else
            readPhrase(in, word);
    }
    text = word.c_str();
    return in;
}

}  // namespace OrynRti
