#include <cstdint>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "Hashlist.h"
#include "support/Notifications.h"

namespace OrynRti {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

int numbers[] = {0, 1, 2, 3, 4};

std::vector<int> data(const DtList& list) {
    std::vector<int> result;
    for (const DtListItem* item = list.first(); item != nullptr; item = item->next())
        result.push_back(*static_cast<int*>(item->data()));
    return result;
}

std::vector<std::string> keys(const DtHashlist& table) {
    std::vector<std::string> result;
    for (const DtListItem* item = table.keys()->first(); item != nullptr; item = item->next())
        result.push_back(static_cast<DtBaseHashKey*>(item->data())->stringRep().stdString());
    return result;
}

/// Entries under "a", "b" and "c"; one bucket, so that every one of them is in a chain.
void addLetters(DtHashlist& table) {
    table.add(DtStringHashKey("a"), &numbers[1], nullptr);
    table.add(DtStringHashKey("b"), &numbers[2], nullptr);
    table.add(DtStringHashKey("c"), &numbers[3], nullptr);
}

DtBaseHashKey& firstKey(const DtHashlist& table) {
    return *static_cast<DtBaseHashKey*>(table.keys()->first()->data());
}

TEST(HashlistTest, FindsWhatWasAddedAndKeepsTheOrder) {
    for (const int buckets : {-1, 0, 1, 2, 1009}) {
        DtHashlist table(buckets);
        addLetters(table);
        DtListItem* item = table.add(DtIntHashKey(97), &numbers[4], nullptr);
        EXPECT_THAT(keys(table), ElementsAre("a", "b", "c", "97"));
        EXPECT_THAT(data(*table.list()), ElementsAre(1, 2, 3, 4));
        EXPECT_EQ(table.lookup(DtStringHashKey("b")), &numbers[2]);
        EXPECT_EQ(table.itemLookup(DtIntHashKey(97)), item);
        EXPECT_EQ(table.lookup(DtStringHashKey("d")), nullptr);
        EXPECT_EQ(table.itemLookup(DtIntHashKey(98)), nullptr);
    }
}

TEST(HashlistTest, AddingAKeyAgainReplacesItsDataAndMovesItToTheEnd) {
    DtHashlist table(1);
    addLetters(table);
    void* old = &table;
    const DtListItem* item = table.add(DtStringHashKey("a"), &numbers[4], &old);
    EXPECT_EQ(old, &numbers[1]);
    EXPECT_EQ(item, table.list()->last());
    EXPECT_THAT(keys(table), ElementsAre("b", "c", "a"));
    EXPECT_THAT(data(*table.list()), ElementsAre(2, 3, 4));

    table.add(DtStringHashKey("d"), &numbers[0], &old);
    EXPECT_EQ(old, nullptr);
}

TEST(HashlistTest, RemovesEntriesAndIgnoresAbsentOnes) {
    DtHashlist table(1);
    addLetters(table);
    EXPECT_EQ(table.remove(DtStringHashKey("d")), nullptr);
    EXPECT_EQ(table.remove(DtStringHashKey("b")), &numbers[2]);
    EXPECT_EQ(table.remove(DtStringHashKey("b")), nullptr);
    EXPECT_THAT(keys(table), ElementsAre("a", "c"));
    EXPECT_THAT(data(*table.list()), ElementsAre(1, 3));
    table.empty();
    EXPECT_THAT(keys(table), IsEmpty());
    EXPECT_THAT(data(*table.list()), IsEmpty());
    EXPECT_EQ(table.lookup(DtStringHashKey("a")), nullptr);
}

TEST(HashlistTest, TakesKeysThatLiveInTheTable) {
    DtHashlist table(1);
    addLetters(table);
    void* old = nullptr;
    table.add(firstKey(table), &numbers[4], &old);
    EXPECT_EQ(old, &numbers[1]);
    EXPECT_THAT(keys(table), ElementsAre("b", "c", "a"));
    EXPECT_EQ(table.remove(firstKey(table)), &numbers[2]);
    EXPECT_THAT(keys(table), ElementsAre("c", "a"));
    EXPECT_EQ(table.lookup(DtStringHashKey("a")), &numbers[4]);
}

TEST(HashlistTest, ADataListOfTheCallersIsSharedAndOutlivesTheTable) {
    DtList list;
    list.add(&numbers[0]);
    {
        DtHashlist table(&list, 4);
        addLetters(table);
        EXPECT_EQ(table.list(), &list);
        table.remove(DtStringHashKey("b"));

        const DtHashlist copy(table);
        EXPECT_NE(copy.list(), &list);
        EXPECT_THAT(data(*copy.list()), ElementsAre(1, 3));
        DtHashlist other(1);
        other.add(DtIntHashKey(7), &numbers[4], nullptr);
        table = other;
    }
    EXPECT_THAT(data(list), ElementsAre(0, 4));

    DtHashlist own(nullptr, 4);
    addLetters(own);
    EXPECT_THAT(data(*own.list()), ElementsAre(1, 2, 3));
}

TEST(HashlistTest, CopiesAreIndependent) {
    DtHashlist table(2);
    addLetters(table);
    DtHashlist copy(table);
    table.remove(DtStringHashKey("a"));
    copy.add(DtStringHashKey("b"), &numbers[4], nullptr);
    EXPECT_THAT(keys(copy), ElementsAre("a", "c", "b"));
    EXPECT_THAT(data(*copy.list()), ElementsAre(1, 3, 4));
    EXPECT_THAT(data(*table.list()), ElementsAre(2, 3));

    copy = table;
    EXPECT_THAT(keys(copy), ElementsAre("b", "c"));
    const DtHashlist& same = copy;
    copy = same;
    copy.setFromOther(copy);
    EXPECT_THAT(keys(copy), ElementsAre("b", "c"));
    EXPECT_EQ(copy.lookup(DtStringHashKey("b")), &numbers[2]);
}

TEST(HashlistTest, KeepsWideKeysOfOneTextFormApart) {
    DtHashlist table(1);
    table.add(DtWStringHashKey(std::wstring{wchar_t(0x400), wchar_t(0x500)}), &numbers[1], nullptr);
    table.add(DtWStringHashKey(std::wstring{wchar_t(0x402), wchar_t(0x4FF)}), &numbers[2], nullptr);
    EXPECT_THAT(data(*table.list()), ElementsAre(1, 2));
}

TEST(HashlistTest, PrintsKeysAndTheLowBitsOfTheirData) {
    DtHashlist table(3);
    table.add(DtStringHashKey("100%s"), reinterpret_cast<void*>(0x7F12345678ABCDEF), nullptr);
    table.add(DtIntHashKey(12), nullptr, nullptr);
    Tests::CapturedNotifications captured;
    table.print();
    EXPECT_EQ(captured.text(2), "Key: 100%s\n Data: 78abcdef\nKey: 12\n Data: NULL\n");
}

}  // namespace

}  // namespace OrynRti
