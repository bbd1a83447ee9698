#include "Hash.h"

#include <algorithm>
#include <limits>

namespace OrynRti {

namespace {

// Here, so that interning gets at them without calls.
DtHash::StringMap& valuesByName() {
    static DtHash::StringMap& map = *new DtHash::StringMap;
    return map;
}

DtHash::IdMap& namesByValue() {
    static DtHash::IdMap& map = *new DtHash::IdMap;
    return map;
}

unsigned int hashOf(const std::string& name) {
    constexpr std::uint32_t seed = 0x811c9dc5U;
    constexpr std::size_t limit = std::numeric_limits<int>::max();
    std::uint32_t value = 0;
    MurmurHash3_x86_32(name.data(), static_cast<int>(std::min(name.size(), limit)), seed, &value);
    return value;
}

/// Apart from the look-up, which would otherwise pay for this frame.
[[gnu::noinline]] unsigned int intern(const std::string& name) {
    const unsigned int value = hashOf(name);
    namesByValue()[value] = name;
    valuesByName().emplace(name, value);
    return value;
}

}  // namespace

DtHash::DtHash() : value_(theUnsetValue), string_("NOT SET") {}

DtHash::DtHash(const std::string& name) : value_(makeHash(name)), string_(name) {}

DtHash::~DtHash() = default;

void DtHash::set(const std::string& name) {
    string_ = name;
    value_ = makeHash(string_);
}

unsigned int DtHash::makeHash(const std::string& name) {
    const StringMap& values = valuesByName();
    const auto known = values.find(name);
    return known != values.end() ? known->second : intern(name);
}

const std::string& DtHash::valueToString(const unsigned int& value) {
    static const std::string& none = *new std::string;
    const IdMap& names = namesByValue();
    const auto known = names.find(value);
    return known != names.end() ? known->second : none;
}

DtHash::StringMap& DtHash::theHashStringMap() {
    return valuesByName();
}

DtHash::IdMap& DtHash::theHashIdMap() {
    return namesByValue();
}

}  // namespace OrynRti
