#include <gtest/gtest.h>
#include <string>

#include "Hashlist.h"
#include "support/Notifications.h"

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

TEST(HashlistTest, ReplacesAndRemovesEntriesAndIgnoresAbsentOnes) {
    DtHashlist table(1);
    addLetters(table);
    void* old = &table;
    table.add(firstKey(table), &numbers[4], &old);
    EXPECT_EQ(old, &numbers[1]);
    EXPECT_EQ(table.list()->last()->data(), &numbers[4]);
    EXPECT_EQ(entries(table), "b2 c3 a4 ");
    table.add(DtStringHashKey("d"), &numbers[0], &old);
    EXPECT_EQ(old, nullptr);
    EXPECT_EQ(table.remove(DtStringHashKey("c")), &numbers[3]);
    EXPECT_EQ(table.remove(DtStringHashKey("c")), nullptr);
    EXPECT_EQ(table.remove(firstKey(table)), &numbers[2]);
    EXPECT_EQ(entries(table), "a4 d0 ");
    table.empty();
    EXPECT_EQ(table.lookup(DtStringHashKey("a")), nullptr);
}

/// A text that is compared without regard to case.
struct Caseless : DtStringHashKey {
    using DtStringHashKey::DtStringHashKey;

    Caseless* clone() const override { return new Caseless(*this); }
    bool equalTo(const DtBaseHashKey& other) const override {
        return value().caseCompare(other.stringRep());
    }
};

TEST(HashlistTest, FindsTheFirstEntryOfTheBucketWhoseKeySaysItIsTheOneWanted) {
    DtHashlist table(1);
    table.add(Caseless("A"), &numbers[1], nullptr);
    table.add(DtStringHashKey("b"), &numbers[2], nullptr);
    table.add(Caseless("B"), &numbers[3], nullptr);
    EXPECT_EQ(table.lookup(DtStringHashKey("a")), &numbers[1]);
    EXPECT_EQ(table.lookup(Caseless("b")), &numbers[2]);
    EXPECT_EQ(table.lookup(DtStringHashKey("B")), &numbers[3]);
    DtStringHashKey other("c");
    other.hashValue();
    other.setValue("b");  // keeps its hash
    table.remove(Caseless("B"));
    EXPECT_EQ(table.lookup(other), nullptr);
}

TEST(HashlistTest, PrintsItsEntriesInOrder) {
    Tests::CapturedNotifications notes;
    DtHashlist table(7);
    table.add(DtStringHashKey("a"), reinterpret_cast<void*>(0x1F00000A0B), nullptr);
    table.add(DtIntHashKey(5), nullptr, nullptr);
    table.print();
    EXPECT_EQ(notes.text(), "Key: a\n Data: a0b\nKey: 5\n Data: NULL\n");
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
        table = *&table;
        EXPECT_EQ(entries(table), "b2 c3 ");
        copy = table;
        EXPECT_EQ(entries(copy), "b2 c3 ");
    }
    EXPECT_EQ(list.count(), 2);
}

}  // namespace
}  // namespace OrynRti
