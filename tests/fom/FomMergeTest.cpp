#include <gtest/gtest.h>
#include <initializer_list>
#include <string>

#include "FomMerge.h"
#include "fom/TestTarget.h"
#include "support/Notifications.h"

namespace OrynRti::Tests {
namespace {

using Rates = DtFomTable<DtUpdateRateType>;

Rates ratesOf(std::initializer_list<DtUpdateRateType> rows) {
    Rates table;
    for (const DtUpdateRateType& row : rows)
        table.insert(std::make_shared<DtUpdateRateType>(row));
    return table;
}

/// A merge of update rates into `held` with a last-error text, strictly.
struct RateMerge {
    Rates held;
    DtString error = "before|";

    DtMergeFomStatus_enum run(const Rates& incoming) {
        return mergeComponent(incoming, held, "Air%s", "Update Rates", error,
                              DtMergeFomUpdateRatesConflict, true);
    }
};

TEST(FomMergeTest, UnitesTablesAndSharesTheRows) {
    RateMerge merge{ratesOf({updateRate("B", 1), updateRate("D", 1)})};
    const Rates before = merge.held;
    const Rates incoming = ratesOf({updateRate("A", 2), updateRate("B", 1), updateRate("E", 2)});
    EXPECT_EQ(merge.run(incoming), DtMergeFomSuccess);

    const Rates expected{*incoming.begin(), *before.begin(), *before.rbegin(), *incoming.rbegin()};
    EXPECT_EQ(merge.held, expected);
    EXPECT_EQ(merge.run({}), DtMergeFomSuccess);
    EXPECT_EQ(merge.held, expected);
    EXPECT_STREQ(merge.error, "before|");
}

TEST(FomMergeTest, FindsThePlaceOfEachRowInTablesOfAnyShape) {
    const auto numbered = [](int first, int count, int step) {
        Rates table;
        for (int i = 0; i < count; ++i)
            table.insert(std::make_shared<DtUpdateRateType>(
                updateRate(std::to_string(1000 + first + i * step).c_str(), 1)));
        return table;
    };
    const Rates tables[] = {numbered(0, 100, 1),  numbered(0, 50, 2), numbered(5, 7, 13),
                            numbered(99, 20, 10), numbered(60, 1, 1), {}};
    for (const Rates& held : tables)
        for (const Rates& incoming : tables) {
            RateMerge merge{held};
            EXPECT_EQ(merge.run(incoming), DtMergeFomSuccess);
            Rates expected = held;
            expected.insert(incoming.begin(), incoming.end());
            EXPECT_EQ(merge.held, expected);
        }
}

TEST(FomMergeTest, AStrictConflictRefusesTheWholeTable) {
    const Rates held = ratesOf({updateRate("B", 1)});
    const Rates incoming = ratesOf({updateRate("A", 1), updateRate("B", 2)});
    RateMerge merge{held};
    CapturedNotifications notifications;
    EXPECT_EQ(merge.run(incoming), 4);
    EXPECT_EQ(merge.held, held);
    EXPECT_STREQ(merge.error, "before|\tB: 2, \"\"");
    EXPECT_EQ(notifications.text(3), "before|\tB: 2, \"\"\n");
}

TEST(FomMergeTest, KeepsHeadingAndLastRowOfSeveralConflicts) {
    RateMerge merge{ratesOf({updateRate("A", 1), updateRate("B", 1), updateRate("C", 1)})};
    merge.run(ratesOf({updateRate("A", 2), updateRate("B", 3), updateRate("C", 4)}));
    EXPECT_STREQ(merge.error, "Air%s has conflicts in Update Rates:\n\tC: 4, \"\"");
}

}  // namespace
}  // namespace OrynRti::Tests
