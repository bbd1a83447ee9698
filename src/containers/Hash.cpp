#include "Hash.h"

#include <algorithm>
#include <limits>

namespace OrynRti {

namespace {

unsigned int hashOf(const std::string& name) {
    constexpr std::uint32_t seed = 0x811c9dc5U;
    constexpr std::size_t limit = std::numeric_limits<int>::max();
    std::uint32_t value = 0;
    MurmurHash3_x86_32(name.data(), static_cast<int>(std::min(name.size(), limit)), seed, &value);
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
    StringMap& values = theHashStringMap();
    const auto known = values.find(name);
    if (known != values.end())
        return known->second;
    const unsigned int value = hashOf(name);
    theHashIdMap()[value] = name;
    values.emplace(name, value);
    return value;
}

const std::string& DtHash::valueToString(const unsigned int& value) {
    static const std::string& none = *new std::string;
    const IdMap& names = theHashIdMap();
    const auto known = names.find(value);
    return known != names.end() ? known->second : none;
}

DtHash::StringMap& DtHash::theHashStringMap() {
    static StringMap& map = *new StringMap;
    return map;
}

DtHash::IdMap& DtHash::theHashIdMap() {
    static IdMap& map = *new IdMap;
    return map;
}

}  // namespace OrynRti
