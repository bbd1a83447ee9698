#include <gtest/gtest.h>
#include <initializer_list>
#include <random>
#include <string>

#include "FomMerge.h"
#include "fom/TestTarget.h"
#include "support/Notifications.h"

namespace OrynRti::Tests {
namespace {

template <typename Row>
DtFomTable<Row> tableOf(std::initializer_list<Row> rows) {
    DtFomTable<Row> table;
    for (const Row& row : rows)
        table.insert(std::make_shared<Row>(row));
    return table;
}

using Rates = DtFomTable<DtUpdateRateType>;

/// A merge of update rates into `held` with a last-error text, and what it said.
struct RateMerge {
    Rates held;
    DtString error = "before|";
    std::string verbose = {};
    std::string warning = {};

    DtMergeFomStatus_enum run(const Rates& incoming, bool strict) {
        CapturedNotifications notifications;
        const auto status = mergeComponent(incoming, held, "Air", "Update Rates", error,
                                           DtMergeFomUpdateRatesConflict, strict);
        verbose = notifications.text(3);
        warning = notifications.text(1);
        return status;
    }
};

TEST(FomMergeTest, UnitesTablesAndSharesTheRows) {
    RateMerge merge{tableOf({updateRate("B", 1), updateRate("D", 1)})};
    const Rates before = merge.held;
    const Rates incoming = tableOf({updateRate("A", 2), updateRate("B", 1), updateRate("E", 2)});
    EXPECT_EQ(merge.run(incoming, true), DtMergeFomSuccess);

    const Rates expected{*incoming.begin(), *before.begin(), *before.rbegin(), *incoming.rbegin()};
    EXPECT_EQ(merge.held, expected);
    EXPECT_STREQ(merge.error, "before|");
    EXPECT_EQ(merge.verbose + merge.warning, "");
}

TEST(FomMergeTest, LeavesEverythingAloneWhenNothingComesIn) {
    for (const Rates& held : {Rates(), tableOf({updateRate("A", 1)})}) {
        RateMerge merge{held};
        EXPECT_EQ(merge.run({}, true), DtMergeFomSuccess);
        EXPECT_EQ(merge.held, held);
        EXPECT_STREQ(merge.error, "before|");
    }
}

TEST(FomMergeTest, TakesEveryRowUntestedIntoAnEmptyTable) {
    RateMerge merge;
    const Rates incoming = tableOf({updateRate("A", std::stof("nan")), updateRate("B", 1)});
    EXPECT_EQ(merge.run(incoming, true), DtMergeFomSuccess);
    EXPECT_EQ(merge.held, incoming);
}

TEST(FomMergeTest, RefusesTheWholeTableOnAStrictConflict) {
    RateMerge merge{tableOf({updateRate("B", 1)})};
    const Rates before = merge.held;
    EXPECT_EQ(merge.run(tableOf({updateRate("A", 1), updateRate("B", 2)}), true), 4);
    EXPECT_EQ(merge.held, before);
    EXPECT_STREQ(merge.error, "before|\tB: 2, \"\"");
    EXPECT_EQ(merge.verbose, "before|\tB: 2, \"\"\n");
    EXPECT_EQ(merge.warning, "");
}

TEST(FomMergeTest, KeepsHeadingAndLastRowOfSeveralConflicts) {
    const Rates held = tableOf({updateRate("A", 1), updateRate("B", 1), updateRate("C", 1)});
    const Rates other = tableOf({updateRate("A", 2), updateRate("B", 3), updateRate("C", 4)});
    RateMerge merge{held};
    EXPECT_EQ(merge.run(other, true), 4);
    EXPECT_STREQ(merge.error, "Air has conflicts in Update Rates:\n\tC: 4, \"\"");
}

TEST(FomMergeTest, WarnsOfAConflictAndDropsTheTableWhenNotStrict) {
    auto held = tableOf({transportation("Fast", true)});
    const auto before = held;
    const auto incoming = tableOf({transportation("Fast", false), transportation("New", true)});
    DtString error;
    CapturedNotifications notifications;
    EXPECT_EQ(mergeComponent(incoming, held, "Air%s", "Transport Types", error,
                             DtMergeFomTransportTypesConflict, false),
              DtMergeFomSuccess);
    EXPECT_EQ(held, before);
    EXPECT_EQ(notifications.text(), "Merge Error ignored: \tFast: BestEffort, \"\", \"\"\n");
    EXPECT_EQ(notifications.text(1), notifications.text());
}

/// A row of a caller's own, which agrees only with itself, and counts what merging costs.
struct CountedRow {
    int name;
    int field = 0;
    static inline long comparisons = 0;

    bool operator==(const CountedRow& o) const {
        return name == o.name && field % 2 == o.field % 2;
    }
    bool operator<(const CountedRow& other) const {
        ++comparisons;
        return name < other.name;
    }
    bool compareSubcomponents(const CountedRow& other, bool) const { return field == other.field; }
    DtString& appendToString(DtString& out) const { return out += DtString(name); }
};

bool consistentByWalking(const DtFomTable<CountedRow>& held, const CountedRow& incoming) {
    for (const auto& row : held)
        if (*row == incoming)
            return row->compareSubcomponents(incoming, true);
    return true;
}

TEST(FomMergeTest, TestsConsistencyAsAWalkThroughTheTableWould) {
    std::mt19937 random(1);
    const auto below = [&](unsigned limit) { return static_cast<int>(random() % limit); };
    for (int round = 0; round < 200; ++round) {
        DtFomTable<CountedRow> held;
        for (int i = below(8); i > 0; --i)
            held.insert(std::make_shared<CountedRow>(CountedRow{below(6), below(4)}));
        for (int name = 0; name < 6; ++name)
            for (int field = 0; field < 4; ++field) {
                const CountedRow incoming{name, field};
                EXPECT_EQ(consistencyTest(held, incoming, true),
                          consistentByWalking(held, incoming));
            }
    }
}

TEST(FomMergeTest, MergingCostsALookUpARow) {
    const int rows = 20000;
    DtFomTable<CountedRow> held, incoming;
    for (int i = 0; i < rows; ++i) {
        held.insert(std::make_shared<CountedRow>(CountedRow{2 * i}));
        incoming.insert(std::make_shared<CountedRow>(CountedRow{2 * i + i % 2}));
    }
    DtString error;
    CountedRow::comparisons = 0;
    EXPECT_EQ(mergeComponent(incoming, held, "A", "Rows", error, DtMergeFomNotesConflict, true),
              DtMergeFomSuccess);
    EXPECT_EQ(held.size(), static_cast<std::size_t>(rows + rows / 2));
    EXPECT_LT(CountedRow::comparisons, 40L * rows);
}

}  // namespace
}  // namespace OrynRti::Tests
