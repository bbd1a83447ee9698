#include <gtest/gtest.h>
#include <string>
#include <tuple>

#include "FedTarget.h"
#include "fom/TestTarget.h"
#include "support/Notifications.h"

namespace OrynRti::Tests {
namespace {

/// A target that keeps a list of the steps of a merge that a derived target adds.
class TracingTarget : public TestTarget {
public:
    using TestTarget::TestTarget;

    std::string steps;
    DtMergeFomStatus_enum spaces = DtMergeFomSuccess;

    DtMergeFomStatus_enum mergeSpaces(const DtFedTarget&) override {
        steps += merging_ ? "spaces " : "spaces outside ";
        return spaces;
    }
    DtMergeFomStatus_enum mergeObjectClasses(const DtFedTarget&) override {
        steps += "objects ";
        return DtMergeFomSuccess;
    }
    bool merging() const { return merging_; }
};

/// One row, or statement, in every table of the library. The rows of two targets filled with a
/// different `variant` conflict where their kind can.
TestTarget filled(const char* identification, int variant) {
    TestTarget target(identification);
    const DtString text(variant);
    target.addTime(fresh(timeType("Stamp", text)));
    target.addSwitch("autoProvide", variant == 1);
    target.addUpdateRate(fresh(updateRate("Low", static_cast<float>(variant))));
    target.addTransportType(fresh(transportation("Fast", variant == 1)));
    target.addUserSuppliedTag(fresh(DtUserSuppliedTagsType{"Tag", text, ""}));
    target.addBasicDataRepresentation(fresh(DtBasicDataRepresentationType{"B", 8, text, 0, ""}));
    target.addSimpleDataType(fresh(DtSimpleDatatypeType{"S", text, "", "", "", ""}));
    target.addEnumeratedDataType(fresh(DtEnumeratedDatatypeType{"E", text, {}, ""}));
    target.addArrayDataType(fresh(DtArrayDatatypeType{"A", text, "", "", ""}));
    target.addFixedRecordDataType(fresh(DtFixedRecordDatatypeType{"F", text, "", {}}));
    target.addVariantRecordDataType(fresh(DtVariantRecordDatatypeType{"V", text, "", {}, "", ""}));
    target.addSyncPoint(fresh(DtSynchronizationPointsType{"Point", text, 0, ""}));
    target.addNote(fresh(DtNotesType{"Note", text}));
    target.addUnresolvedAttributeDimension("C", "a" + text, "d");
    target.addUnresolvedAttributeTransportation("C", "a" + text, "t");
    target.addUnresolvedClassDimension("C", "d" + text);
    target.addUnresolvedInteractionTransportation("I", "t" + text);
    return target;
}

/// The number of rows in each table, in the order in which they merge.
auto counts(const DtFedTarget& t) {
    return std::make_tuple(t.numTimeTypes(), t.numSwitches(), t.numUpdateRates(), t.numTransports(),
                           t.numUserSuppliedTags(), t.basicDataRepresentations().size(),
                           t.simpleDataTypes().size(), t.enumeratedDataTypes().size(),
                           t.arrayDataTypes().size(), t.fixedRecordDataTypes().size(),
                           t.variantRecordDataTypes().size(), t.numSyncPoints(), t.numNotes());
}

const auto theCountsOfOneEach =
    std::make_tuple(1ul, 1ul, 1ul, 1ul, 1ul, 1ul, 1ul, 1ul, 1ul, 1ul, 1ul, 1ul, 1ul);

TEST(FedTargetMergeTest, FillsEveryTableThenTakesTheStepsOfADerivedTarget) {
    TracingTarget target("A");
    EXPECT_EQ(target.mergeTarget(filled("B", 1), true), DtMergeFomSuccess);
    EXPECT_EQ(counts(target), theCountsOfOneEach);
    EXPECT_STREQ((*target.notes().begin())->semantics, "1");  // the source is gone
    EXPECT_EQ(target.identification(), "A + B");
    EXPECT_EQ(target.steps, "spaces objects ");
    EXPECT_FALSE(target.merging());

    target.spaces = DtMergeFomStatus_enum(16);
    EXPECT_EQ(target.mergeTarget(TestTarget("C"), true), 16);
    EXPECT_EQ(target.steps, "spaces objects spaces ");
    EXPECT_EQ(target.identification(), "A + B");
}

TEST(FedTargetMergeTest, EveryTableThatCanConflictHasItsStatus) {
    const struct {
        std::uint64_t table;
        int status;
        const char* error;
    } conflicts[] = {{DtMergeFomTableTime, 9, "B has conflicts in time types: \n\tStamp: 2, \"\""},
                     {DtMergeFomTableUpdateRates, 4, "\tLow: 2, \"\""},
                     {DtMergeFomTableTransportTypes, 5, "\tFast: BestEffort, \"\", \"\""},
                     {DtMergeFomTableUserDefinedTags, 7, "\tTag: 2, \"\""},
                     {DtMergeFomTableSyncPoints, 6, "\tPoint: 2, 0, \"\""},
                     {DtMergeFomTableNotes, 8, "\tNote: \"2\""}};
    for (const auto& conflict : conflicts) {
        TestTarget target = filled("A", 1);
        target.setStrictChecking(true);
        target.setMergeTableMask(conflict.table);
        EXPECT_EQ(target.mergeTarget(filled("B", 2), true), conflict.status);
        EXPECT_EQ(target.error(), conflict.error);
        EXPECT_EQ(counts(target), theCountsOfOneEach);
        EXPECT_EQ(target.unresolvedClassDimensions().at("C").size(), 1u);
    }
}

TEST(FedTargetMergeTest, OnlyATimeConflictFailsWithoutStrictChecking) {
    TestTarget target = filled("A", 1), source = filled("B", 2);
    source.addTransportType(fresh(transportation("New", true)));
    CapturedNotifications notifications(1);
    EXPECT_EQ(target.mergeTarget(source, true), DtMergeFomTimeTypesConflict);
    EXPECT_EQ(notifications.take(), "");
    target.setMergeTableMask(DtMergeFomAllTables & ~std::uint64_t(DtMergeFomTableTime));
    EXPECT_EQ(target.mergeTarget(source, true), DtMergeFomSuccess);
    const std::string switches =
        "Merge Error ignored: Conflicting switch(es) when merging from FOM B during "
        "createFederation\n\tautoProvide: disabled\n";
    // The earlier text stays in front of a single conflict. Datatypes never conflict.
    EXPECT_EQ(notifications.take(),
              switches + "\n" + switches + "\tFast: BestEffort, \"\", \"\"\n");
    EXPECT_EQ(counts(target), theCountsOfOneEach);  // a table with a conflict is left out whole
}

TEST(FedTargetMergeTest, AnEmptyMaskStillUnitesUnresolvedReferences) {
    TestTarget target = filled("A", 1);
    target.setMergeTableMask(0);
    EXPECT_EQ(target.mergeTarget(filled("B", 2), true), DtMergeFomSuccess);
    EXPECT_EQ(counts(target), theCountsOfOneEach);
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

TEST(FedTargetMergeTest, ATargetMergesIntoItselfUnharmed) {
    TestTarget target = filled("A", 1);
    EXPECT_EQ(target.mergeTarget(target, true), DtMergeFomSuccess);
    EXPECT_EQ(target.identification(), "A + A");
    EXPECT_EQ(counts(target), theCountsOfOneEach);
}

TEST(FedTargetMergeTest, TimeTypesMustBeTheSame) {
    TestTarget target("A"), other("D");
    for (const auto& row : {timeType("L", "a"), timeType("S", "b")})
        target.addTime(fresh(row));
    for (const auto& row : {timeType("L", "x"), timeType("T", "b")})
        other.addTime(fresh(row));
    EXPECT_EQ(target.mergeTimeTypes(TestTarget("None")), DtMergeFomSuccess);
    EXPECT_EQ(target.mergeTimeTypes(filled("Fewer", 1)), DtMergeFomTimeTypesConflict);
    EXPECT_EQ(target.error(), "");
    EXPECT_EQ(target.mergeTimeTypes(other), DtMergeFomTimeTypesConflict);
    EXPECT_EQ(target.error(), "D has conflicts in time types: \n\tL: x, \"\"\tT: b, \"\"");
}

}  // namespace
}  // namespace OrynRti::Tests
