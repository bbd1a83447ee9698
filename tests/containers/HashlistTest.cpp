#include <gtest/gtest.h>
#include <string>

#include "Hashlist.h"

namespace OrynRti {

namespace {

int numbers[] = {0, 1, 2, 3, 4};

/// The keys with their data, each with a blank.
std::string entries(DtHashlist& table) {
    std::string result;
    for (const DtListItem* item = table.keys()->first(); item != nullptr; item = item->next()) {
        const auto& key = *static_cast<DtBaseHashKey*>(item->data());
        result += key.stringRep().stdString();
        result += std::to_string(*static_cast<int*>(table.lookup(key))) + " ";
    }
    return result;
}

/// A key that lives in the table.
const DtBaseHashKey& firstKey(const DtHashlist& table) {
    return *static_cast<DtBaseHashKey*>(table.keys()->first()->data());
}

void addLetters(DtHashlist& table) {
    table.add(DtStringHashKey("a"), &numbers[1], nullptr);
    table.add(DtStringHashKey("b"), &numbers[2], nullptr);
    table.add(DtStringHashKey("c"), &numbers[3], nullptr);
}

TEST(HashlistTest, FindsWhatWasAddedAndKeepsTheOrder) {
    for (const int buckets : {-1, 0, 1, 2, 1009}) {
        DtHashlist table(buckets);
        addLetters(table);
        DtListItem* item = table.add(DtIntHashKey(97), &numbers[4], nullptr);
        EXPECT_EQ(entries(table), "a1 b2 c3 974 ");
        EXPECT_EQ(table.itemLookup(DtIntHashKey(97)), item);
        EXPECT_EQ(table.list()->first()->data(), &numbers[1]);
        EXPECT_EQ(table.lookup(DtStringHashKey("d")), nullptr);
    }
}

TEST(HashlistTest, AddingAKeyAgainReplacesItsDataAndMovesItToTheEnd) {
    DtHashlist table(1);
    addLetters(table);
    void* old = &table;
    table.add(firstKey(table), &numbers[4], &old);
    EXPECT_EQ(old, &numbers[1]);
    EXPECT_EQ(table.list()->last()->data(), &numbers[4]);
    EXPECT_EQ(entries(table), "b2 c3 a4 ");
    table.add(DtStringHashKey("d"), &numbers[0], &old);
    EXPECT_EQ(old, nullptr);
}

TEST(HashlistTest, RemovesEntriesAndIgnoresAbsentOnes) {
    DtHashlist table(1);
    addLetters(table);
    EXPECT_EQ(table.remove(DtStringHashKey("b")), &numbers[2]);
    EXPECT_EQ(table.remove(DtStringHashKey("b")), nullptr);
    EXPECT_EQ(table.remove(firstKey(table)), &numbers[1]);
    EXPECT_EQ(entries(table), "c3 ");
    table.empty();
    EXPECT_EQ(table.lookup(DtStringHashKey("c")), nullptr);
}

TEST(HashlistTest, CopiesAreIndependentAndADataListOfTheCallersOutlivesTheTable) {
    DtList list;
    {
        DtHashlist table(&list, 2);
        addLetters(table);
        DtHashlist copy(table);
        table.remove(DtStringHashKey("a"));
        copy.add(DtStringHashKey("b"), &numbers[4], nullptr);
        EXPECT_EQ(entries(copy), "a1 c3 b4 ");
        EXPECT_EQ(entries(table), "b2 c3 ");
        const DtHashlist& same = table;
        table = same;
        copy = table;
        EXPECT_EQ(entries(copy), "b2 c3 ");
    }
    EXPECT_EQ(list.count(), 2);
}

}  // namespace

}  // namespace OrynRti
