#ifndef RTIQNUTIL_LIST_H
#define RTIQNUTIL_LIST_H

#include "Export.h"

namespace OrynRti {

class DtIntrusiveList;

/// One place in a DtList. Lists make and free their items; callers walk them.
class DT_EXPORT DtListItem {
public:
    explicit DtListItem(void* data = nullptr) : data_(data) {}  ///< In no list yet.
    DtListItem(const DtListItem&) = delete;
    DtListItem& operator=(const DtListItem&) = delete;
    virtual ~DtListItem();

    /// Null at the ends of the list. @{
    DtListItem* previous() const { return previous_; }
    DtListItem* next() const { return next_; }
    /// @}

    void* data() const { return data_; }  ///< As it was given to the list.

private:
    friend class DtList;

    // The order of the members is fixed.
    DtListItem* previous_ = nullptr;
    DtListItem* next_ = nullptr;
    void* data_;
};

/// A doubly linked list of untyped data pointers, for collections whose entries are removed
/// from the middle while others hold on to their places: an item stays valid until it is
/// removed, whatever happens around it.
///
///     DtList list;
///     DtListItem* place = list.add(&aircraft);
///     for (const DtListItem* item = list.first(); item != nullptr; item = item->next())
///         update(*static_cast<Entity*>(item->data()));
///     list.remove(place);
///
/// Items passed in, to insert after or to remove, must be items of this list: that is not
/// checked, except for null.
///
/// Ownership: the items are the list's; the data are not, and are never touched
/// Cost:      one allocation per entry; itemLookup walks, everything else is immediate
class DT_EXPORT DtList {
public:
    DtList() = default;

    /// New items over the same data, in the same order. Assignment first removes what is held. @{
    DtList(const DtList& other);
    DtList& operator=(const DtList& other);
    /// @}

    // The order of the virtual functions is fixed.

    virtual ~DtList();

    /// Links `item`, made with `new` and in no list yet, after `after`, or in front of
    /// everything when `after` is null. The list owns the item from then on.
    virtual void addToList(DtListItem* item, DtListItem* after);

    /// Unlinks `item` and hands it back to the caller. The item keeps its own links, so that a
    /// walk that stands on it can go on.
    virtual void removeFromList(DtListItem* item);

    /// Appends. Returns the new item, as addAfter does.
    DtListItem* add(void* data) { return addAfter(data, last_); }

    /// Puts `data` in front of everything when `after` is null.
    DtListItem* addAfter(void* data, DtListItem* after);

    /// Removes and frees the item; returns its data, or null for a null item.
    void* remove(DtListItem* item);

    void removeAll();  ///< Removes and frees every item.

    /// The first item that holds this very pointer, or null.
    DtListItem* itemLookup(const void* data) const;

    /// Null when the list is empty. @{
    DtListItem* first() const { return first_; }
    DtListItem* last() const { return last_; }
    /// @}
    int count() const { return count_; }  ///< Number of items.

private:
    void addCopies(const DtList& other);

    // The order of the members is fixed.
    DtListItem* first_ = nullptr;
    DtListItem* last_ = nullptr;
    int count_ = 0;
};

/// Base of objects that are kept in a DtIntrusiveList: the object knows which list holds it,
/// and where, so that removing it takes no search.
///
/// A copy is in no list, and assignment leaves both objects where they are. An object that is
/// destroyed while it is listed takes itself out of its list.
///
/// Threads:   destroying a listed object changes its list
class DT_EXPORT DtListedObj {
public:
    DtListedObj() = default;
    DtListedObj(const DtListedObj&) {}  ///< In no list.
    // NOLINTNEXTLINE(bugprone-unhandled-self-assignment): nothing is assigned
    DtListedObj& operator=(const DtListedObj&) { return *this; }  ///< Changes nothing.
    virtual ~DtListedObj();

    /// Null when the object is in no list. @{
    DtIntrusiveList* list() const { return list_; }
    DtListItem* listItem() const { return item_; }
    /// @}

private:
    friend class DtIntrusiveList;

    // The order of the members is fixed.
    DtIntrusiveList* list_ = nullptr;
    DtListItem* item_ = nullptr;
};

/// A list of DtListedObj that keeps the objects informed about their place and can delete them.
/// An object is in one list at a time, once: remove it before adding it elsewhere. The data of
/// every item is a `DtListedObj*`; what is added through the base class must be one, or null.
///
///     DtIntrusiveList tasks;
///     tasks.add(new Task("join"));     // class Task : public DtListedObj
///     tasks.removeAllAndDelete();
///
/// The count is below the number of items after removeAndDelete: ask first() for null to learn
/// whether the list is empty.
///
/// Ownership: the objects are the caller's until a deleting operation is called. A list that
///            goes away leaves its objects unlisted
class DT_EXPORT DtIntrusiveList : public DtList {
public:
    DtIntrusiveList() = default;
    DtIntrusiveList(const DtIntrusiveList&) = delete;
    DtIntrusiveList& operator=(const DtIntrusiveList&) = delete;

    // The order of the virtual functions is fixed.

    ~DtIntrusiveList() override;
    void addToList(DtListItem* item, DtListItem* after) override;
    void removeFromList(DtListItem* item) override;

    /// Removes the item and deletes its object. Each call lowers the count by two: callers know
    /// the figure that results and count on it. Null and the item of an object that is not in
    /// this list are ignored.
    virtual void removeAndDelete(DtListItem* item);

    /// Removes every item and deletes its object, lowering the count by one for each.
    virtual void removeAllAndDelete();

    /// As the operations of DtList; null is ignored and gives null. @{
    DtListItem* add(DtListedObj* object) { return addAfter(object, last()); }
    DtListItem* addAfter(DtListedObj* object, DtListItem* after);
    /// @}

    /// As removeAndDelete with the object's item.
    void removeAndDelete(const DtListedObj* object) { removeAndDelete(itemLookup(object)); }

    /// The object's item, or null when it is not in this list.
    DtListItem* itemLookup(const DtListedObj* object) const;

private:
    static DtListedObj* objectOf(const DtListItem* item);
};

}  // namespace OrynRti

#endif
