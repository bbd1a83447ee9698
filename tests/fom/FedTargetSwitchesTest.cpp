#include <gtest/gtest.h>
#include <string>

#include "FedTarget.h"
#include "fom/TestTarget.h"
#include "support/Notifications.h"

namespace OrynRti::Tests {
namespace {

const struct {
    const char* name;
    void (*setDefault)(bool);
} theSwitches[] = {
    {"advisoriesUseKnownClass", DtFedTarget::setDefaultAdvisoriesUseKnownClass},
    {"allowRelaxedDDM", DtFedTarget::setDefaultAllowRelaxedDdm},
    {"attributeRelevanceAdvisory", DtFedTarget::setDefaultAttributeRelevanceAdvisory},
    {"attributeScopeAdvisory", DtFedTarget::setDefaultAttributeScopeAdvisory},
    {"autoProvide", DtFedTarget::setDefaultAutoProvide},
    {"conveyProducingFederate", DtFedTarget::setDefaultConveyProducingFederate},
    {"conveyRegionDesignatorSets", DtFedTarget::setDefaultConveyRegionDesignatorSets},
    {"delaySubscriptionEvaluation", DtFedTarget::setDefaultDelaySubscriptionEvaluation},
    {"exceptionReporting", DtFedTarget::setDefaultExceptionReporting},
    {"interactionRelevanceAdvisory", DtFedTarget::setDefaultInteractionRelevanceAdvisory},
    {"nonRegulatedGrant", DtFedTarget::setDefaultNonRegulatedGrant},
    {"objectClassRelevanceAdvisory", DtFedTarget::setDefaultObjectClassRelevanceAdvisory},
    {"serviceReporting", DtFedTarget::setDefaultServiceReporting},
    {"sendServiceReportsToFile", DtFedTarget::setDefaultSendServiceReportsToFile},
};

/// The names of the switches that are on, each with a blank.
std::string switchesOn(const DtFedTarget& target) {
    std::string on;
    for (const auto& each : theSwitches)
        if (target.switchValue(each.name))
            on += std::string(each.name) + " ";
    return on;
}

TEST(FedTargetSwitchesTest, EverySwitchHasItsOwnNameValueAndDefaultInEveryKnownType) {
    for (const auto& each : theSwitches) {
        const std::string alone = std::string(each.name) + " ";
        TestTarget target("A");
        target.addSwitch(each.name, true);
        for (int type : {1, 2, 3, 4, -1, 0, 5}) {
            target.setFomType(DtFomType(type));
            EXPECT_EQ(switchesOn(target), type >= 1 && type <= 4 ? alone : "") << type;
        }
        each.setDefault(true);
        EXPECT_EQ(switchesOn(TestTarget("B")), alone);
        each.setDefault(false);
    }
}

TEST(FedTargetSwitchesTest, KeepsTheFirstStatementOfAStandardSwitch) {
    TestTarget target("A");
    CapturedNotifications notifications;
    target.addSwitch("allowRelaxedDdm", true);
    for (bool value : {true, true, false})
        target.addSwitch("autoProvide", value);
    EXPECT_EQ(notifications.text(3),
              "Ignored attempt to add non standard switch allowRelaxedDdm with value enabled in "
              "FOM A\n"
              "\tautoProvide                   :  enabled\n"
              "Ignored attempt to add duplicate conflicting switch autoProvide with current "
              "value: enabled rejected value: disabled in FOM A\n");
    EXPECT_TRUE(target.autoProvide());
    EXPECT_EQ(target.numSwitches(), 1u);
}

TEST(FedTargetSwitchesTest, ACopyWritesToItself) {
    TestTarget target("A"), copy(target);
    copy.addSwitch("autoProvide", true);
    EXPECT_EQ(switchesOn(target), "");
    EXPECT_EQ(switchesOn(copy), "autoProvide ");
}

/// Two targets, strict, whose switches are merged.
struct SwitchMerge {
    TestTarget target{"T"}, source{"S"};

    SwitchMerge() { target.setStrictChecking(true); }

    DtMergeFomStatus_enum create() { return target.mergeSwitches(source, true); }
    DtMergeFomStatus_enum join() { return target.mergeSwitches(source, false); }
};

TEST(FedTargetSwitchesTest, TheFirstModuleThatStatesASwitchWinsWhileCreating) {
    SwitchMerge merge;
    merge.source.addSwitch("autoProvide", true);
    merge.source.addSwitch("serviceReporting", false);
    EXPECT_EQ(merge.create(), DtMergeFomSuccess);

    TestTarget late("Late");
    late.addSwitch("autoProvide", false);
    late.addSwitch("exceptionReporting", true);
    late.addSwitch("serviceReporting", true);
    CapturedNotifications notifications;
    EXPECT_EQ(merge.target.mergeSwitches(late, true), DtMergeFomSwitchesConflict);
    EXPECT_EQ(merge.target.error(),
              "Conflicting switch(es) when merging from FOM Late during createFederation\n"
              "\tautoProvide: disabled\n\tserviceReporting: enabled\n");
    EXPECT_EQ(notifications.text(),
              "Merging Switches \n\tautoProvide: disabled\n"
              "\texceptionReporting            :  enabled\n"
              "\tserviceReporting: enabled\n" +
                  merge.target.error() + "\n");
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
    // So does one that the type of the target does not know.
    merge.target.setFomType(DtFomTypeUnknown);
    merge.source.addSwitch("serviceReporting", true);
    EXPECT_EQ(merge.create(), DtMergeFomSuccess);
}

TEST(FedTargetSwitchesTest, AThirdModuleCannotOverrideTheResignActionInSilence) {
    DtFedTarget::setDefaultAutomaticResignAction(DtDeleteObjects);
    SwitchMerge merge;
    DtFedTarget::setDefaultAutomaticResignAction(DtCancelThenDeleteThenDivest);
    EXPECT_EQ(merge.target.automaticResignAction(), DtDeleteObjects);
    merge.source.setAutomaticResignAction(DtNoAction);
    for (int module = 1; module <= 2; ++module) {
        EXPECT_EQ(merge.join(), DtMergeFomSuccess);
        EXPECT_EQ(merge.target.automaticResignAction(), DtNoAction);
    }

    TestTarget third("Third");
    third.setAutomaticResignAction(DtDeleteObjects);
    EXPECT_EQ(merge.target.mergeSwitches(third, true), DtMergeFomSwitchesConflict);
    EXPECT_EQ(merge.target.automaticResignAction(), DtNoAction);
    EXPECT_EQ(merge.target.error(), "\n\tautomaticResignAction: DeleteObjects");
    // The heading of switches that conflict too takes the place of their lines.
    third.addSwitch("autoProvide", true);
    merge.target.mergeSwitches(third, false);
    EXPECT_EQ(merge.target.error(),
              "Conflicting switch(es) when merging from FOM Third during joinFederation"
              "\n\tautomaticResignAction: DeleteObjects");
}

}  // namespace
}  // namespace OrynRti::Tests
