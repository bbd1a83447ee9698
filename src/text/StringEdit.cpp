// The parts of DtString that edit, search and cut text.

#include <cctype>
#include <cstring>
#include <functional>

#include "String.h"

namespace OrynRti {

namespace {

// The C library's character classes are defined for unsigned characters only.
bool isSpace(char character) {
    return std::isspace(static_cast<unsigned char>(character)) != 0;
}

int indexOf(const char* found, const char* text) {
    return found == nullptr ? -1 : static_cast<int>(found - text);
}

bool isElementOf(const DtString* text, const std::vector<DtString>& strings) {
    const std::less<const DtString*> before;
    return !before(text, strings.data()) && before(text, strings.data() + strings.size());
}

bool convertLetters(char* text, int size, int (*convert)(int)) {
    bool changed = false;
    for (char* end = text + size; text != end; ++text) {
        const unsigned char letter = static_cast<unsigned char>(*text);
        if (std::isalpha(letter) == 0)
            continue;
        const char converted = static_cast<char>(convert(letter));
        changed = changed || converted != *text;
        *text = converted;
    }
    return changed;
}

}  // namespace

// ---------------------------------------------------------------------------------- editing

bool DtString::snipFront(char character, bool toLast) {
    if (data_ == nullptr || character == '\0')
        return false;
    const int at = toLast ? findLastChar(character) : findChar(character);
    if (at < 0)
        return false;
    const char* const rest = data_ + at + 1;
    std::memmove(data_, rest, std::strlen(rest) + 1);
    return true;
}

bool DtString::snipBack(char character, bool toFirst) {
    if (data_ == nullptr || character == '\0')
        return false;
    const int at = toFirst ? findChar(character) : findLastChar(character);
    if (at < 0)
        return false;
    data_[at] = '\0';
    return true;
}

bool DtString::chompFront() {
    if (data_ == nullptr)
        return false;
    const char* rest = data_;
    while (isSpace(*rest))
        ++rest;
    if (rest == data_)
        return false;
    std::memmove(data_, rest, std::strlen(rest) + 1);
    return true;
}

bool DtString::chompBack() {
    const int before = size();
    int kept = before;
    while (kept > 0 && isSpace(data_[kept - 1]))
        --kept;
    if (kept == before)
        return false;
    data_[kept] = '\0';
    return true;
}

bool DtString::toUpper() {
    return convertLetters(data_, size(), std::toupper);
}

bool DtString::toLower() {
    return convertLetters(data_, size(), std::tolower);
}

// -------------------------------------------------------------------------------- searching

int DtString::findChar(char character) {
    return data_ == nullptr ? -1 : indexOf(std::strchr(data_, character), data_);
}

int DtString::findLastChar(char character) {
    return data_ == nullptr ? -1 : indexOf(std::strrchr(data_, character), data_);
}

int DtString::findString(const DtString& text) const {
    const char* const sought = text.c_str();
    if (data_ == nullptr || sought == nullptr)
        return -1;
    return indexOf(std::strstr(data_, sought), data_);
}

int DtString::findLastString(const DtString& text) {
    return findString(text);
}

int DtString::count(char character) const {
    const int end = length();
    int found = 0;
    for (int i = 0; i < end; ++i)
        if ((*this)[i] == character)
            ++found;
    return found;
}

// ------------------------------------------------------------------------------- tokenizing

void DtString::tokenize(char separator, std::vector<DtString>& tokens) const {
    if (isElementOf(this, tokens)) {
        const DtString text(*this);
        text.tokenize(separator, tokens);
        return;
    }
    tokens.clear();
    if (data_ == nullptr)
        return;
    const char* begin = data_;
    const char* const end = data_ + size();
    while (const void* found =
               std::memchr(begin, separator, static_cast<std::size_t>(end - begin))) {
        const char* const at = static_cast<const char*>(found);
        tokens.emplace_back(begin, static_cast<int>(at - begin));
        begin = at + 1;
    }
    if (begin != end)
        tokens.emplace_back(begin, static_cast<int>(end - begin));
}

DtString DtString::section(char separator, int start, int end) const {
    std::vector<DtString> tokens;
    tokenize(separator, tokens);
    const int tokenCount = static_cast<int>(tokens.size());
    if (start < 0)
        start += tokenCount;
    if (end < 0)
        end += tokenCount;
    std::string selected;
    int position = 0;
    for (const DtString& token : tokens) {
        if (position > end)
            break;
        if (position > start)
            selected += separator;
        if (position >= start)
            selected += token.c_str();
        if (!token.isEmpty())
            ++position;
    }
    return selected;
}

}  // namespace OrynRti
