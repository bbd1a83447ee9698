#include "Vocabulary.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <system_error>

namespace RtiqnFom {

namespace {

using OrynRti::DtResignAction;

struct Code {
    const char* text;
    std::int32_t value;
};

constexpr Code theBooleans[] = {{"true", 1},    {"false", 0}, {"1", 1},        {"0", 0},
                                {"Enabled", 1}, {"Yes", 1},   {"Disabled", 0}, {"No", 0}};
constexpr Code theEndians[] = {{"NA", 0}, {"Big", 1}, {"Little", 2}};
constexpr Code theCapabilities[] = {
    {"NA", 0}, {"Register", 1}, {"Achieve", 2}, {"RegisterAchieve", 3}, {"NoSynch", 4}};
/// The standard's spelling of an action stands before the library's.
constexpr Code theResignActions[] = {
    {"UnconditionallyDivestAttributes", OrynRti::DtUnconditionallyDivestAttributes},
    {"DeleteObjects", OrynRti::DtDeleteObjects},
    {"CancelPendingOwnershipAcquisitions", OrynRti::DtCancelPendingOwnershipAcquitions},
    {"CancelPendingOwnershipAcquitions", OrynRti::DtCancelPendingOwnershipAcquitions},
    {"DeleteObjectsThenDivest", OrynRti::DtDeleteObjectsThanDivest},
    {"DeleteObjectsThanDivest", OrynRti::DtDeleteObjectsThanDivest},
    {"CancelThenDeleteThenDivest", OrynRti::DtCancelThenDeleteThenDivest},
    {"NoAction", OrynRti::DtNoAction}};

template <std::size_t Size>
std::optional<std::int32_t> codeOf(const Code (&codes)[Size], std::string_view text) {
    for (const Code& code : codes) {
        if (sameWord(code.text, text))
            return code.value;
    }
    return std::nullopt;
}

template <std::size_t Size>
std::string textOf(const Code (&codes)[Size], std::int32_t value) {
    for (const Code& code : codes) {
        if (code.value == value)
            return code.text;
    }
    return {};
}

constexpr std::string_view theSpaces = " \t\n\r";

/// Not std::isspace and std::tolower: those ask the locale.
bool isSpace(char c) {
    return c == ' ' || c == '\n' || c == '\t' || c == '\r';
}

char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool isWordCharacter(char c) {
    return (lower(c) >= 'a' && lower(c) <= 'z') || (c >= '0' && c <= '9');
}

bool startsWith(std::string_view text, std::string_view start) {
    return text.substr(0, start.size()) == start;
}

bool endsWith(std::string_view text, std::string_view end) {
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

std::string_view trimmed(std::string_view text) {
    const std::size_t first = text.find_first_not_of(theSpaces);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(theSpaces) - first + 1);
}

bool allOf(std::string_view text, std::string_view allowed) {
    return !text.empty() && text.find_first_not_of(allowed) == std::string_view::npos;
}

bool isInteger(std::string_view text) {
    if (startsWith(text, "-") || startsWith(text, "+"))
        text.remove_prefix(1);
    if (startsWith(text, "0x") || startsWith(text, "0X"))
        return allOf(text.substr(2), "0123456789abcdefABCDEF");
    return allOf(text, "0123456789");
}

/// Whether no white space stands at either end, and elsewhere only single blanks.
bool isCollapsed(std::string_view text) {
    bool blank = true;  // what is before the text counts as one
    for (const char c : text) {
        if (isSpace(c) && (blank || c != ' '))
            return false;
        blank = c == ' ';
    }
    return text.empty() || !blank;
}

}  // namespace

std::string collapsed(std::string_view text) {
    if (isCollapsed(text))
        return std::string(text);
    std::string result;
    result.reserve(text.size());
    for (const char c : text) {
        if (!isSpace(c))
            result += c;
        else if (!result.empty() && result.back() != ' ')
            result += ' ';
    }
    if (!result.empty() && result.back() == ' ')
        result.pop_back();
    return result;
}

std::string statedText(std::string_view text) {
    std::string result = collapsed(text);
    if (result == "NA")
        result.clear();
    return result;
}

bool sameWord(std::string_view left, std::string_view right) {
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](char a, char b) { return lower(a) == lower(b); });
}

std::vector<std::string> wordsOf(std::string_view text) {
    constexpr std::string_view separators = " \t\n\r,";
    std::vector<std::string> words;
    std::size_t first = text.find_first_not_of(separators);
    while (first != std::string_view::npos) {
        const std::size_t end = std::min(text.find_first_of(separators, first), text.size());
        if (text.substr(first, end - first) != "NA")
            words.emplace_back(text.substr(first, end - first));
        first = text.find_first_not_of(separators, end);
    }
    return words;
}

std::optional<bool> booleanOf(std::string_view text) {
    const std::optional<std::int32_t> code = codeOf(theBooleans, text);
    return code ? std::optional<bool>(*code == 1) : std::nullopt;
}

std::optional<std::int32_t> endianOf(std::string_view text) {
    return text.empty() ? 0 : codeOf(theEndians, text);
}

std::string endianText(std::int32_t code) {
    return code == 0 ? std::string() : textOf(theEndians, code);
}

std::optional<std::int32_t> capabilityOf(std::string_view text) {
    return text.empty() ? 0 : codeOf(theCapabilities, text);
}

std::string capabilityText(std::int32_t code) {
    return textOf(theCapabilities, code);
}

std::optional<DtResignAction> resignActionOf(std::string_view text) {
    const std::optional<std::int32_t> code = codeOf(theResignActions, text);
    return code ? std::optional<DtResignAction>(static_cast<DtResignAction>(*code)) : std::nullopt;
}

std::string resignActionText(DtResignAction action) {
    return textOf(theResignActions, action);
}

std::optional<std::uint32_t> sizeOf(std::string_view text) {
    std::uint32_t size = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), size);
    if (error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return size;
}

std::optional<float> rateOf(std::string_view text) {
    if (startsWith(text, "+") && !startsWith(text, "+-"))
        text.remove_prefix(1);
    float rate = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), rate);
    if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(rate))
        return std::nullopt;
    return rate;
}

std::string rateText(float rate) {
    char buffer[64];
    const auto [end, error] = std::to_chars(buffer, buffer + sizeof buffer, rate);
    return error == std::errc() ? std::string(buffer, end) : std::string();
}

bool isEnumeratorValue(std::string_view text) {
    const std::size_t dots = text.find("..");
    if (!startsWith(text, "[") || !endsWith(text, "]") || dots == std::string_view::npos)
        return isInteger(text);
    return isInteger(trimmed(text.substr(1, dots - 1))) &&
           isInteger(trimmed(text.substr(dots + 2, text.size() - dots - 3)));
}

bool impliesReliable(std::string_view name, std::string_view description) {
    if (name == "HLAreliable")
        return true;
    std::string text(description);
    std::transform(text.begin(), text.end(), text.begin(), lower);
    const std::string_view word = "reliable";
    for (std::size_t at = text.find(word); at != std::string::npos; at = text.find(word, at + 1)) {
        const std::string_view before = std::string_view(text).substr(0, at);
        const std::string_view behind = std::string_view(text).substr(at + word.size());
        if (!before.empty() && isWordCharacter(before.back()))
            continue;
        if (!behind.empty() && isWordCharacter(behind.front()))
            continue;
        if (endsWith(before, "not ") || endsWith(before, "non-") || endsWith(before, "non "))
            continue;
        return true;
    }
    return false;
}

}  // namespace RtiqnFom
