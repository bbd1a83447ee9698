#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

#include "FedTarget.h"
#include "fom/TestTarget.h"
#include "support/Notifications.h"

namespace OrynRti::Tests {
namespace {

/// A target that keeps a list of the steps of a merge that derived targets can see.
class TracingTarget : public TestTarget {
public:
    using TestTarget::TestTarget;

    std::string steps;
    DtMergeFomStatus_enum spaces = DtMergeFomSuccess;

    DtMergeFomStatus_enum mergeTimeTypes(const DtFedTarget& source) override {
        steps += merging_ ? "time " : "outside ";
        return TestTarget::mergeTimeTypes(source);
    }
    DtMergeFomStatus_enum mergeSwitches(const DtFedTarget& source, bool create) override {
        steps += "switches ";
        return TestTarget::mergeSwitches(source, create);
    }
    DtMergeFomStatus_enum mergeTransportTypes(const DtFedTarget& source) override {
        steps += "transports ";
        return TestTarget::mergeTransportTypes(source);
    }
    DtMergeFomStatus_enum mergeSpaces(const DtFedTarget&) override {
        steps += "spaces ";
        return spaces;
    }
    DtMergeFomStatus_enum mergeObjectClasses(const DtFedTarget&) override {
        steps += "objects ";
        return DtMergeFomSuccess;
    }
    DtMergeFomStatus_enum mergeInteractionClasses(const DtFedTarget&) override {
        steps += "interactions ";
        return DtMergeFomSuccess;
    }
    bool merging() const { return merging_; }
};

/// One row, or statement, in every table of the library. The rows of two targets filled with a
/// different `variant` conflict where their kind can.
void fill(DtFedTarget& target, int variant) {
    const DtString text(variant);
    target.addTime(fresh(timeType("Stamp", text)));
    target.addSwitch("autoProvide", variant == 1);
    target.addUpdateRate(fresh(updateRate("Low", static_cast<float>(variant))));
    target.addTransportType(fresh(transportation("Fast", variant == 1)));
    target.addUserSuppliedTag(fresh(DtUserSuppliedTagsType{"Tag", text, ""}));
    target.addBasicDataRepresentation(fresh(named<DtBasicDataRepresentationType>("Basic" + text)));
    target.addSimpleDataType(fresh(named<DtSimpleDatatypeType>("Simple" + text)));
    target.addEnumeratedDataType(fresh(named<DtEnumeratedDatatypeType>("Enumerated" + text)));
    target.addArrayDataType(fresh(named<DtArrayDatatypeType>("Array" + text)));
    target.addFixedRecordDataType(fresh(named<DtFixedRecordDatatypeType>("Fixed" + text)));
    target.addVariantRecordDataType(fresh(named<DtVariantRecordDatatypeType>("Variant" + text)));
    target.addSyncPoint(fresh(DtSynchronizationPointsType{"Point", text, 0, ""}));
    target.addNote(fresh(DtNotesType{"Note", text}));
    target.addUnresolvedAttributeDimension("C", "a" + text, "d");
    target.addUnresolvedAttributeTransportation("C", "a" + text, "t");
    target.addUnresolvedClassDimension("C", "d" + text);
    target.addUnresolvedInteractionTransportation("I", "t" + text);
}

TestTarget filled(const char* identification, int variant) {
    TestTarget target(identification);
    fill(target, variant);
    return target;
}

/// The number of rows in each table, in the order in which they merge.
std::vector<std::size_t> counts(const DtFedTarget& t) {
    return {t.numTimeTypes(),
            t.numSwitches(),
            t.numUpdateRates(),
            t.numTransports(),
            t.numUserSuppliedTags(),
            t.basicDataRepresentations().size(),
            t.simpleDataTypes().size(),
            t.enumeratedDataTypes().size(),
            t.arrayDataTypes().size(),
            t.fixedRecordDataTypes().size(),
            t.variantRecordDataTypes().size(),
            t.numSyncPoints(),
            t.numNotes()};
}

TEST(FedTargetMergeTest, FillsAnEmptyTargetFromEveryTable) {
    TracingTarget target("A");
    {
        const TestTarget source = filled("B", 1);
        EXPECT_EQ(target.mergeTarget(source, true), DtMergeFomSuccess);
    }
    EXPECT_EQ(counts(target), std::vector<std::size_t>(13, 1));
    EXPECT_STREQ((*target.notes().begin())->semantics, "1");  // the source is gone
    EXPECT_EQ(target.identification(), "A + B");
    EXPECT_EQ(target.steps, "time switches transports spaces objects interactions ");
    EXPECT_FALSE(target.merging());

    TracingTarget fresh("");
    EXPECT_EQ(fresh.mergeTarget(TestTarget("A"), true), DtMergeFomSuccess);
    EXPECT_EQ(fresh.identification(), " + A");
}

struct Conflict {
    std::uint64_t table;
    int status;
    const char* error;
};

TEST(FedTargetMergeTest, EveryTableThatCanConflictHasItsStatus) {
    const Conflict conflicts[] = {
        {DtMergeFomTableTime, 9, "B has conflicts in time types: \n\tStamp: 2, \"\""},
        {DtMergeFomTableSwitches, 1,
         "Conflicting switch(es) when merging from FOM B during createFederation\n"
         "\tautoProvide: disabled\n"},
        {DtMergeFomTableUpdateRates, 4, "\tLow: 2, \"\""},
        {DtMergeFomTableTransportTypes, 5, "\tFast: BestEffort, \"\", \"\""},
        {DtMergeFomTableUserDefinedTags, 7, "\tTag: 2, \"\""},
        {DtMergeFomTableSyncPoints, 6, "\tPoint: 2, 0, \"\""},
        {DtMergeFomTableNotes, 8, "\tNote: \"2\""}};
    for (const Conflict& conflict : conflicts) {
        TracingTarget target("A");
        fill(target, 1);
        target.setStrictChecking(true);
        target.setMergeTableMask(conflict.table | DtMergeFomTableObjectClass);
        EXPECT_EQ(target.mergeTarget(filled("B", 2), true), conflict.status);
        EXPECT_EQ(target.error(), conflict.error);
        EXPECT_EQ(counts(target), std::vector<std::size_t>(13, 1));
        EXPECT_EQ(target.steps.find("objects"), std::string::npos);
        EXPECT_EQ(target.identification(), "A");
        EXPECT_EQ(target.unresolvedClassDimensions().at("C").size(), 1u);
        EXPECT_FALSE(target.merging());
    }
}

TEST(FedTargetMergeTest, DatatypesOfBothSidesAreKept) {
    TestTarget target = filled("A", 1);
    target.setStrictChecking(true);
    target.setMergeTableMask(0x1F800);
    EXPECT_EQ(target.mergeTarget(filled("B", 2), true), DtMergeFomSuccess);
    EXPECT_EQ(counts(target), (std::vector<std::size_t>{1, 1, 1, 1, 1, 2, 2, 2, 2, 2, 2, 1, 1}));
}

TEST(FedTargetMergeTest, OnlyATimeConflictFailsWithoutStrictChecking) {
    TestTarget target = filled("A", 1);
    CapturedNotifications notifications(1);
    EXPECT_EQ(target.mergeTarget(filled("B", 2), true), DtMergeFomTimeTypesConflict);
    EXPECT_EQ(notifications.take(), "");
    target.setMergeTableMask(DtMergeFomAllTables & ~std::uint64_t(DtMergeFomTableTime));
    EXPECT_EQ(target.mergeTarget(filled("B", 2), true), DtMergeFomSuccess);
    EXPECT_EQ(notifications.take(),
              "Merge Error ignored: Conflicting switch(es) when merging from FOM B during "
              "createFederation\n\tautoProvide: disabled\n\n"
              // The earlier text stays in front of a single conflict.
              "Merge Error ignored: Conflicting switch(es) when merging from FOM B during "
              "createFederation\n\tautoProvide: disabled\n\tFast: BestEffort, \"\", \"\"\n");
}

TEST(FedTargetMergeTest, AnEmptyMaskStillUnitesUnresolvedReferences) {
    TracingTarget target("A");
    fill(target, 1);
    target.setMergeTableMask(0);
    EXPECT_EQ(target.mergeTarget(filled("B", 2), true), DtMergeFomSuccess);
    EXPECT_EQ(target.steps, "");
    EXPECT_EQ(target.identification(), "A + B");
    EXPECT_EQ(counts(target), std::vector<std::size_t>(13, 1));
    EXPECT_EQ(target.unresolvedAttributeDimensions().at("C").size(), 2u);
    EXPECT_EQ(target.unresolvedAttributeTransportations().at("C").size(), 2u);
    EXPECT_EQ(target.unresolvedClassDimensions().at("C").size(), 2u);
    EXPECT_EQ(target.unresolvedInteractionTransportations().at("I").size(), 2u);
}

TEST(FedTargetMergeTest, UserSuppliedTagsMergeInTheirTwoTypesOnly) {
    for (int type = 0; type <= 5; ++type) {
        TestTarget target("A", DtFomType(type));
        target.mergeTarget(filled("B", 1), true);
        EXPECT_EQ(target.numUserSuppliedTags(), type == 3 || type == 4 ? 1u : 0u) << type;
    }
}

TEST(FedTargetMergeTest, KeepsTheStatusOfADerivedStep) {
    TracingTarget target("A");
    target.spaces = DtMergeFomStatus_enum(16);
    EXPECT_EQ(target.mergeTarget(TestTarget("B"), true), 16);
    EXPECT_EQ(target.steps, "time switches transports spaces ");
    EXPECT_EQ(target.identification(), "A");
}

TEST(FedTargetMergeTest, ATargetMergesIntoItselfUnharmed) {
    TestTarget target = filled("A", 1);
    target.setStrictChecking(true);
    EXPECT_EQ(target.mergeTarget(target, true), DtMergeFomSuccess);
    EXPECT_EQ(target.identification(), "A + A");
    EXPECT_EQ(counts(target), std::vector<std::size_t>(13, 1));
    EXPECT_EQ(target.unresolvedClassDimensions().at("C").size(), 1u);
}

TEST(FedTargetMergeTest, TimeTypesAreTakenOverOrCompared) {
    TestTarget source("B"), target("A");
    source.addTime(fresh(timeType("L", "a")));
    source.addTime(fresh(timeType("S", "b")));
    EXPECT_EQ(target.mergeTimeTypes(source), DtMergeFomSuccess);
    EXPECT_EQ(target.timeTypes(), source.timeTypes());
    EXPECT_EQ(target.mergeTimeTypes(source), DtMergeFomSuccess);
    EXPECT_EQ(target.mergeTimeTypes(TestTarget("None")), DtMergeFomSuccess);
    EXPECT_EQ(target.numTimeTypes(), 2u);

    TestTarget fewer("C");
    fewer.addTime(fresh(timeType("L", "x")));
    EXPECT_EQ(target.mergeTimeTypes(fewer), DtMergeFomTimeTypesConflict);
    EXPECT_EQ(target.error(), "");

    TestTarget other("D");
    other.addTime(fresh(timeType("L", "x")));
    other.addTime(fresh(timeType("T", "b")));
    EXPECT_EQ(target.mergeTimeTypes(other), DtMergeFomTimeTypesConflict);
    EXPECT_EQ(target.error(), "D has conflicts in time types: \n\tL: x, \"\"\tT: b, \"\"");
    EXPECT_EQ(target.timeTypes(), source.timeTypes());
}

}  // namespace
}  // namespace OrynRti::Tests
