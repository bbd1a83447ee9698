#include <gtest/gtest.h>
#include <memory>
#include <string>

#include "List.h"

namespace OrynRti {
namespace {

int numbers[] = {0, 1, 2, 3, 4};

/// The data of a list of `numbers`, read forwards; with a '?' where the backward links differ.
std::string contents(const DtList& list) {
    std::string text;
    const DtListItem* previous = nullptr;
    for (const DtListItem* item = list.first(); item != nullptr; item = item->next()) {
        text += std::to_string(*static_cast<int*>(item->data()));
        text += item->previous() == previous ? "" : "?";
        previous = item;
    }
    return text + (list.last() == previous ? "" : "?");
}

TEST(ListTest, InsertsAndRemovesAnywhereAndHandsOutUnlinkedItems) {
    DtList list;
    DtListItem* two = list.add(&numbers[2]);
    DtListItem* four = list.add(&numbers[4]);
    DtListItem* one = list.addAfter(&numbers[1], nullptr);
    list.addAfter(&numbers[3], two);
    EXPECT_EQ(contents(list), "1234");
    list.removeFromList(one);
    EXPECT_EQ(one->next(), two);
    list.addToList(one, four);
    EXPECT_EQ(contents(list), "2341");
    EXPECT_EQ(list.remove(two), &numbers[2]);
    list.remove(four);
    list.remove(one);
    EXPECT_EQ(list.remove(nullptr), nullptr);
    EXPECT_EQ(contents(list) + std::to_string(list.count()), "31");
    list.remove(list.first());
    EXPECT_EQ(contents(list), "");
}

TEST(ListTest, CopiesHaveItemsOfTheirOwn) {
    DtList list;
    list.add(&numbers[1]);
    DtList copy(list);
    copy.add(&numbers[2]);
    EXPECT_EQ(contents(list), "1");
    list = copy;
    list = *&list;
    EXPECT_EQ(contents(list), "12");
}

/// Counts itself while it lives and takes a partner along when it dies. Its DtListedObj is not
/// where the object itself starts.
struct Task : std::string, DtListedObj {
    explicit Task(Task* other = nullptr) : partner(other) { ++alive; }
    ~Task() override {
        --alive;
        delete partner;
    }

    static inline int alive = 0;
    Task* partner;
};

TEST(IntrusiveListTest, ObjectsKnowWhereTheyAreAndMayDieBeforeTheListOrAfterIt) {
    auto list = std::make_unique<DtIntrusiveList>();
    Task task;
    EXPECT_EQ(list->itemLookup(&task), nullptr);
    const DtListItem* item = list->add(&task);
    EXPECT_EQ(list->itemLookup(&task), item);
    EXPECT_EQ(task.list(), list.get());
    EXPECT_EQ(DtListedObj(task).list(), nullptr);
    list->remove(task.listItem());
    EXPECT_EQ(task.list(), nullptr);
    list->add(std::make_unique<Task>().get());
    EXPECT_EQ(list->first(), nullptr);
    list->add(&task);
    list.reset();
    EXPECT_EQ(task.list(), nullptr);
}

TEST(IntrusiveListTest, DeletesObjectsAndThoseThatTheyTakeAlong) {
    DtIntrusiveList list;
    list.removeAndDelete(list.add(new Task));
    EXPECT_EQ(list.count(), -1);  // each removal counts twice
    auto* partner = new Task;
    list.add(partner);
    list.addAfter(new Task(partner), nullptr);
    list.removeAllAndDelete();
    EXPECT_EQ(Task::alive, 0);
    EXPECT_EQ(list.first(), list.last());
}

TEST(IntrusiveListTest, IgnoresStrangersAndNull) {
    DtIntrusiveList list, other;
    Task stranger;
    other.add(&stranger);
    list.removeAndDelete(&stranger);
    list.removeAndDelete(stranger.listItem());
    EXPECT_EQ(stranger.list(), &other);
    EXPECT_EQ(list.add(nullptr), nullptr);
    list.removeAndDelete(static_cast<DtListedObj*>(nullptr));
    static_cast<DtList&>(list).add(nullptr);
    list.removeAndDelete(list.first());
    EXPECT_EQ(list.first(), nullptr);
}

}  // namespace
}  // namespace OrynRti
