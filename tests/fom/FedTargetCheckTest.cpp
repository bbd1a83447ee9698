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

TEST(FedTargetCheckTest, TypesWithoutRequiredSwitchesPassOrFailByThemselves) {
    TestTarget none("A", DtFomTypeHla13), latest("A", DtFomTypeIeee1516_2025);
    TestTarget unknown("A", DtFomTypeUnknown), beyond("A", DtFomType(5));
    EXPECT_EQ(checked(none, 21), "> ");
    EXPECT_EQ(checked(latest, 21), "> ");
    EXPECT_EQ(checked(unknown, 3), "> Invalid FOM Type\n");
    EXPECT_EQ(checked(beyond, 3), "> Unknown FOM Type\n");
}

TEST(FedTargetCheckTest, NamesMissingSwitches) {
    const std::string heading = "> Missing switch in the switches Table\n";
    TestTarget of2000("A", DtFomTypeIeee1516_2000);
    EXPECT_EQ(checked(of2000, 3), heading + theSwitchesOf2000);
    stateSwitches(of2000, theSwitchesOf2000);
    EXPECT_EQ(checked(of2000, 21), "> ");

    TestTarget of2010("A", DtFomTypeIeee1516_2010);
    EXPECT_EQ(checked(of2010, 21), heading + theSwitchesOf2000 + theSwitchesAddedIn2010 + "\n");
    of2010.setStrictChecking(true);
    stateSwitches(of2010, theSwitchesOf2000);
    EXPECT_EQ(checked(of2010, 3), heading + theSwitchesAddedIn2010 + "\n");
    stateSwitches(of2010, theSwitchesAddedIn2010);
    EXPECT_EQ(checked(of2010, 21), "> ");
}

TEST(FedTargetCheckTest, ReportsTransportationsAndRatesThatAreNotInitialized) {
    TestTarget target("A", DtFomTypeHla13);
    target.addTransportType(fresh(transportation("Fast", true)));
    target.addUpdateRate(fresh(updateRate("High", 60)));
    target.addUpdateRate(fresh(updateRate("Low", -0.0f)));
    target.addUpdateRate(fresh(updateRate("Off", 0)));
    EXPECT_EQ(checked(target, 3),
              "> Error in Update Rates Type, name = Low , Uninitialized rate\n"
              "Error in Update Rates Type, name = Off , Uninitialized rate\n");

    DtUpdateRateType* cleared = fresh(updateRate("", 0));
    clearOnHeap(cleared->name);
    target.addUpdateRate(cleared);
    target.addTransportType(fresh(transportation("", true)));
    // A missing name comes first in the order of names and ends the check.
    EXPECT_EQ(checked(target, 3),
              "> Error in Transportation Type, Uninitialized name\n"
              "Error in Update Rates Type, Uninitialized name\n");
}

/// Every check of this target notes its place; one of them can fail, with a reference unresolved.
class CheckedTarget : public TestTarget {
public:
    CheckedTarget() : TestTarget("A", DtFomTypeHla13) {}

    const char* failing = "";
    bool unresolved = false;

#define NOTED_CHECK(function)                                                  \
    bool function(DtString& report) override {                                 \
        report += #function "\n";                                              \
        unresolvedReferences_ |= unresolved;                                   \
        return TestTarget::function(report) && DtString(failing) != #function; \
    }
    NOTED_CHECK(resolveObjectModelIdentification)
    NOTED_CHECK(resolveObjectClasses)
    NOTED_CHECK(resolveInteractionClasses)
    NOTED_CHECK(resolveAttributes)
    NOTED_CHECK(resolveParameters)
    NOTED_CHECK(resolveDimensions)
    NOTED_CHECK(resolveTimeRepresentations)
    NOTED_CHECK(resolveUserSuppliedTags)
    NOTED_CHECK(resolveSynchronizationPoints)
    NOTED_CHECK(resolveTransportationTypes)
    NOTED_CHECK(resolveUpdateRates)
    NOTED_CHECK(resolveSwitches)
    NOTED_CHECK(resolveDatatypes)
    NOTED_CHECK(resolveNotes)
    NOTED_CHECK(resolveServiceUsage)
};

TEST(FedTargetCheckTest, RunsEveryCheckInOrderThoughOneFails) {
    const std::string all =
        "> resolveObjectModelIdentification\nresolveDimensions\nresolveTimeRepresentations\n"
        "resolveUserSuppliedTags\nresolveSynchronizationPoints\nresolveTransportationTypes\n"
        "resolveUpdateRates\nresolveSwitches\nresolveDatatypes\nresolveNotes\nresolveServiceUsage\n"
        "resolveObjectClasses\nresolveAttributes\nresolveInteractionClasses\nresolveParameters\n";
    std::vector<DtString> names;
    DtString(all.substr(2)).tokenize('\n', names);
    ASSERT_EQ(names.size(), 15u);
    CheckedTarget target;
    EXPECT_EQ(checked(target, 21), all);
    for (const DtString& name : names) {
        target.failing = name;
        EXPECT_EQ(checked(target, 3), all);
    }
}

TEST(FedTargetCheckTest, TellsUnresolvedReferencesFromOtherFailures) {
    CheckedTarget target;
    target.unresolved = true;
    checked(target, 21);
    target.failing = "resolveParameters";
    checked(target, 20);
    target.unresolved = false;  // the flag of the check before does not linger
    checked(target, 3);
}

}  // namespace
}  // namespace OrynRti::Tests
