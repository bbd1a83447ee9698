#include <gtest/gtest.h>
#include <limits>
#include <string>

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
    EXPECT_EQ(textOf(DtVariantRecordDatatypeType{"V", "d", "t", {}, "e", "s"}),
              "> V: , \"d\", \"t\", \"e\", \"s\"");
    EXPECT_EQ(textOf(DtNotesType{"N", "100%s\nof it"}), "> N: \"100%s\nof it\"");
}

TEST(FomComponentsTest, IdentityIsTheNameExceptForTimeTypes) {
    EXPECT_TRUE(updateRate("Low", 1) == updateRate("Low", 2));
    EXPECT_FALSE(timeType("Stamp", "a") == timeType("Stamp", "b"));
    EXPECT_FALSE((DtTimeType{"Stamp", "a", "s"} == DtTimeType{"Stamp", "a", "t"}));
    // The order knows only the name, so the two cannot stand in one table.
    EXPECT_FALSE(timeType("Stamp", "a") < timeType("Stamp", "b"));
}

/// Whether rows agree "always", "leniently" (without strict checking only) or "never".
template <typename Row>
std::string agreement(const Row& a, const Row& b) {
    if (a.compareSubcomponents(b, true))
        return "always";
    return a.compareSubcomponents(b, false) ? "leniently" : "never";
}

TEST(FomComponentsTest, ComparesTheFieldsThatCountForEachKind) {
    using Transport = DtTransportationType;
    const Transport transport{"T", "s", true, "d"};
    EXPECT_EQ(agreement(transport, Transport{"T", "s", false, "d"}), "never");
    EXPECT_EQ(agreement(transport, Transport{"T", "x", true, "d"}), "leniently");
    EXPECT_EQ(agreement(transport, Transport{"T", "s", true, "x"}), "leniently");

    using Rate = DtUpdateRateType;
    const float notANumber = std::numeric_limits<float>::quiet_NaN();
    EXPECT_EQ(agreement(Rate{"R", 1, "s"}, Rate{"R", 2, "s"}), "leniently");
    EXPECT_EQ(agreement(Rate{"R", 1, "s"}, Rate{"R", 1, "x"}), "leniently");
    EXPECT_EQ(agreement(Rate{"R", notANumber, "s"}, Rate{"R", notANumber, "s"}), "leniently");

    using Tag = DtUserSuppliedTagsType;
    EXPECT_EQ(agreement(Tag{"T", "d", "s"}, Tag{"T", "d", "s"}), "always");
    EXPECT_EQ(agreement(Tag{"T", "d", "s"}, Tag{"T", "x", "s"}), "leniently");
    EXPECT_EQ(agreement(Tag{"T", "d", "s"}, Tag{"T", "d", "x"}), "leniently");

    using Point = DtSynchronizationPointsType;
    EXPECT_EQ(agreement(Point{"P", "d", 1, "s"}, Point{"P", "d", 2, "s"}), "always");
    EXPECT_EQ(agreement(Point{"P", "d", 1, "s"}, Point{"P", "x", 1, "s"}), "leniently");
    EXPECT_EQ(agreement(DtNotesType{"N", "a"}, DtNotesType{"N", "b"}), "leniently");
}

TEST(FomComponentsTest, ClearedTextsCountAsEmpty) {
    DtFomTable<DtNotesType> table{std::make_shared<DtNotesType>(DtNotesType{"a", ""})};
    const auto cleared = std::make_shared<DtNotesType>();
    clearOnHeap(cleared->name);
    clearOnHeap(cleared->semantics);

    table.insert(cleared);
    EXPECT_EQ(*table.begin(), cleared);
    EXPECT_EQ(table.count(DtNotesType{"", ""}), 1u);
    EXPECT_TRUE(cleared->compareSubcomponents(DtNotesType(), true));
    EXPECT_EQ(textOf(*cleared), "> : \"\"");
}

}  // namespace
}  // namespace OrynRti::Tests
