#include "Hashlist.h"

#include <algorithm>
#include <cstdint>

#include "Print.h"

namespace OrynRti {

namespace {

DtBaseHashKey& keyOf(const DtListItem* keyItem) {
    return *static_cast<DtBaseHashKey*>(keyItem->data());
}

DtHashItem* entryOf(const DtListItem* bucketItem) {
    return bucketItem != nullptr ? static_cast<DtHashItem*>(bucketItem->data()) : nullptr;
}

/// Looking up changes nothing; it is not const so that derived tables may reorder themselves.
void* dataOf(const DtHashlist& table, const DtBaseHashKey& key) {
    return const_cast<DtHashlist&>(table).lookup(key);
}

void printKey(const DtBaseHashKey& key) {
    const DtString text = key.stringRep();
    DtInfo("Key: %s\n", text.c_str() != nullptr ? text.c_str() : "");
}

void printData(const void* data) {
    if (data == nullptr)
        DtInfo(" Data: NULL\n");
    else
        DtInfo(" Data: %x\n", static_cast<unsigned int>(reinterpret_cast<std::uintptr_t>(data)));
}

}  // namespace

DtHashlist::DtHashlist(int buckets) : DtHashlist(nullptr, buckets) {}

DtHashlist::DtHashlist(DtList* list, int buckets)
    : bucketCount_(std::max(buckets, 1)),
      ownsList_(list == nullptr),
      list_(list),
      buckets_(new DtList[static_cast<std::size_t>(bucketCount_)]) {
    if (ownsList_)
        list_ = new DtList;
}

DtHashlist::DtHashlist(const DtHashlist& other) : DtHashlist(other.bucketCount_) {
    DtHashlist::setFromOther(other);
}

DtHashlist& DtHashlist::operator=(const DtHashlist& other) {
    setFromOther(other);
    return *this;
}

DtHashlist::~DtHashlist() {
    for (int i = 0; i < bucketCount_; ++i)
        for (const DtListItem* item = buckets_[i].first(); item != nullptr; item = item->next())
            delete entryOf(item);
    if (ownsList_)
        delete list_;
}

DtListItem* DtHashlist::add(const DtBaseHashKey& key, void* data, void** old) {
    // The key may be the one that the removal frees. Finding the bucket first has it hashed, so
    // that the clone is too.
    DtList* bucket = bucketFromHashKey(key);
    std::unique_ptr<DtBaseHashKey> ownKey(key.clone());
    void* const previous = remove(key);
    if (old != nullptr)
        *old = previous;

    DtListItem* dataItem = list_->add(data);
    auto item = std::make_unique<DtHashItem>(std::move(ownKey), dataItem);
    DtHashItem* added = item.get();
    bucket->add(added);
    item.release();
    added->setKeyItem(keys_.add(added->hashKey()));
    return dataItem;
}

void* DtHashlist::remove(const DtBaseHashKey& key) {
    DtListItem* bucketItem = bucketItemLookup(key);
    if (bucketItem == nullptr)
        return nullptr;
    // Freed last: `key` may be the entry's own.
    const std::unique_ptr<DtHashItem> item(entryOf(bucketItem));
    bucketFromHashKey(key)->remove(bucketItem);
    keys_.remove(item->keyItem());
    return list_->remove(item->listItem());
}

void* DtHashlist::lookup(const DtBaseHashKey& key) {
    const DtHashItem* item = entryOf(bucketItemLookup(key));
    return item != nullptr ? item->listItem()->data() : nullptr;
}

DtList* DtHashlist::list() const {
    return list_;
}

void DtHashlist::print() const {
    for (const DtListItem* item = keys_.first(); item != nullptr; item = item->next()) {
        printKey(keyOf(item));
        printData(dataOf(*this, keyOf(item)));
    }
}

const DtList* DtHashlist::keys() const {
    return &keys_;
}

void DtHashlist::empty() {
    while (const DtListItem* item = keys_.first())
        remove(keyOf(item));
}

void DtHashlist::setFromOther(const DtHashlist& other) {
    if (this == &other)
        return;
    empty();
    for (const DtListItem* item = other.keys_.first(); item != nullptr; item = item->next())
        add(keyOf(item), dataOf(other, keyOf(item)), nullptr);
}

DtListItem* DtHashlist::itemLookup(const DtBaseHashKey& key) {
    const DtHashItem* item = entryOf(bucketItemLookup(key));
    return item != nullptr ? item->listItem() : nullptr;
}

DtList* DtHashlist::bucketFromHashKey(const DtBaseHashKey& key) {
    return &buckets_[key.hashValue() % static_cast<unsigned int>(bucketCount_)];
}

DtListItem* DtHashlist::bucketItemLookup(const DtBaseHashKey& key) {
    DtListItem* item = bucketFromHashKey(key)->first();
    while (item != nullptr && !entryOf(item)->hashKey()->equalTo(key))
        item = item->next();
    return item;
}

}  // namespace OrynRti
