#include "FedTarget.h"
#include "Print.h"
#include "fom/FomText.h"

namespace OrynRti {

namespace {

const char* enabledText(bool value) {
    return value ? "enabled" : "disabled";
}

DtString switchConflictHeading(const DtFedTarget& source, bool createFederation) {
    return "Conflicting switch(es) when merging from FOM " + source.modelIdentification() +
           " during " + (createFederation ? "createFederation" : "joinFederation");
}

}  // namespace

#define DT_BOOLEAN_SWITCHES(X)                                    \
    X(autoProvide, AutoProvide)                                   \
    X(conveyRegionDesignatorSets, ConveyRegionDesignatorSets)     \
    X(conveyProducingFederate, ConveyProducingFederate)           \
    X(attributeScopeAdvisory, AttributeScopeAdvisory)             \
    X(attributeRelevanceAdvisory, AttributeRelevanceAdvisory)     \
    X(objectClassRelevanceAdvisory, ObjectClassRelevanceAdvisory) \
    X(interactionRelevanceAdvisory, InteractionRelevanceAdvisory) \
    X(serviceReporting, ServiceReporting)                         \
    X(exceptionReporting, ExceptionReporting)                     \
    X(delaySubscriptionEvaluation, DelaySubscriptionEvaluation)   \
    X(nonRegulatedGrant, NonRegulatedGrant)                       \
    X(sendServiceReportsToFile, SendServiceReportsToFile)         \
    X(advisoriesUseKnownClass, AdvisoriesUseKnownClass)           \
    X(allowRelaxedDdm, AllowRelaxedDdm)

// The functions and the class-wide default of one boolean switch. The forms for a given target go
// through the virtual ones.
#define DT_DEFINE_SWITCH(name, Name)                               \
    bool DtFedTarget::theDefault##Name = false;                    \
    bool DtFedTarget::name() const {                               \
        return name##_;                                            \
    }                                                              \
    void DtFedTarget::set##Name(bool value) {                      \
        name##_ = value;                                           \
    }                                                              \
    bool DtFedTarget::name(const DtFedTarget* target) {            \
        return target->name();                                     \
    }                                                              \
    void DtFedTarget::set##Name(DtFedTarget* target, bool value) { \
        target->set##Name(value);                                  \
    }                                                              \
    bool DtFedTarget::default##Name() {                            \
        return theDefault##Name;                                   \
    }                                                              \
    void DtFedTarget::setDefault##Name(bool value) {               \
        theDefault##Name = value;                                  \
    }

DT_BOOLEAN_SWITCHES(DT_DEFINE_SWITCH)

DtResignAction DtFedTarget::theDefaultAutomaticResignAction = DtCancelThenDeleteThenDivest;

DtResignAction DtFedTarget::automaticResignAction() const {
    return automaticResignAction_;
}

void DtFedTarget::setAutomaticResignAction(DtResignAction action) {
    automaticResignAction_ = action;
    automaticResignActionExplicit_ = true;
}

DtResignAction DtFedTarget::defaultAutomaticResignAction() {
    return theDefaultAutomaticResignAction;
}

void DtFedTarget::setDefaultAutomaticResignAction(DtResignAction action) {
    theDefaultAutomaticResignAction = action;
}

// -------------------------------------------------------------------------- standard switches --

struct DtFedTarget::BooleanSwitches {
    struct Entry {
        DtString DtFedTarget::*name;
        bool (DtFedTarget::*value)() const;
        SwitchSetter setter;
    };
    static const Entry theEntries[];
};

#define DT_SWITCH_ENTRY(name, Name) \
    {&DtFedTarget::name##Name_, &DtFedTarget::name, &DtFedTarget::set##Name},

const DtFedTarget::BooleanSwitches::Entry DtFedTarget::BooleanSwitches::theEntries[] = {
    DT_BOOLEAN_SWITCHES(DT_SWITCH_ENTRY)};

void DtFedTarget::initSwitchSetters() {
    switchSetters_.clear();
    if (fomType_ < DtFomTypeHla13 || fomType_ > DtFomTypeIeee1516_2025)
        return;
    for (const auto& entry : BooleanSwitches::theEntries)
        switchSetters_[this->*entry.name] = entry.setter;
}

bool DtFedTarget::isStandardSwitch(const DtString& name) const {
    return switchSetters_.count(DtString(name)) != 0;
}

bool DtFedTarget::switchValue(const DtString& name) const {
    if (!isStandardSwitch(name))
        return false;
    for (const auto& entry : BooleanSwitches::theEntries)
        if (this->*entry.name == name)
            return (this->*entry.value)();
    return false;
}

// -------------------------------------------------------------------------- stated explicitly --

std::size_t DtFedTarget::numSwitches() const {
    return switches_.size();
}

bool DtFedTarget::knownSwitch(const DtString& name) const {
    return switches_.count(DtString(name)) != 0;
}

void DtFedTarget::addSwitch(const DtString& name, bool value) {
    if (!isStandardSwitch(name)) {
        DtVerbose << "Ignored attempt to add non standard switch " << name << " with value "
                  << enabledText(value) << " in FOM " << modelIdentification() << std::endl;
        return;
    }
    const auto stated = switches_.find(name);
    if (stated == switches_.end()) {
        DtVerbose("\t%-30s: %s\n", name.c_str(), value ? " enabled" : " disabled");
        switches_[name] = value;
        const auto setter = switchSetters_.find(name);
        if (setter != switchSetters_.end())
            (this->*setter->second)(value);
    } else if (stated->second != value) {
        DtVerbose << "Ignored attempt to add duplicate conflicting switch " << name
                  << " with current value: " << enabledText(stated->second)
                  << " rejected value: " << enabledText(value) << " in FOM "
                  << modelIdentification() << std::endl;
    }
}

// ------------------------------------------------------------------------------------ merging --

DtMergeFomStatus_enum DtFedTarget::mergeSwitches(const DtFedTarget& source, bool createFederation) {
    lastError_ = "";
    const bool switchesAgree = mergeStatedSwitches(source, createFederation);
    if (mergeResignAction(source, createFederation, switchesAgree) && switchesAgree)
        return DtMergeFomSuccess;
    if (isStrictChecking()) {
        DtVerbose << lastError_ << std::endl;
        return DtMergeFomSwitchesConflict;
    }
    DtWarn << "Merge Error ignored: " << lastError_ << std::endl;
    return DtMergeFomSuccess;
}

bool DtFedTarget::mergeStatedSwitches(const DtFedTarget& source, bool createFederation) {
    if (source.switches_.empty())
        return true;
    DtVerbose << "Merging Switches " << std::endl;
    bool agree = true;
    for (const auto& [name, value] : source.switches_) {
        if (!isStandardSwitch(name)) {
            DtVerbose << "Ignoring non standard switch " << name << " when merging FOM "
                      << source.modelIdentification() << std::endl;
        } else if (takesSwitch(name, value, createFederation)) {
            if (createFederation)
                addSwitch(name, value);
        } else {
            if (agree)
                lastError_ = switchConflictHeading(source, createFederation) + "\n";
            const DtString line = "\t" + name + ": " + enabledText(value) + "\n";
            DtVerbose << line;
            lastError_ += line;
            agree = false;
        }
    }
    return agree;
}

bool DtFedTarget::takesSwitch(const DtString& name, bool value, bool createFederation) const {
    return switchValue(name) == value || (createFederation && !knownSwitch(name));
}

bool DtFedTarget::mergeResignAction(const DtFedTarget& source, bool createFederation,
                                    bool switchesAgree) {
    if (!source.isAutomaticResignActionExplicit())
        return true;
    const DtResignAction action = source.automaticResignAction();
    if (!isAutomaticResignActionExplicit()) {
        setAutomaticResignAction(action);
        return true;
    }
    if (automaticResignAction() == action)
        return true;
    // The heading stands for switches that conflicted before and takes the place of their lines;
    // a resign action that conflicts alone comes without one.
    if (!switchesAgree)
        lastError_ = switchConflictHeading(source, createFederation);
    const DtString text = enumAsString(action);
    DtVerbose("\t%-30s: %s\n", automaticResignActionName_.c_str(), text.c_str());
    lastError_ += "\n\tautomaticResignAction: " + text;
    return false;
}

}  // namespace OrynRti
