#include <gtest/gtest.h>

#include "FedTarget.h"
#include "fom/TestTarget.h"

namespace OrynRti::Tests {
namespace {

TEST(FedTargetTest, ATableOwnsOneRowOfEachName) {
    TestTarget target("A");
    target.addTime(nullptr);
    DtTimeType* held = fresh(timeType("Stamp", "a"));
    target.addTime(held);
    target.addTime(fresh(timeType("Stamp", "b")));
    ASSERT_EQ(target.numTimeTypes(), 1u);
    EXPECT_EQ(target.timeTypes().begin()->get(), held);
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
}

TEST(FedTargetTest, TheFirstIdentificationNamesTheModel) {
    TestTarget target("A");
    target.addModelIdentification("B");
    EXPECT_EQ(target.identification(), "A");
    EXPECT_TRUE(target.knownModelIdentification("B"));
    EXPECT_TRUE(target.modelIdentificationSame(TestTarget("A")));
}

TEST(FedTargetTest, KeepsUnresolvedReferencesUntilTheyAreRemoved) {
    TestTarget target("A");
    target.addUnresolvedAttributeDimension("C", "a", "d");
    target.addUnresolvedAttributeDimension("C", "b", "d");
    target.removeUnresolvedAttributeDimension("C", "a", "x");
    target.removeUnresolvedAttributeDimension("X", "a", "d");
    EXPECT_EQ(target.unresolvedAttributeDimensions().at("C").size(), 2u);
    target.removeUnresolvedAttributeDimension("C", "a", "d");
    EXPECT_EQ(target.unresolvedAttributeDimensions().at("C").count({"b", "d"}), 1u);
    target.removeUnresolvedAttributeDimension("C", "b", "d");
    EXPECT_TRUE(target.unresolvedAttributeDimensions().empty());

    DtString cleared;
    clearOnHeap(cleared);
    target.addUnresolvedClassDimension("C", "d");
    target.addUnresolvedClassDimension(cleared, cleared);
    target.removeUnresolvedClassDimension("", "");
    EXPECT_EQ(target.unresolvedClassDimensions().size(), 1u);
    EXPECT_EQ(target.unresolvedClassDimensions().at("C").count("d"), 1u);
}

TEST(FedTargetTest, ComparesTextsWithoutTheirWhiteSpace) {
    const TestTarget target("A");
    EXPECT_TRUE(target.checkStringsIgnoringWhiteSpaceAndNewline(" a\tb\r\nc ", "abc"));
    EXPECT_FALSE(target.checkStringsIgnoringWhiteSpaceAndNewline("a b", "a\vb"));
    EXPECT_FALSE(target.checkStringsIgnoringWhiteSpaceAndNewline("ab", "Ab"));
}

}  // namespace
}  // namespace OrynRti::Tests
