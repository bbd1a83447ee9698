#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "FedTarget.h"
#include "fom/TestTarget.h"
#include "support/Notifications.h"

namespace OrynRti::Tests {
namespace {

struct BooleanSwitch {
    const char* name;
    bool (DtFedTarget::*value)() const;
    void (DtFedTarget::*set)(bool);
    bool (*valueOf)(const DtFedTarget*);
    void (*setOf)(DtFedTarget*, bool);
    bool (*defaultValue)();
    void (*setDefault)(bool);
};

#define BOOLEAN_SWITCH(spelling, name, Name)                                                     \
    {                                                                                            \
        spelling, &DtFedTarget::name, &DtFedTarget::set##Name, &DtFedTarget::name,               \
            &DtFedTarget::set##Name, &DtFedTarget::default##Name, &DtFedTarget::setDefault##Name \
    }

const std::vector<BooleanSwitch> theSwitches = {
    BOOLEAN_SWITCH("advisoriesUseKnownClass", advisoriesUseKnownClass, AdvisoriesUseKnownClass),
    BOOLEAN_SWITCH("allowRelaxedDDM", allowRelaxedDdm, AllowRelaxedDdm),
    BOOLEAN_SWITCH("attributeRelevanceAdvisory", attributeRelevanceAdvisory,
                   AttributeRelevanceAdvisory),
    BOOLEAN_SWITCH("attributeScopeAdvisory", attributeScopeAdvisory, AttributeScopeAdvisory),
    BOOLEAN_SWITCH("autoProvide", autoProvide, AutoProvide),
    BOOLEAN_SWITCH("conveyProducingFederate", conveyProducingFederate, ConveyProducingFederate),
    BOOLEAN_SWITCH("conveyRegionDesignatorSets", conveyRegionDesignatorSets,
                   ConveyRegionDesignatorSets),
    BOOLEAN_SWITCH("delaySubscriptionEvaluation", delaySubscriptionEvaluation,
                   DelaySubscriptionEvaluation),
    BOOLEAN_SWITCH("exceptionReporting", exceptionReporting, ExceptionReporting),
    BOOLEAN_SWITCH("interactionRelevanceAdvisory", interactionRelevanceAdvisory,
                   InteractionRelevanceAdvisory),
    BOOLEAN_SWITCH("nonRegulatedGrant", nonRegulatedGrant, NonRegulatedGrant),
    BOOLEAN_SWITCH("objectClassRelevanceAdvisory", objectClassRelevanceAdvisory,
                   ObjectClassRelevanceAdvisory),
    BOOLEAN_SWITCH("serviceReporting", serviceReporting, ServiceReporting),
    BOOLEAN_SWITCH("sendServiceReportsToFile", sendServiceReportsToFile, SendServiceReportsToFile),
};

/// The names of the switches that are on, each with a blank.
std::string switchesOn(const DtFedTarget& target) {
    std::string on;
    for (const BooleanSwitch& each : theSwitches)
        if ((target.*each.value)())
            on += std::string(each.name) + " ";
    return on;
}

TEST(FedTargetSwitchesTest, EverySwitchHasItsOwnNameValueAndDefault) {
    for (const BooleanSwitch& each : theSwitches) {
        const std::string alone = std::string(each.name) + " ";
        TestTarget target("A");
        EXPECT_EQ(switchesOn(target), "");
        target.addSwitch(each.name, true);
        EXPECT_EQ(switchesOn(target), alone);
        EXPECT_TRUE(target.knownSwitch(each.name));
        EXPECT_TRUE(target.switchValue(each.name));
        (target.*each.set)(false);
        EXPECT_FALSE(target.switchValue(each.name)) << each.name;
        each.setOf(&target, true);
        EXPECT_TRUE(each.valueOf(&target));
        EXPECT_EQ(switchesOn(target), alone);

        each.setDefault(true);
        EXPECT_TRUE(each.defaultValue());
        EXPECT_EQ(switchesOn(TestTarget("B")), alone);
        each.setDefault(false);
    }
}

TEST(FedTargetSwitchesTest, StandardSwitchesGoWithTheType) {
    for (int type : {-1, 0, 1, 2, 3, 4, 5}) {
        TestTarget target("A", DtFomType(type));
        for (const BooleanSwitch& each : theSwitches)
            EXPECT_EQ(target.isStandardSwitch(each.name), type >= 1 && type <= 4);
        EXPECT_FALSE(target.isStandardSwitch("automaticResignAction"));
    }
    TestTarget target("A");
    target.setAutoProvide(true);
    target.setFomType(DtFomTypeUnknown);
    EXPECT_FALSE(target.switchValue("autoProvide"));
}

TEST(FedTargetSwitchesTest, IgnoresNamesThatAreNoStandardSwitch) {
    TestTarget target("A");
    DtString cleared;
    clearOnHeap(cleared);
    EXPECT_FALSE(target.isStandardSwitch(cleared));
    EXPECT_FALSE(target.knownSwitch(cleared));
    CapturedNotifications notifications;
    target.addSwitch("allowRelaxedDdm", true);
    target.addSwitch(cleared, false);
    EXPECT_EQ(notifications.text(3),
              "Ignored attempt to add non standard switch allowRelaxedDdm with value enabled in "
              "FOM A\n"
              "Ignored attempt to add non standard switch  with value disabled in FOM A\n");
    EXPECT_EQ(target.numSwitches(), 0u);
}

TEST(FedTargetSwitchesTest, KeepsTheFirstStatementOfASwitch) {
    TestTarget target("A");
    CapturedNotifications notifications;
    target.addSwitch("autoProvide", true);
    EXPECT_EQ(notifications.pieces(),
              (std::vector<Piece>{{"\tautoProvide                   :  enabled\n", 3, false}}));
    notifications.take();
    target.addSwitch("autoProvide", true);
    EXPECT_EQ(notifications.take(), "");
    target.addSwitch("autoProvide", false);
    EXPECT_EQ(notifications.take(),
              "Ignored attempt to add duplicate conflicting switch autoProvide with current "
              "value: enabled rejected value: disabled in FOM A\n");
    EXPECT_TRUE(target.autoProvide());
    EXPECT_EQ(target.numSwitches(), 1u);
}

TEST(FedTargetSwitchesTest, ACopyWritesToItself) {
    TestTarget target("A");
    TestTarget copy(target), assigned("B", DtFomTypeUnknown);
    assigned = target;
    copy.addSwitch("autoProvide", true);
    assigned.addSwitch("serviceReporting", true);
    EXPECT_EQ(switchesOn(target), "");
    EXPECT_EQ(switchesOn(copy), "autoProvide ");
    EXPECT_EQ(switchesOn(assigned), "serviceReporting ");
}

/// Two targets, strict, whose switches are merged.
struct SwitchMerge {
    TestTarget target{"T"};
    TestTarget source{"S"};

    SwitchMerge() { target.setStrictChecking(true); }

    DtMergeFomStatus_enum create() { return target.mergeSwitches(source, true); }
    DtMergeFomStatus_enum join() { return target.mergeSwitches(source, false); }
};

TEST(FedTargetSwitchesTest, TheFirstModuleThatStatesASwitchWinsWhileCreating) {
    SwitchMerge merge;
    merge.source.addSwitch("autoProvide", true);
    merge.source.addSwitch("serviceReporting", false);
    EXPECT_EQ(merge.create(), DtMergeFomSuccess);
    EXPECT_EQ(merge.target.numSwitches(), 2u);
    EXPECT_EQ(switchesOn(merge.target), "autoProvide ");

    TestTarget late("Late");
    late.addSwitch("autoProvide", false);
    late.addSwitch("exceptionReporting", true);
    late.addSwitch("serviceReporting", true);
    CapturedNotifications notifications;
    EXPECT_EQ(merge.target.mergeSwitches(late, true), DtMergeFomSwitchesConflict);
    const std::string conflicts =
        "Conflicting switch(es) when merging from FOM Late during createFederation\n"
        "\tautoProvide: disabled\n\tserviceReporting: enabled\n";
    EXPECT_EQ(merge.target.error(), conflicts);
    EXPECT_EQ(notifications.text(),
              "Merging Switches \n\tautoProvide: disabled\n"
              "\texceptionReporting            :  enabled\n"
              "\tserviceReporting: enabled\n" +
                  conflicts + "\n");
    // What was taken over between the two conflicts stays.
    EXPECT_EQ(switchesOn(merge.target), "autoProvide exceptionReporting ");
}

TEST(FedTargetSwitchesTest, JoiningComparesWithTheValueInForceAndAddsNothing) {
    SwitchMerge merge;
    merge.source.addSwitch("autoProvide", false);
    EXPECT_EQ(merge.join(), DtMergeFomSuccess);
    EXPECT_EQ(merge.target.numSwitches(), 0u);

    merge.target.setAutoProvide(true);
    EXPECT_EQ(merge.join(), DtMergeFomSwitchesConflict);
    EXPECT_EQ(merge.target.error(),
              "Conflicting switch(es) when merging from FOM S during joinFederation\n"
              "\tautoProvide: disabled\n");
    // A stated switch whose value was set otherwise since agrees with the later value.
    merge.target.addSwitch("autoProvide", true);
    merge.target.setAutoProvide(false);
    EXPECT_EQ(merge.create(), DtMergeFomSuccess);
    EXPECT_EQ(merge.target.error(), "");
}

TEST(FedTargetSwitchesTest, SkipsSwitchesThatAreNotStandardHere) {
    SwitchMerge merge;
    merge.source.addSwitch("autoProvide", true);
    merge.target.setFomType(DtFomTypeUnknown);
    CapturedNotifications notifications;
    EXPECT_EQ(merge.join(), DtMergeFomSuccess);
    EXPECT_EQ(notifications.text(3),
              "Merging Switches \nIgnoring non standard switch autoProvide "
              "when merging FOM S\n");
}

TEST(FedTargetSwitchesTest, WarnsOfSwitchConflictsWhenNotStrict) {
    SwitchMerge merge;
    merge.target.setStrictChecking(false);
    merge.source.addSwitch("autoProvide", true);
    CapturedNotifications notifications;
    EXPECT_EQ(merge.join(), DtMergeFomSuccess);
    EXPECT_EQ(notifications.text(1),
              "Merge Error ignored: Conflicting switch(es) when merging from FOM S during "
              "joinFederation\n\tautoProvide: enabled\n\n");
}

TEST(FedTargetSwitchesTest, AThirdModuleCannotOverrideTheResignActionInSilence) {
    DtFedTarget::setDefaultAutomaticResignAction(DtDeleteObjects);
    SwitchMerge merge;
    DtFedTarget::setDefaultAutomaticResignAction(DtCancelThenDeleteThenDivest);
    EXPECT_EQ(merge.target.automaticResignAction(), DtDeleteObjects);
    EXPECT_EQ(merge.create(), DtMergeFomSuccess);
    EXPECT_EQ(merge.target.automaticResignAction(), DtDeleteObjects);

    merge.source.setAutomaticResignAction(DtNoAction);
    EXPECT_EQ(merge.join(), DtMergeFomSuccess);
    EXPECT_EQ(merge.target.automaticResignAction(), DtNoAction);
    EXPECT_EQ(merge.join(), DtMergeFomSuccess);

    TestTarget third("Third");
    third.setAutomaticResignAction(DtDeleteObjects);
    CapturedNotifications notifications;
    EXPECT_EQ(merge.target.mergeSwitches(third, true), DtMergeFomSwitchesConflict);
    EXPECT_EQ(merge.target.automaticResignAction(), DtNoAction);
    EXPECT_EQ(merge.target.error(), "\n\tautomaticResignAction: DeleteObjects");
    EXPECT_EQ(notifications.text(),
              "\tautomaticResignAction         : DeleteObjects\n"
              "\n\tautomaticResignAction: DeleteObjects\n");
}

TEST(FedTargetSwitchesTest, AResignActionConflictReplacesTheLinesOfSwitches) {
    SwitchMerge merge;
    merge.target.setAutomaticResignAction(DtNoAction);
    merge.source.setAutomaticResignAction(DtResignAction(9));
    merge.source.addSwitch("autoProvide", true);
    EXPECT_EQ(merge.join(), DtMergeFomSwitchesConflict);
    EXPECT_EQ(merge.target.error(),
              "Conflicting switch(es) when merging from FOM S during joinFederation"
              "\n\tautomaticResignAction: unknown");
}

}  // namespace
}  // namespace OrynRti::Tests
