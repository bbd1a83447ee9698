#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <vector>

#include "List.h"

namespace OrynRti {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

int numbers[] = {0, 1, 2, 3, 4};

/// The data of a list of `numbers`, read forwards; a list whose backward links differ is told
/// apart by a -1 at the end.
std::vector<int> contents(const DtList& list) {
    std::vector<int> forwards;
    for (const DtListItem* item = list.first(); item != nullptr; item = item->next())
        forwards.push_back(*static_cast<int*>(item->data()));
    std::vector<int> backwards;
    for (const DtListItem* item = list.last(); item != nullptr; item = item->previous())
        backwards.insert(backwards.begin(), *static_cast<int*>(item->data()));
    if (forwards != backwards)
        forwards.push_back(-1);
    return forwards;
}

TEST(ListTest, InsertsAnywhere) {
    DtList list;
    DtListItem* two = list.add(&numbers[2]);
    list.add(&numbers[4]);
    list.addAfter(&numbers[1], nullptr);
    list.addAfter(&numbers[3], two);
    EXPECT_THAT(contents(list), ElementsAre(1, 2, 3, 4));
    EXPECT_EQ(list.count(), 4);
}

TEST(ListTest, RemovesFromEveryPlace) {
    DtList list;
    DtListItem* items[5];
    for (int i = 0; i < 5; ++i)
        items[i] = list.add(&numbers[i]);
    EXPECT_EQ(list.remove(items[2]), &numbers[2]);
    EXPECT_EQ(list.remove(items[0]), &numbers[0]);
    EXPECT_EQ(list.remove(items[4]), &numbers[4]);
    EXPECT_THAT(contents(list), ElementsAre(1, 3));
    EXPECT_EQ(list.remove(nullptr), nullptr);
    list.remove(items[1]);
    EXPECT_EQ(list.remove(items[3]), &numbers[3]);
    EXPECT_EQ(list.first(), nullptr);
    EXPECT_EQ(list.last(), nullptr);
    EXPECT_EQ(list.count(), 0);
}

TEST(ListTest, AnUnlinkedItemIsTheCallersAndKeepsItsLinks) {
    DtList list;
    list.add(&numbers[0]);
    DtListItem* one = list.add(&numbers[1]);
    DtListItem* two = list.add(&numbers[2]);
    list.removeFromList(one);
    EXPECT_EQ(one->next(), two);
    EXPECT_THAT(contents(list), ElementsAre(0, 2));
    list.addToList(one, nullptr);
    EXPECT_THAT(contents(list), ElementsAre(1, 0, 2));
}

TEST(ListTest, FindsTheFirstOfEqualPointers) {
    DtList list;
    list.add(&numbers[0]);
    DtListItem* first = list.add(&numbers[1]);
    list.add(&numbers[1]);
    EXPECT_EQ(list.itemLookup(&numbers[1]), first);
    EXPECT_EQ(list.itemLookup(&numbers[4]), nullptr);
}

TEST(ListTest, CopiesHaveItemsOfTheirOwn) {
    DtList list;
    list.add(&numbers[1]);
    list.add(&numbers[2]);
    DtList copy(list);
    copy.add(&numbers[3]);
    EXPECT_THAT(contents(list), ElementsAre(1, 2));
    EXPECT_THAT(contents(copy), ElementsAre(1, 2, 3));

    list = copy;
    const DtList& same = list;
    list = same;
    copy.removeAll();
    EXPECT_THAT(contents(copy), IsEmpty());
    EXPECT_THAT(contents(list), ElementsAre(1, 2, 3));
    EXPECT_EQ(list.count(), 3);
}

//----------------------------------------------------------------------------------------------

/// Its DtListedObj is not where the object itself starts.
struct Named {
    virtual ~Named() = default;
    int name = 0;
};

class Task : public Named, public DtListedObj {
public:
    explicit Task(int& alive, Task* partner = nullptr) : alive_(alive), partner_(partner) {
        ++alive_;
    }
    ~Task() override {
        --alive_;
        delete partner_;
    }

private:
    int& alive_;
    Task* partner_;
};

class IntrusiveListTest : public testing::Test {
protected:
    Task* added() {
        auto* task = new Task(alive);
        list.add(task);
        return task;
    }

    int alive = 0;
    DtIntrusiveList list;
};

TEST_F(IntrusiveListTest, TellsObjectsWhereTheyAre) {
    Task one(alive);
    Task two(alive);
    list.add(&one);
    DtListItem* front = list.addAfter(&two, nullptr);
    EXPECT_EQ(two.list(), &list);
    EXPECT_EQ(two.listItem(), front);
    EXPECT_EQ(list.itemLookup(&one), one.listItem());
    EXPECT_EQ(list.first(), front);

    list.remove(two.listItem());
    EXPECT_EQ(two.list(), nullptr);
    EXPECT_EQ(two.listItem(), nullptr);
    EXPECT_EQ(list.itemLookup(&two), nullptr);
}

TEST_F(IntrusiveListTest, RemovingAndDeletingCountsTwice) {
    added();
    Task* second = added();
    Task* third = added();
    list.removeAndDelete(second);
    EXPECT_EQ(alive, 2);
    EXPECT_EQ(list.first()->next(), list.last());
    EXPECT_EQ(list.count(), 1);

    list.removeAndDelete(third->listItem());
    list.removeAllAndDelete();
    EXPECT_EQ(alive, 0);
    EXPECT_EQ(list.first(), nullptr);
    EXPECT_EQ(list.last(), nullptr);
    EXPECT_EQ(list.count(), -2);
}

TEST_F(IntrusiveListTest, IgnoresStrangersAndNull) {
    DtIntrusiveList other;
    Task stranger(alive);
    other.add(&stranger);
    list.removeAndDelete(&stranger);
    list.removeAndDelete(stranger.listItem());
    EXPECT_EQ(stranger.list(), &other);
    EXPECT_EQ(other.count(), 1);

    EXPECT_EQ(list.add(nullptr), nullptr);
    list.removeAndDelete(static_cast<DtListItem*>(nullptr));
    list.removeAndDelete(static_cast<DtListedObj*>(nullptr));
    static_cast<DtList&>(list).add(nullptr);
    list.removeAndDelete(list.first());
    EXPECT_EQ(list.first(), nullptr);
}

TEST_F(IntrusiveListTest, DeletingAnObjectMayTakeAnotherOneAlong) {
    Task* partner = added();
    list.addAfter(new Task(alive, partner), nullptr);
    added();
    list.removeAllAndDelete();
    EXPECT_EQ(alive, 0);
    EXPECT_EQ(list.first(), nullptr);
}

TEST_F(IntrusiveListTest, ListAndObjectMayDieInEitherOrder) {
    Task survivor(alive);
    {
        DtIntrusiveList shortLived;
        shortLived.add(&survivor);
    }
    EXPECT_EQ(survivor.list(), nullptr);
    {
        Task shortLived(alive);
        list.add(&shortLived);
        list.add(&survivor);
    }
    EXPECT_EQ(list.first(), survivor.listItem());
    EXPECT_EQ(list.count(), 1);
}

TEST_F(IntrusiveListTest, ACopiedObjectIsInNoList) {
    Task task(alive);
    list.add(&task);
    const DtListedObj& listed = task;
    DtListedObj copy(listed);
    EXPECT_EQ(copy.list(), nullptr);
    copy = listed;
    EXPECT_EQ(copy.listItem(), nullptr);
}

}  // namespace

}  // namespace OrynRti
