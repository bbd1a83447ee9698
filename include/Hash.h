#ifndef RTIQNUTIL_HASH_H
#define RTIQNUTIL_HASH_H

#include <cstdint>
#include <string>
#include <unordered_map>

#include "Export.h"

namespace OrynRti {

/// A name and its 32-bit hash, for code that compares or sends many names and must be able to
/// turn the number back into the name: every name that is hashed here is remembered for the life
/// of the process (interned).
///
///     const DtHash kind("HLAobjectRoot.Platform");
///     if (kind == other)                                   // compares two numbers
///         log(DtHash::valueToString(kind.value()));        // "HLAobjectRoot.Platform"
///
/// Different names can share a value ("Aircraft" and "aabdiYuJ" do): they compare equal, and
/// the value turns back into the one that was interned last.
///
/// Threads:   interning (construction from a name, set, makeHash, value of a name) changes two
///            process-wide maps and is not locked: callers serialise it, against valueToString too
/// Cost:      interning a known name is one map lookup without an allocation
class DT_EXPORT DtHash {
public:
    using StringMap = std::unordered_map<std::string, unsigned int>;  ///< Values by name.
    using IdMap = std::unordered_map<unsigned int, std::string>;      ///< Names by value.

    /// Not set: the value is 0xFFFFFFFF, the string "NOT SET".
    DtHash();
    explicit DtHash(const std::string& name);  ///< Interns the name.
    virtual ~DtHash();
    DtHash(const DtHash&) = default;             ///< Interns nothing.
    DtHash& operator=(const DtHash&) = default;  ///< Interns nothing.

    void set(const std::string& name);  ///< Interns the name, which takes the place of the old one.

    unsigned int value() const { return value_; }       ///< The hash of the name.
    unsigned int operator()() const { return value_; }  ///< The same.
    const std::string& str() const { return string_; }  ///< The name itself.

    /// False when not set, and for a name whose hash happens to be 0xFFFFFFFF.
    bool isValid() const { return value_ < theUnsetValue; }

    /// The comparisons look at the values only, never at the names. @{
    bool operator==(const DtHash& other) const { return value_ == other.value_; }
    bool operator!=(const DtHash& other) const { return value_ != other.value_; }
    bool operator<(const DtHash& other) const { return value_ < other.value_; }
    bool operator>(const DtHash& other) const { return value_ > other.value_; }
    bool operator<=(const DtHash& other) const { return value_ <= other.value_; }
    bool operator>=(const DtHash& other) const { return value_ >= other.value_; }
    /// @}

    /// Interns `name` and returns its value: MurmurHash3_x86_32 with the seed 0x811c9dc5. Of a
    /// name longer than 2^31 - 1 bytes only that many are hashed. @{
    static unsigned int makeHash(const std::string& name);
    static unsigned int value(const std::string& name) { return makeHash(name); }
    /// @}

    /// The name interned for `value`, or an empty string. The reference stays good for the life
    /// of the process; a second name of the same value replaces what it refers to.
    static const std::string& valueToString(const unsigned int& value);

    /// What is interned, by name and by value. Never destroyed, so that static objects and exit
    /// handlers may intern. @{
    static StringMap& theHashStringMap();
    static IdMap& theHashIdMap();
    /// @}

private:
    static constexpr unsigned int theUnsetValue = 0xFFFFFFFFU;

    // The order of the members is fixed.
    unsigned int value_;
    std::string string_;
};

/// The three published variants of MurmurHash3: `length` bytes at `data` (of any alignment) are
/// hashed to 4 bytes, or 16, at `output`, which hold one uint32_t, four, or two uint64_t of this
/// machine. The same bytes give the same numbers on every machine. A negative length counts as 0.
/// @{
DT_EXPORT void MurmurHash3_x86_32(const void* data, int length, std::uint32_t seed, void* output);
DT_EXPORT void MurmurHash3_x86_128(const void* data, int length, std::uint32_t seed, void* output);
DT_EXPORT void MurmurHash3_x64_128(const void* data, int length, std::uint32_t seed, void* output);
/// @}

}  // namespace OrynRti

#endif
