#ifndef TESTS_FOM_TEST_TARGET_H
#define TESTS_FOM_TEST_TARGET_H

#include <string>

#include "FedTarget.h"

namespace OrynRti::Tests {

/// A target with an empty object-model part, whose steps answer what a test tells them to.
class TestTarget : public DtFedTarget {
public:
    explicit TestTarget(const char* identification, DtFomType type = DtFomTypeIeee1516_2010) {
        setFomType(type);
        addModelIdentification(identification);
    }

    bool addObjectClass(const DtString&) override { return true; }
    bool knownObjectClass(const DtString&) const override { return false; }
    bool addInteractionClass(const DtString&) override { return true; }
    bool knownInteractionClass(const DtString&) const override { return false; }
    bool addAttribute(const DtString&, const DtString&) override { return true; }
    bool knownAttribute(const DtString&, const DtString&) const override { return false; }
    bool addParameter(const DtString&, const DtString&) override { return true; }
    bool knownParameter(const DtString&, const DtString&) const override { return false; }

    std::string error() const { return lastError().stdString(); }
    std::string identification() const { return modelIdentification().stdString(); }
};

inline DtUpdateRateType updateRate(const char* name, float rate) {
    return {name, rate, ""};
}

inline DtTransportationType transportation(const char* name, bool reliable) {
    return {name, "", reliable, ""};
}

inline DtTimeType timeType(const char* name, const char* dataType) {
    return {name, dataType, ""};
}

/// Gives `text` no characters at all.
inline void clearOnHeap(DtString& text) {
    text = std::string(100, 'x').c_str();
    text.clear();
}

template <typename Row>
Row* fresh(const Row& row) {
    return new Row(row);
}

}  // namespace OrynRti::Tests

#endif
