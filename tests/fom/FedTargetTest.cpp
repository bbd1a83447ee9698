#include <gtest/gtest.h>

#include "FedTarget.h"
#include "fom/TestTarget.h"

namespace OrynRti::Tests {
namespace {

TEST(FedTargetTest, StartsUnknownLenientAndWithEveryTableEnabled) {
    const DtFedTarget& target = TestTarget("A", DtFomTypeUnknown);
    EXPECT_EQ(target.fomType(), DtFomTypeUnknown);
    EXPECT_FALSE(target.isStrictChecking());
    EXPECT_FALSE(target.isAutomaticResignActionExplicit());
    EXPECT_EQ(target.automaticResignAction(), DtCancelThenDeleteThenDivest);
    for (std::uint64_t bit = 1; bit <= DtMergeFomTableNotes; bit <<= 1)
        EXPECT_TRUE(target.fomTableMergeEnabled(bit)) << bit;
    EXPECT_FALSE(target.fomTableMergeEnabled(DtMergeFomTableUnknown));
}

template <typename Row>
void expectOneOfEachName(void (DtFedTarget::*add)(Row*),
                         bool (DtFedTarget::*known)(const Row&) const,
                         const DtFomTable<Row>& (DtFedTarget::*table)() const) {
    TestTarget target("A");
    const Row row = named<Row>("row");
    EXPECT_FALSE((target.*known)(row));
    (target.*add)(nullptr);
    Row* held = fresh(row);
    (target.*add)(held);
    (target.*add)(fresh(row));
    ASSERT_EQ((target.*table)().size(), 1u);
    EXPECT_EQ((target.*table)().begin()->get(), held);
    EXPECT_TRUE((target.*known)(row));
    EXPECT_FALSE((target.*known)(named<Row>("other")));
}

TEST(FedTargetTest, HoldsOneRowOfEachNameInEveryTable) {
    using T = DtFedTarget;
    expectOneOfEachName(&T::addUpdateRate, &T::knownUpdateRate, &T::updateRates);
    expectOneOfEachName(&T::addSyncPoint, &T::knownSyncPoint, &T::syncPoints);
    expectOneOfEachName(&T::addTransportType, &T::knownTransportType, &T::transportTypes);
    expectOneOfEachName(&T::addUserSuppliedTag, &T::knownUserSuppliedTag, &T::userSuppliedTags);
    expectOneOfEachName(&T::addNote, &T::knownNote, &T::notes);
    expectOneOfEachName(&T::addTime, &T::knownTime, &T::timeTypes);
    expectOneOfEachName(&T::addBasicDataRepresentation, &T::knownBasicDataRepresentation,
                        &T::basicDataRepresentations);
    expectOneOfEachName(&T::addSimpleDataType, &T::knownSimpleDatatype, &T::simpleDataTypes);
    expectOneOfEachName(&T::addEnumeratedDataType, &T::knownEnumeratedDatatype,
                        &T::enumeratedDataTypes);
    expectOneOfEachName(&T::addArrayDataType, &T::knownArrayDatatype, &T::arrayDataTypes);
    expectOneOfEachName(&T::addFixedRecordDataType, &T::knownFixedRecordDatatype,
                        &T::fixedRecordDataTypes);
    expectOneOfEachName(&T::addVariantRecordDataType, &T::knownVariantRecordDatatype,
                        &T::variantRecordDataTypes);
}

TEST(FedTargetTest, DropsASecondTimeTypeOfTheSameName) {
    TestTarget target("A");
    target.addTime(fresh(timeType("Stamp", "a")));
    target.addTime(fresh(timeType("Stamp", "b")));
    EXPECT_EQ(target.numTimeTypes(), 1u);
    EXPECT_TRUE(target.knownTime(timeType("Stamp", "a")));
    EXPECT_FALSE(target.knownTime(timeType("Stamp", "b")));
}

TEST(FedTargetTest, TellsTheTransportTypeOfATransportation) {
    TestTarget target("A");
    target.addTransportType(fresh(transportation("R", true)));
    target.addTransportType(fresh(transportation("B", false)));
    EXPECT_EQ(target.transportTypeFromTransportation("R"), 1u);
    EXPECT_EQ(target.transportTypeFromTransportation("B"), 0u);
    EXPECT_EQ(target.transportTypeFromTransportation("X"), 4294967295u);

    DtTransportationType described = transportation("R", true);
    described.description = "told";
    EXPECT_TRUE(target.transportTypeConsistencyTest(described));
    EXPECT_FALSE(target.transportTypeConsistencyTest(transportation("B", true)));
    target.setStrictChecking(true);
    EXPECT_FALSE(target.transportTypeConsistencyTest(described));
}

TEST(FedTargetTest, TheFirstIdentificationNamesTheModel) {
    TestTarget target("A");
    target.addModelIdentification("B");
    EXPECT_EQ(target.identification(), "A");
    EXPECT_TRUE(target.knownModelIdentification("A"));
    EXPECT_TRUE(target.knownModelIdentification("B"));
    DtString cleared;
    clearOnHeap(cleared);
    EXPECT_FALSE(target.knownModelIdentification(cleared));
    EXPECT_TRUE(target.modelIdentificationSame(TestTarget("A")));
    EXPECT_FALSE(target.modelIdentificationSame(TestTarget("B")));
}

TEST(FedTargetTest, KeepsUnresolvedReferencesUntilTheyAreRemoved) {
    TestTarget target("A");
    target.addUnresolvedAttributeDimension("C", "a", "d");
    target.addUnresolvedAttributeDimension("C", "b", "d");
    target.addUnresolvedAttributeDimension("C", "b", "d");
    EXPECT_EQ(target.unresolvedAttributeDimensions().at("C").size(), 2u);
    target.removeUnresolvedAttributeDimension("C", "a", "x");
    target.removeUnresolvedAttributeDimension("X", "a", "d");
    target.removeUnresolvedAttributeDimension("C", "a", "d");
    EXPECT_EQ(target.unresolvedAttributeDimensions().at("C").count({"b", "d"}), 1u);
    target.removeUnresolvedAttributeDimension("C", "b", "d");
    EXPECT_TRUE(target.unresolvedAttributeDimensions().empty());

    target.addUnresolvedAttributeTransportation("C", "a", "t");
    EXPECT_EQ(target.unresolvedAttributeTransportations().at("C").count({"a", "t"}), 1u);
    target.removeUnresolvedAttributeTransportation("C", "a", "t");
    EXPECT_TRUE(target.unresolvedAttributeTransportations().empty());

    DtString cleared;
    clearOnHeap(cleared);
    target.addUnresolvedClassDimension("C", "d");
    target.addUnresolvedClassDimension(cleared, cleared);
    EXPECT_EQ(target.unresolvedClassDimensions().size(), 2u);
    target.removeUnresolvedClassDimension("", "");
    EXPECT_EQ(target.unresolvedClassDimensions().at("C").count("d"), 1u);
    target.removeUnresolvedClassDimension("C", "d");
    EXPECT_TRUE(target.unresolvedClassDimensions().empty());

    target.addUnresolvedInteractionTransportation("I", "t");
    EXPECT_EQ(target.unresolvedInteractionTransportations().at("I").count("t"), 1u);
    target.removeUnresolvedInteractionTransportation("I", "t");
    EXPECT_TRUE(target.unresolvedInteractionTransportations().empty());
}

TEST(FedTargetTest, ComparesTextsWithoutTheirWhiteSpace) {
    const TestTarget target("A");
    EXPECT_TRUE(target.checkStringsIgnoringWhiteSpaceAndNewline(" a\tb\r\nc ", "abc"));
    EXPECT_TRUE(target.checkStringsIgnoringWhiteSpaceAndNewline("", " \n"));
    EXPECT_FALSE(target.checkStringsIgnoringWhiteSpaceAndNewline("a b", "a\vb"));
    EXPECT_FALSE(target.checkStringsIgnoringWhiteSpaceAndNewline("ab", "Ab"));
}

TEST(FedTargetTest, CopiesShareRowsAndGoTheirOwnWay) {
    TestTarget target("A");
    target.addNote(fresh(named<DtNotesType>("N")));
    TestTarget copy(target);
    copy.addNote(fresh(named<DtNotesType>("O")));
    EXPECT_EQ(*copy.notes().begin(), *target.notes().begin());
    EXPECT_EQ(target.numNotes(), 1u);
    copy.fomDependencies().push_back("B");
    EXPECT_TRUE(target.fomDependencies().empty());
}

}  // namespace
}  // namespace OrynRti::Tests
