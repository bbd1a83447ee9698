#include "List.h"

#include <memory>

namespace OrynRti {

DtListItem::~DtListItem() = default;

//----------------------------------------------------------------------------------------------

// Delegating makes the destructor free the items so far when an allocation fails.
DtList::DtList(const DtList& other) : DtList() {
    addCopies(other);
}

DtList& DtList::operator=(const DtList& other) {
    if (this != &other) {
        removeAll();
        addCopies(other);
    }
    return *this;
}

DtList::~DtList() {
    removeAll();
}

void DtList::addToList(DtListItem* item, DtListItem* after) {
    if (item == nullptr)
        return;
    item->previous_ = after;
    item->next_ = after != nullptr ? after->next_ : first_;
    (item->previous_ != nullptr ? item->previous_->next_ : first_) = item;
    (item->next_ != nullptr ? item->next_->previous_ : last_) = item;
    ++count_;
}

void DtList::removeFromList(DtListItem* item) {
    if (item == nullptr)
        return;
    (item->previous_ != nullptr ? item->previous_->next_ : first_) = item->next_;
    (item->next_ != nullptr ? item->next_->previous_ : last_) = item->previous_;
    --count_;
}

DtListItem* DtList::addAfter(void* data, DtListItem* after) {
    auto* item = new DtListItem(data);
    addToList(item, after);
    return item;
}

void* DtList::remove(DtListItem* item) {
    if (item == nullptr)
        return nullptr;
    removeFromList(item);
    const std::unique_ptr<DtListItem> removed(item);
    return removed->data();
}

void DtList::removeAll() {
    while (first_ != nullptr)
        remove(first_);
}

DtListItem* DtList::itemLookup(const void* data) const {
    DtListItem* item = first_;
    while (item != nullptr && item->data() != data)
        item = item->next();
    return item;
}

void DtList::addCopies(const DtList& other) {
    for (const DtListItem* item = other.first_; item != nullptr; item = item->next())
        add(item->data());
}

//----------------------------------------------------------------------------------------------

DtListedObj::~DtListedObj() {
    if (list_ != nullptr)
        list_->remove(item_);
}

//----------------------------------------------------------------------------------------------

// Here, since the destructor of the base no longer reaches removeFromList of this class.
DtIntrusiveList::~DtIntrusiveList() {
    removeAll();
}

void DtIntrusiveList::addToList(DtListItem* item, DtListItem* after) {
    DtList::addToList(item, after);
    if (DtListedObj* object = objectOf(item)) {
        object->list_ = this;
        object->item_ = item;
    }
}

void DtIntrusiveList::removeFromList(DtListItem* item) {
    DtList::removeFromList(item);
    if (DtListedObj* object = objectOf(item)) {
        object->list_ = nullptr;
        object->item_ = nullptr;
    }
}

void DtIntrusiveList::removeAndDelete(DtListItem* item) {
    DtListedObj* object = objectOf(item);
    if (item == nullptr || (object != nullptr && object->list_ != this))
        return;
    // Unlinked twice, here and inside remove(): the second time assigns the same links again
    // and lowers the count once more.
    removeFromList(item);
    remove(item);
    delete object;
}

void DtIntrusiveList::removeAllAndDelete() {
    // An object may take others along when it is deleted, so the walk starts afresh each time.
    while (DtListItem* item = first()) {
        DtListedObj* object = objectOf(item);
        remove(item);
        delete object;
    }
}

DtListItem* DtIntrusiveList::addAfter(DtListedObj* object, DtListItem* after) {
    return object != nullptr ? DtList::addAfter(object, after) : nullptr;
}

DtListItem* DtIntrusiveList::itemLookup(const DtListedObj* object) const {
    return object != nullptr && object->list_ == this ? object->item_ : nullptr;
}

DtListedObj* DtIntrusiveList::objectOf(const DtListItem* item) {
    return item != nullptr ? static_cast<DtListedObj*>(item->data()) : nullptr;
}

}  // namespace OrynRti
