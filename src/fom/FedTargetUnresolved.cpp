#include "FedTarget.h"
#include "fom/FomText.h"

namespace OrynRti {

namespace {

template <typename Map, typename Reference>
void addReference(Map& references, const DtString& className, const Reference& reference) {
    // Copies are never cleared, and so safe as keys.
    references[DtString(className)].insert(Reference(reference));
}

template <typename Map, typename Reference>
void removeReference(Map& references, const DtString& className, const Reference& reference) {
    const auto ofClass = references.find(DtString(className));
    if (ofClass == references.end())
        return;
    ofClass->second.erase(Reference(reference));
    if (ofClass->second.empty())
        references.erase(ofClass);
}

template <typename Map>
void uniteReferences(Map& held, const Map& source) {
    if (&held == &source)
        return;
    for (const auto& [className, references] : source)
        held[className].insert(references.begin(), references.end());
}

}  // namespace

bool DtUnresolvedPairCompare::operator()(const DtUnresolvedPair& left,
                                         const DtUnresolvedPair& right) const {
    const int attributes = DtFomCompareTexts(left.first, right.first);
    return attributes < 0 || (attributes == 0 && DtFomCompareTexts(left.second, right.second) < 0);
}

void DtFedTarget::addUnresolvedAttributeDimension(const DtString& className,
                                                  const DtString& attribute,
                                                  const DtString& dimension) {
    addReference(unresolvedAttributeDimensions_, className, DtUnresolvedPair(attribute, dimension));
}

void DtFedTarget::removeUnresolvedAttributeDimension(const DtString& className,
                                                     const DtString& attribute,
                                                     const DtString& dimension) {
    removeReference(unresolvedAttributeDimensions_, className,
                    DtUnresolvedPair(attribute, dimension));
}

void DtFedTarget::addUnresolvedAttributeTransportation(const DtString& className,
                                                       const DtString& attribute,
                                                       const DtString& transportation) {
    addReference(unresolvedAttributeTransportations_, className,
                 DtUnresolvedPair(attribute, transportation));
}

void DtFedTarget::removeUnresolvedAttributeTransportation(const DtString& className,
                                                          const DtString& attribute,
                                                          const DtString& transportation) {
    removeReference(unresolvedAttributeTransportations_, className,
                    DtUnresolvedPair(attribute, transportation));
}

void DtFedTarget::addUnresolvedClassDimension(const DtString& className,
                                              const DtString& dimension) {
    addReference(unresolvedClassDimensions_, className, dimension);
}

void DtFedTarget::removeUnresolvedClassDimension(const DtString& className,
                                                 const DtString& dimension) {
    removeReference(unresolvedClassDimensions_, className, dimension);
}

void DtFedTarget::addUnresolvedInteractionTransportation(const DtString& className,
                                                         const DtString& transportation) {
    addReference(unresolvedInteractionTransportations_, className, transportation);
}

void DtFedTarget::removeUnresolvedInteractionTransportation(const DtString& className,
                                                            const DtString& transportation) {
    removeReference(unresolvedInteractionTransportations_, className, transportation);
}

void DtFedTarget::mergeUnresolved(const DtFedTarget& source) {
    uniteUnresolvedAttributeDimensions(source.unresolvedAttributeDimensions_);
    uniteUnresolvedAttributeTransportations(source.unresolvedAttributeTransportations_);
    uniteUnresolvedClassDimensions(source.unresolvedClassDimensions_);
    uniteUnresolvedInteractionTransportations(source.unresolvedInteractionTransportations_);
}

void DtFedTarget::uniteUnresolvedAttributeDimensions(const DtUnresolvedAttributeMap& source) {
    uniteReferences(unresolvedAttributeDimensions_, source);
}

void DtFedTarget::uniteUnresolvedAttributeTransportations(const DtUnresolvedAttributeMap& source) {
    uniteReferences(unresolvedAttributeTransportations_, source);
}

void DtFedTarget::uniteUnresolvedClassDimensions(const DtUnresolvedClassMap& source) {
    uniteReferences(unresolvedClassDimensions_, source);
}

void DtFedTarget::uniteUnresolvedInteractionTransportations(const DtUnresolvedClassMap& source) {
    uniteReferences(unresolvedInteractionTransportations_, source);
}

}  // namespace OrynRti
