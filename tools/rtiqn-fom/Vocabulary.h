#ifndef RTIQN_FOM_VOCABULARY_H
#define RTIQN_FOM_VOCABULARY_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "FomTypes.h"

namespace RtiqnFom {

/// The words and numbers of OMT documents. Fixed vocabularies are read without regard to case.
/// Functions that return an optional take text without white space at its ends and answer
/// nothing for text that is none of theirs.

/// `text` without white space at its ends, and each run of white space in it as one blank.
std::string collapsed(std::string_view text);

/// `text` collapsed; empty when it says "NA", the standard's word for not stated.
std::string statedText(std::string_view text);

/// Whether two words are the same but for the case of ASCII letters.
bool sameWord(std::string_view left, std::string_view right);

/// The parts of `text` between blanks and commas, without "NA".
std::vector<std::string> wordsOf(std::string_view text);

/// true, false, 1, 0, Enabled, Disabled, Yes, No.
std::optional<bool> booleanOf(std::string_view text);

/// The order of bytes of a basic data representation: 0 not stated, 1 big, 2 little.
std::optional<std::int32_t> endianOf(std::string_view text);
std::string endianText(std::int32_t code);

/// What a federate may do with a synchronization point: 0 not stated, 1 register, 2 achieve,
/// 3 both, 4 not at all.
std::optional<std::int32_t> capabilityOf(std::string_view text);
std::string capabilityText(std::int32_t code);

/// Reads the standard's spellings and the library's own, and writes the standard's. An action
/// without a name gives empty text.
std::optional<OrynRti::DtResignAction> resignActionOf(std::string_view text);
std::string resignActionText(OrynRti::DtResignAction action);

/// A size in bits: decimal digits only, at most 32 bits of value.
std::optional<std::uint32_t> sizeOf(std::string_view text);

/// A finite decimal number that a 32-bit float can hold; `rateText` is its shortest text that reads
/// back to the same value.
std::optional<float> rateOf(std::string_view text);
std::string rateText(float rate);

/// Whether an enumerator's value is a decimal or hexadecimal integer, or a range of them
/// ("[4..7]").
bool isEnumeratorValue(std::string_view text);

/// Reliability of a transportation that states none: one named HLAreliable, or one described as
/// reliable (the word by itself, not "unreliable" and not behind "not" or "non").
bool impliesReliable(std::string_view name, std::string_view description);

}  // namespace RtiqnFom

#endif
