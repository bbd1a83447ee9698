#include <algorithm>
#include <string>

#include "FedTarget.h"
#include "fom/FomText.h"

namespace OrynRti {

DtMergeFomStatus_enum DtFedTarget::postMergeCheckTarget(DtString& report) {
    unresolvedReferences_ = false;
    bool passed = true;
    passed &= resolveObjectModelIdentification(report);
    passed &= resolveDimensions(report);
    passed &= resolveTimeRepresentations(report);
    passed &= resolveUserSuppliedTags(report);
    passed &= resolveSynchronizationPoints(report);
    passed &= resolveTransportationTypes(report);
    passed &= resolveUpdateRates(report);
    passed &= resolveSwitches(report);
    passed &= resolveDatatypes(report);
    passed &= resolveNotes(report);
    passed &= resolveServiceUsage(report);
    passed &= resolveObjectClasses(report);
    passed &= resolveAttributes(report);
    passed &= resolveInteractionClasses(report);
    passed &= resolveParameters(report);
    if (passed)
        return DtMergeFomSuccess;
    return unresolvedReferences_ ? DtMergeFomUnresolvedReferences : DtMergeFomCheckFailed;
}

bool DtFedTarget::resolveObjectModelIdentification(DtString&) {
    return true;
}
bool DtFedTarget::resolveObjectClasses(DtString&) {
    return true;
}
bool DtFedTarget::resolveInteractionClasses(DtString&) {
    return true;
}
bool DtFedTarget::resolveAttributes(DtString&) {
    return true;
}
bool DtFedTarget::resolveParameters(DtString&) {
    return true;
}
bool DtFedTarget::resolveDimensions(DtString&) {
    return true;
}
bool DtFedTarget::resolveTimeRepresentations(DtString&) {
    return true;
}
bool DtFedTarget::resolveUserSuppliedTags(DtString&) {
    return true;
}
bool DtFedTarget::resolveSynchronizationPoints(DtString&) {
    return true;
}

bool DtFedTarget::resolveTransportationTypes(DtString& report) {
    for (const auto& row : transportTypes_) {
        if (row->name.isEmpty()) {
            report += "Error in Transportation Type, Uninitialized name\n";
            return false;
        }
    }
    return true;
}

bool DtFedTarget::resolveUpdateRates(DtString& report) {
    std::string errors;  // a DtString would be copied whole for each row
    for (const auto& row : updateRates_) {
        if (row->name.isEmpty()) {
            errors += "Error in Update Rates Type, Uninitialized name\n";
            break;
        }
        if (row->rate == 0)
            errors.append("Error in Update Rates Type, name = ")
                .append(row->name.string())
                .append(" , Uninitialized rate\n");
    }
    report += DtString(errors);
    return errors.empty();
}

// ------------------------------------------------------------------------------------ switches --

bool DtFedTarget::resolveSwitches(DtString& report) {
    if (fomType_ == DtFomTypeHla13 || fomType_ == DtFomTypeIeee1516_2025)
        return true;
    if (fomType_ == DtFomTypeUnknown) {
        report += "Invalid FOM Type\n";
        return false;
    }
    if (fomType_ != DtFomTypeIeee1516_2000 && fomType_ != DtFomTypeIeee1516_2010) {
        report += "Unknown FOM Type\n";
        return false;
    }
    const DtString missing = missingSwitches();
    if (missing.isEmpty())
        return true;
    report += "Missing switch in the switches Table\n";
    report += missing;
    if (fomType_ == DtFomTypeIeee1516_2000)
        return false;
    report += "\n";
    return !isStrictChecking();
}

DtString DtFedTarget::missingSwitches() const {
    DtString missing;
    for (const DtString* name :
         {&autoProvideName_, &conveyRegionDesignatorSetsName_, &attributeScopeAdvisoryName_,
          &attributeRelevanceAdvisoryName_, &objectClassRelevanceAdvisoryName_,
          &interactionRelevanceAdvisoryName_, &serviceReportingName_})
        checkSpecificSwitch(*name, missing);
    if (fomType_ == DtFomTypeIeee1516_2010)
        for (const DtString* name : {&conveyProducingFederateName_, &exceptionReportingName_,
                                     &delaySubscriptionEvaluationName_})
            checkSpecificSwitch(*name, missing);
    return missing;
}

bool DtFedTarget::checkSpecificSwitch(const DtString& name, DtString& missing) const {
    if (knownSwitch(name))
        return true;
    missing += name;
    missing += " ";
    return false;
}

bool DtFedTarget::resolveDatatypes(DtString&) {
    return true;
}
bool DtFedTarget::resolveNotes(DtString&) {
    return true;
}
bool DtFedTarget::resolveServiceUsage(DtString&) {
    return true;
}

// --------------------------------------------------------------------------------------- texts --

bool DtFedTarget::checkStringsIgnoringWhiteSpaceAndNewline(const DtString& a,
                                                           const DtString& b) const {
    const auto withoutSpace = [](const DtString& text) {
        std::string kept(DtFomText(text));
        const auto isSpace = [](char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; };
        kept.erase(std::remove_if(kept.begin(), kept.end(), isSpace), kept.end());
        return kept;
    };
    return withoutSpace(a) == withoutSpace(b);
}

}  // namespace OrynRti
