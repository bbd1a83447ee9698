#include <gtest/gtest.h>
#include <limits>
#include <set>
#include <string>

#include "FedTarget.h"
#include "FomComponents.h"
#include "fom/TestTarget.h"

namespace OrynRti::Tests {
namespace {

template <typename Row>
std::string textOf(const Row& row) {
    DtString out("> ");
    return row.appendToString(out).stdString();
}

TEST(FomComponentsTest, PrintsEachKindOfRowInItsTextForm) {
    EXPECT_EQ(textOf(DtTimeType{"T", "d", "s"}), "> T: d, \"s\"");
    EXPECT_EQ(textOf(DtUserSuppliedTagsType{"U", "d", "s"}), "> U: d, \"s\"");
    EXPECT_EQ(textOf(DtSynchronizationPointsType{"P", "d", -3, "s"}), "> P: d, -3, \"s\"");
    EXPECT_EQ(textOf(DtTransportationType{"R", "s", true, "d"}), "> R: Reliable, \"d\", \"s\"");
    EXPECT_EQ(textOf(DtTransportationType{"B", "s", false, ""}), "> B: BestEffort, \"\", \"s\"");
    EXPECT_EQ(textOf(DtUpdateRateType{"U", 10.56f, "s"}), "> U: 10.56000041962, \"s\"");
    EXPECT_EQ(textOf(DtBasicDataRepresentationType{"B", 4294967295u, "i", 1, "e"}),
              "> B: 4294967295, 1, \"i\", \"e\"");
    EXPECT_EQ(textOf(DtSimpleDatatypeType{"S", "r", "u", "res", "a", "s"}),
              "> S: \"r\", \"u\", \"res\", \"a\", \"s\"");
    EXPECT_EQ(textOf(DtEnumeratedDatatypeType{"E", "r", {{"one", {"1"}}}, "s"}),
              "> E: \"r\", \"s\"");
    EXPECT_EQ(textOf(DtArrayDatatypeType{"A", "d", "c", "e", "s"}),
              "> A: \"d\", \"c\", \"e\", \"s\"");
    EXPECT_EQ(textOf(DtFixedRecordDatatypeType{"F", "e", "s", {{"x", "d", "s"}}}),
              "> F: \"e\", \"s\"");
    EXPECT_EQ(textOf(DtVariantRecordDatatypeType{"V", "d", "t", {}, "e", "s"}),
              "> V: , \"d\", \"t\", \"e\", \"s\"");
    EXPECT_EQ(textOf(DtNotesType{"N", "100%s\nof it"}), "> N: \"100%s\nof it\"");
}

TEST(FomComponentsTest, IdentityIsTheNameExceptForTimeTypes) {
    EXPECT_TRUE(updateRate("Low", 1) == updateRate("Low", 2));
    EXPECT_FALSE(updateRate("Low", 1) == updateRate("low", 1));
    EXPECT_TRUE(timeType("Stamp", "a") == timeType("Stamp", "a"));
    EXPECT_FALSE(timeType("Stamp", "a") == timeType("Stamp", "b"));
    EXPECT_FALSE((DtTimeType{"Stamp", "a", "s"} == DtTimeType{"Stamp", "a", "t"}));
    // The order knows only the name, so the two cannot stand in one table.
    EXPECT_FALSE(timeType("Stamp", "a") < timeType("Stamp", "b"));
    EXPECT_FALSE(timeType("Stamp", "b") < timeType("Stamp", "a"));
    EXPECT_TRUE(timeType("A", "z") < timeType("B", "a"));
}

template <typename Row>
void expectAgreement(const Row& a, const Row& b, bool always, bool strictly) {
    EXPECT_EQ(a.compareSubcomponents(b, false), always) << textOf(a) << textOf(b);
    EXPECT_EQ(a.compareSubcomponents(b, true), strictly) << textOf(a) << textOf(b);
}

TEST(FomComponentsTest, ComparesTheFieldsThatCountForEachKind) {
    using Transport = DtTransportationType;
    const Transport transport{"T", "s", true, "d"};
    expectAgreement(transport, transport, true, true);
    expectAgreement(transport, Transport{"T", "s", false, "d"}, false, false);
    expectAgreement(transport, Transport{"T", "x", true, "d"}, true, false);
    expectAgreement(transport, Transport{"T", "s", true, "x"}, true, false);

    using Rate = DtUpdateRateType;
    const float notANumber = std::numeric_limits<float>::quiet_NaN();
    expectAgreement(Rate{"R", 1, "s"}, Rate{"R", 1, "s"}, true, true);
    expectAgreement(Rate{"R", 1, "s"}, Rate{"R", 2, "s"}, true, false);
    expectAgreement(Rate{"R", 1, "s"}, Rate{"R", 1, "x"}, true, false);
    expectAgreement(Rate{"R", notANumber, "s"}, Rate{"R", notANumber, "s"}, true, false);

    using Tag = DtUserSuppliedTagsType;
    expectAgreement(Tag{"T", "d", "s"}, Tag{"T", "d", "s"}, true, true);
    expectAgreement(Tag{"T", "d", "s"}, Tag{"T", "x", "s"}, true, false);
    expectAgreement(Tag{"T", "d", "s"}, Tag{"T", "d", "x"}, true, false);

    using Point = DtSynchronizationPointsType;
    expectAgreement(Point{"P", "d", 1, "s"}, Point{"P", "d", 2, "s"}, true, true);
    expectAgreement(Point{"P", "d", 1, "s"}, Point{"P", "x", 1, "s"}, true, false);
    expectAgreement(Point{"P", "d", 1, "s"}, Point{"P", "d", 1, "x"}, true, false);

    expectAgreement(DtNotesType{"N", "a"}, DtNotesType{"N", "a"}, true, true);
    expectAgreement(DtNotesType{"N", "a"}, DtNotesType{"N", "b"}, true, false);
}

TEST(FomComponentsTest, DatatypesAndTimeTypesAlwaysAgree) {
    expectAgreement(DtTimeType{"T", "a", "b"}, DtTimeType{"T", "c", "d"}, true, true);
    expectAgreement(DtBasicDataRepresentationType{"B", 8, "i", 1, "e"},
                    DtBasicDataRepresentationType{"B", 16, "x", 2, "y"}, true, true);
    expectAgreement(DtSimpleDatatypeType{"S", "a", "b", "c", "d", "e"},
                    DtSimpleDatatypeType{"S", "", "", "", "", ""}, true, true);
    expectAgreement(DtEnumeratedDatatypeType{"E", "a", {{"one", {"1"}}}, "b"},
                    DtEnumeratedDatatypeType{"E", "b", {{"one", {"2"}}}, "c"}, true, true);
    expectAgreement(DtArrayDatatypeType{"A", "a", "b", "c", "d"},
                    DtArrayDatatypeType{"A", "d", "c", "b", "a"}, true, true);
    expectAgreement(DtFixedRecordDatatypeType{"F", "a", "b", {{"x", "d", "s"}}},
                    DtFixedRecordDatatypeType{"F", "b", "a", {}}, true, true);
    expectAgreement(DtVariantRecordDatatypeType{"V", "a", "b", {{"e", "n", "d", "s"}}, "c", "d"},
                    DtVariantRecordDatatypeType{"V", "b", "a", {}, "d", "c"}, true, true);
}

TEST(FomComponentsTest, ClearedTextsCountAsEmpty) {
    DtFomTable<DtNotesType> table;
    for (const char* name : {"a", "b", "c"})
        table.insert(std::make_shared<DtNotesType>(named<DtNotesType>(name)));
    const auto cleared = std::make_shared<DtNotesType>();
    clearOnHeap(cleared->name);
    clearOnHeap(cleared->semantics);

    EXPECT_TRUE(table.insert(cleared).second);
    EXPECT_EQ(*table.begin(), cleared);
    EXPECT_EQ(table.count(named<DtNotesType>("")), 1u);
    EXPECT_EQ(table.count(named<DtNotesType>("b")), 1u);
    EXPECT_TRUE(cleared->compareSubcomponents(DtNotesType(), true));
    EXPECT_EQ(textOf(*cleared), "> : \"\"");
}

TEST(FomComponentsTest, NamesResignActionsAndTables) {
    EXPECT_STREQ(DtFedTarget::enumAsString(DtCancelPendingOwnershipAcquitions),
                 "CancelPendingOwnershipAcquitions");
    EXPECT_STREQ(DtFedTarget::enumAsString(DtDeleteObjectsThanDivest), "DeleteObjectsThanDivest");
    EXPECT_STREQ(DtFedTarget::enumAsString(DtResignAction(6)), "unknown");
    EXPECT_STREQ(DtFedTarget::enumAsString(DtResignAction(-1)), "unknown");

    std::set<std::string> names;
    for (std::uint64_t bit = 1; bit <= DtMergeFomTableNotes; bit <<= 1)
        names.insert(DtFedTarget::enumAsString(DtMergeFomTableMask(bit)).stdString());
    EXPECT_EQ(names.size(), 19u);
    EXPECT_EQ(names.count("Unknown"), 0u);
    EXPECT_STREQ(DtFedTarget::enumAsString(DtMergeFomTableBasicDataRepType), "BasicDataRepType");
    for (std::uint64_t other : {std::uint64_t(0), std::uint64_t(3), std::uint64_t(0x80000),
                                DtMergeFomAllTables, ~std::uint64_t(0)})
        EXPECT_STREQ(DtFedTarget::enumAsString(DtMergeFomTableMask(other)), "Unknown") << other;
}

}  // namespace
}  // namespace OrynRti::Tests
