#include "PduFilter.h"

#include <cstdint>

namespace OrynRti {

namespace {

void* toData(unsigned int value) {
    return reinterpret_cast<void*>(static_cast<std::uintptr_t>(value));
}

}  // namespace

DtPduFilterTest::DtPduFilterTest() {
    DtPduFilterTest::disableTest();
}

DtPduFilterTest::~DtPduFilterTest() = default;

void DtPduFilterTest::setOperator(DtPduTestOperator op) {
    clearList();
    operator_ = op;
}

int DtPduFilterTest::setTest(DtPduTestOperator op, int count, unsigned int* values) {
    setOperator(op);
    return extendTest(count, values);
}

int DtPduFilterTest::extendTest(int count, unsigned int* values) {
    for (int i = 0; values != nullptr && i < count; ++i)
        values_.add(toData(values[i]));
    return count;
}

int DtPduFilterTest::reduceTest(int count, unsigned int* values) {
    for (int i = 0; values != nullptr && i < count; ++i)
        values_.remove(values_.itemLookup(toData(values[i])));
    return count;
}

bool DtPduFilterTest::evalTest(void* data, int index, DtPduFilterType type) {
    const bool passesUnlisted = operator_ == DtPduRejectListed;
    if (type == DtPduFilterByte && values_.first() != nullptr) {
        const unsigned char byte = static_cast<const unsigned char*>(data)[index];
        if (values_.itemLookup(toData(byte)) != nullptr)
            return !passesUnlisted;
    }
    return passesUnlisted;
}

void DtPduFilterTest::clearList() {
    values_.removeAll();
}

void DtPduFilterTest::disableTest() {
    setTest(DtPduRejectListed, 0, nullptr);
}

}  // namespace OrynRti
