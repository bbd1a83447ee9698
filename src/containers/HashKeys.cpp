#include "HashKeys.h"

#include <cstddef>
#include <cstdint>
#include <typeinfo>

#include "StringUtil.h"

namespace OrynRti {

namespace {

constexpr int theIntType = 1;
constexpr int thePtrType = 2;
constexpr int theStringType = 3;
constexpr int theWStringType = 4;

unsigned int lowBits(const void* pointer) {
    return static_cast<unsigned int>(reinterpret_cast<std::uintptr_t>(pointer));
}

bool sameText(const DtBaseHashKey& left, const DtBaseHashKey& right) {
    if (left.hashKeyType() == theWStringType && right.hashKeyType() == theWStringType)
        return static_cast<const DtWStringHashKey&>(left).value() ==
               static_cast<const DtWStringHashKey&>(right).value();
    return left.stringRep() == right.stringRep();
}

}  // namespace

DtBaseHashKey::~DtBaseHashKey() = default;

bool DtBaseHashKey::operator==(const DtBaseHashKey& other) const {
    return hashValue() == other.hashValue() && sameText(*this, other);
}

bool DtBaseHashKey::operator!=(const DtBaseHashKey& other) const {
    return !(*this == other);
}

void DtBaseHashKey::keepHash() const {
    hash_ = const_cast<DtBaseHashKey*>(this)->computeHashValue();
    hashed_ = 1;
}

int DtBaseHashKey::hashKeyType() const {
    return 0;
}

bool DtBaseHashKey::equalTo(const DtBaseHashKey& other) const {
    return *this == other;
}

//----------------------------------------------------------------------------------------------

DtIntHashKey::~DtIntHashKey() = default;

int DtIntHashKey::hashKeyType() const {
    return theIntType;
}

DtIntHashKey* DtIntHashKey::clone() const {
    return new DtIntHashKey(*this);
}

DtString DtIntHashKey::stringRep() const {
    return DtString(value());
}

bool DtIntHashKey::equalTo(const DtBaseHashKey& other) const {
    if (other.hashKeyType() == theIntType)
        return value() == static_cast<const DtIntHashKey&>(other).value();
    return DtBaseHashKey::equalTo(other);
}

unsigned int DtIntHashKey::computeHashValue() {
    return value();
}

unsigned int DtIntHashKey::value() const {
    return value_;
}

//----------------------------------------------------------------------------------------------

DtPtrHashKey::~DtPtrHashKey() = default;

int DtPtrHashKey::hashKeyType() const {
    return thePtrType;
}

DtPtrHashKey* DtPtrHashKey::clone() const {
    return new DtPtrHashKey(*this);
}

DtString DtPtrHashKey::stringRep() const {
    return DtString(lowBits(value()));
}

bool DtPtrHashKey::equalTo(const DtBaseHashKey& other) const {
    if (typeid(*this) == typeid(other))
        return value() == static_cast<const DtPtrHashKey&>(other).value();
    return DtBaseHashKey::equalTo(other);
}

unsigned int DtPtrHashKey::computeHashValue() {
    return lowBits(value());
}

void* DtPtrHashKey::value() const {
    return value_;
}

//----------------------------------------------------------------------------------------------

DtStringHashKey::~DtStringHashKey() = default;

int DtStringHashKey::hashKeyType() const {
    return theStringType;
}

DtStringHashKey* DtStringHashKey::clone() const {
    return new DtStringHashKey(*this);
}

DtString DtStringHashKey::stringRep() const {
    return value();
}

// The base rule, without making text forms where the class has none of its own.
bool DtStringHashKey::equalTo(const DtBaseHashKey& other) const {
    if (typeid(*this) != typeid(DtStringHashKey) || typeid(other) != typeid(DtStringHashKey))
        return DtBaseHashKey::equalTo(other);
    const auto& otherText = static_cast<const DtStringHashKey&>(other);
    return DtBaseHashKey::hashValue() == otherText.DtBaseHashKey::hashValue() &&
           value_ == otherText.value_;
}

unsigned int DtStringHashKey::computeHashValue() {
    const char* text = value().c_str();
    std::uint32_t sum = 0;
    for (std::uint32_t i = 0; text != nullptr && text[i] != '\0'; ++i)
        sum += static_cast<std::uint32_t>(static_cast<signed char>(text[i])) * (i + 1);
    return sum;
}

void DtStringHashKey::setValue(const DtString& value) {
    value_ = value;
}

//----------------------------------------------------------------------------------------------

DtWStringHashKey::~DtWStringHashKey() = default;

int DtWStringHashKey::hashKeyType() const {
    return theWStringType;
}

DtWStringHashKey* DtWStringHashKey::clone() const {
    return new DtWStringHashKey(*this);
}

DtString DtWStringHashKey::stringRep() const {
    return DtToString(value());
}

unsigned int DtWStringHashKey::computeHashValue() {
    const std::wstring& text = value();
    std::uint32_t sum = 0;
    for (std::size_t i = 0; i < text.size(); ++i)
        sum += static_cast<std::uint32_t>(text[i]) * static_cast<std::uint32_t>(i + 1);
    return sum;
}

const std::wstring& DtWStringHashKey::value() const {
    return value_;
}

void DtWStringHashKey::setValue(const std::wstring& value) {
    value_ = value;
}

}  // namespace OrynRti
