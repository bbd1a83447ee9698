// References of attributes and interaction classes to dimensions and transportations: the part of
// FomTarget that collects, settles and reports those that no module defines.

#include <iterator>

#include "FomTarget.h"
#include "Words.h"

namespace RtiqnFom {

using namespace OrynRti;

namespace {

/// Names that every federation has without a module defining them.
bool isAlwaysTransportation(const std::string& name) {
    return name == "HLAreliable" || name == "HLAbestEffort";
}

bool isAlwaysDimension(const std::string& name, DtFomType edition) {
    if (name == "HLAfederate" || name == "HLAserviceGroup")
        return true;
    return edition == DtFomTypeIeee1516_2000 && (name == "Federate" || name == "ServiceGroup");
}

/// Removes the references for which `isDefined`, and the classes left without any.
template <typename References, typename IsDefined>
void settle(References& references, const IsDefined& isDefined) {
    for (auto entry = references.begin(); entry != references.end();) {
        auto& names = entry->second;
        for (auto name = names.begin(); name != names.end();)
            name = isDefined(*name) ? names.erase(name) : std::next(name);
        entry = names.empty() ? references.erase(entry) : std::next(entry);
    }
}

/// The references of one class; null when it has none.
template <typename References>
const typename References::mapped_type* referencesOf(const References& references,
                                                     const std::string& className) {
    const auto found = references.find(DtString(className));
    return found == references.end() ? nullptr : &found->second;
}

template <typename Names, typename Name>
bool holds(const Names* names, const Name& name) {
    return names && names->count(name) != 0;
}

std::string unresolved(const char* kind, const std::string& name, const std::string& row,
                       const Place& place) {
    return place.text() + ": unresolved " + kind + " \"" + name + "\" of " + row + "\n";
}

}  // namespace

bool FomTarget::transportationDefined(const std::string& name) const {
    DtTransportationType row;
    row.name = name;
    return knownTransportType(row);
}

bool FomTarget::dimensionDefined(const std::string& name) const {
    return dimensions_.find(name) != nullptr;
}

void FomTarget::collectUnresolvedReferences() {
    const auto missingDimension = [&](const std::string& name) {
        return !isAlwaysDimension(name, fomType()) && !dimensionDefined(name);
    };
    const auto missingTransportation = [&](const std::string& name) {
        return !name.empty() && !isAlwaysTransportation(name) && !transportationDefined(name);
    };
    for (const auto& row : objectClasses_) {
        for (const Attribute& attribute : row->attributes) {
            for (const std::string& dimension : attribute.dimensions)
                if (missingDimension(dimension))
                    addUnresolvedAttributeDimension(row->name, attribute.name, dimension);
            if (missingTransportation(attribute.transportation))
                addUnresolvedAttributeTransportation(row->name, attribute.name,
                                                     attribute.transportation);
        }
    }
    for (const auto& row : interactionClasses_) {
        for (const std::string& dimension : row->dimensions)
            if (missingDimension(dimension))
                addUnresolvedClassDimension(row->name, dimension);
        if (missingTransportation(row->transportation))
            addUnresolvedInteractionTransportation(row->name, row->transportation);
    }
}

void FomTarget::settleReferences() {
    const auto dimension = [&](const DtString& name) { return dimensionDefined(textOf(name)); };
    const auto transportation = [&](const DtString& name) {
        return transportationDefined(textOf(name));
    };
    settle(unresolvedAttributeDimensions_,
           [&](const DtUnresolvedPair& pair) { return dimension(pair.second); });
    settle(unresolvedAttributeTransportations_,
           [&](const DtUnresolvedPair& pair) { return transportation(pair.second); });
    settle(unresolvedClassDimensions_, dimension);
    settle(unresolvedInteractionTransportations_, transportation);
}

bool FomTarget::resolveAttributes(DtString& report) {
    std::string text;  // a DtString would be copied whole for each line
    const bool dimensions = fomTableMergeEnabled(DtMergeFomTableDimensions);
    const bool transportations = fomTableMergeEnabled(DtMergeFomTableTransportTypes);
    for (const auto& row : objectClasses_) {
        const auto* ofDimensions = referencesOf(unresolvedAttributeDimensions_, row->name);
        const auto* ofTransport = referencesOf(unresolvedAttributeTransportations_, row->name);
        if (!ofDimensions && !ofTransport)
            continue;
        for (const Attribute& attribute : row->attributes) {
            const std::string path = "attribute " + row->name + "." + attribute.name;
            const auto refersTo = [&](const auto* references, const std::string& name) {
                return holds(references, DtUnresolvedPair(attribute.name, name));
            };
            for (const std::string& name : attribute.dimensions)
                if (dimensions && refersTo(ofDimensions, name))
                    text += unresolved("dimension", name, path, attribute.info.place);
            if (transportations && refersTo(ofTransport, attribute.transportation))
                text += unresolved("transportation", attribute.transportation, path,
                                   attribute.info.place);
        }
    }
    return reportUnresolved(text, report);
}

bool FomTarget::resolveInteractionClasses(DtString& report) {
    std::string text;
    const bool dimensions = fomTableMergeEnabled(DtMergeFomTableDimensions);
    const bool transportations = fomTableMergeEnabled(DtMergeFomTableTransportTypes);
    for (const auto& row : interactionClasses_) {
        const std::string path = "interaction class " + row->name;
        const auto* ofDimensions = referencesOf(unresolvedClassDimensions_, row->name);
        for (const std::string& name : row->dimensions)
            if (dimensions && holds(ofDimensions, DtString(name)))
                text += unresolved("dimension", name, path, row->info.place);
        const auto* ofTransport = referencesOf(unresolvedInteractionTransportations_, row->name);
        if (transportations && holds(ofTransport, DtString(row->transportation)))
            text += unresolved("transportation", row->transportation, path, row->info.place);
    }
    return reportUnresolved(text, report);
}

bool FomTarget::reportUnresolved(const std::string& text, DtString& report) {
    if (text.empty())
        return true;
    report += text.c_str();
    unresolvedReferences_ = true;
    return false;
}

bool FomTarget::resolveTransportationTypes(DtString& report) {
    return !fomTableMergeEnabled(DtMergeFomTableTransportTypes) ||
           DtFedTarget::resolveTransportationTypes(report);
}

bool FomTarget::resolveUpdateRates(DtString& report) {
    return !fomTableMergeEnabled(DtMergeFomTableUpdateRates) ||
           DtFedTarget::resolveUpdateRates(report);
}

bool FomTarget::resolveSwitches(DtString& report) {
    return !fomTableMergeEnabled(DtMergeFomTableSwitches) || DtFedTarget::resolveSwitches(report);
}

}  // namespace RtiqnFom
