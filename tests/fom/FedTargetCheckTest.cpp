#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "FedTarget.h"
#include "fom/TestTarget.h"

namespace OrynRti::Tests {
namespace {

const char* const theSwitchesOf2000 =
    "autoProvide conveyRegionDesignatorSets attributeScopeAdvisory attributeRelevanceAdvisory "
    "objectClassRelevanceAdvisory interactionRelevanceAdvisory serviceReporting ";
const char* const theSwitchesAddedIn2010 =
    "conveyProducingFederate exceptionReporting delaySubscriptionEvaluation ";

void stateSwitches(DtFedTarget& target, const char* names) {
    std::vector<DtString> each;
    DtString(names).tokenize(' ', each);
    for (const DtString& name : each)
        target.addSwitch(name, false);
}

std::string checked(DtFedTarget& target, int expected) {
    DtString report("> ");
    EXPECT_EQ(target.postMergeCheckTarget(report), expected);
    return report.stdString();
}

TEST(FedTargetCheckTest, RequiresTheSwitchesOfTheType) {
    const std::string heading = "> Missing switch in the switches Table\n";
    TestTarget target("A", DtFomTypeUnknown);
    EXPECT_EQ(checked(target, 3), "> Invalid FOM Type\n");
    target.setFomType(DtFomType(5));
    EXPECT_EQ(checked(target, 3), "> Unknown FOM Type\n");
    target.setFomType(DtFomTypeIeee1516_2025);
    EXPECT_EQ(checked(target, 21), "> ");

    target.setFomType(DtFomTypeIeee1516_2000);
    EXPECT_EQ(checked(target, 3), heading + theSwitchesOf2000);
    target.setFomType(DtFomTypeIeee1516_2010);
    EXPECT_EQ(checked(target, 21), heading + theSwitchesOf2000 + theSwitchesAddedIn2010 + "\n");
    target.setStrictChecking(true);
    stateSwitches(target, theSwitchesOf2000);
    EXPECT_EQ(checked(target, 3), heading + theSwitchesAddedIn2010 + "\n");
    stateSwitches(target, theSwitchesAddedIn2010);
    EXPECT_EQ(checked(target, 21), "> ");
}

TEST(FedTargetCheckTest, ReportsTransportationsAndRatesThatAreNotInitialized) {
    TestTarget target("A", DtFomTypeHla13);
    target.addTransportType(fresh(transportation("", true)));
    for (const auto& rate :
         {updateRate("High", 60), updateRate("Low", -0.0f), updateRate("Off", 0)})
        target.addUpdateRate(fresh(rate));
    EXPECT_EQ(checked(target, 3),
              "> Error in Transportation Type, Uninitialized name\n"
              "Error in Update Rates Type, name = Low , Uninitialized rate\n"
              "Error in Update Rates Type, name = Off , Uninitialized rate\n");

    DtUpdateRateType* nameless = fresh(updateRate("", 0));
    clearOnHeap(nameless->name);
    target.addUpdateRate(nameless);
    // A missing name comes first in the order of names and ends the check.
    EXPECT_EQ(checked(target, 3),
              "> Error in Transportation Type, Uninitialized name\n"
              "Error in Update Rates Type, Uninitialized name\n");
}

/// A target whose first and last checks answer what a test tells them to.
class CheckedTarget : public TestTarget {
public:
    CheckedTarget() : TestTarget("A", DtFomTypeHla13) {}

    bool first = true, last = true, unresolved = false;

    bool resolveObjectModelIdentification(DtString&) override { return first; }
    bool resolveParameters(DtString& report) override {
        report += "last";
        unresolvedReferences_ |= unresolved;
        return last;
    }
};

TEST(FedTargetCheckTest, RunsEveryCheckAndTellsUnresolvedReferencesFromOtherFailures) {
    CheckedTarget target;
    target.unresolved = true;
    EXPECT_EQ(checked(target, 21), "> last");
    target.first = false;
    EXPECT_EQ(checked(target, 20), "> last");
    target.unresolved = target.last = false;  // the flag of the check before does not linger
    checked(target, 3);
    target.first = true;
    checked(target, 3);
}

}  // namespace
}  // namespace OrynRti::Tests
