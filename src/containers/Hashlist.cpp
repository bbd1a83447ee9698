#include "Hashlist.h"

#include <algorithm>
#include <cstdint>
#include <typeinfo>
#include <utility>

#include "Print.h"

namespace OrynRti {

namespace {

/// An entry and its place in its bucket in one block, which spares lookups a way to memory.
class BucketItem : public DtListItem {
public:
    BucketItem(std::unique_ptr<DtBaseHashKey> key, DtListItem* listItem)
        : DtListItem(&entry_), entry_(std::move(key), listItem) {}

    DtHashItem& entry() { return entry_; }

private:
    DtHashItem entry_;
};

DtBaseHashKey& keyOf(const DtListItem* keyItem) {
    return *static_cast<DtBaseHashKey*>(keyItem->data());
}

DtHashItem* entryOf(const DtListItem* bucketItem) {
    return bucketItem != nullptr ? static_cast<DtHashItem*>(bucketItem->data()) : nullptr;
}

bool isTextKey(const DtBaseHashKey& key) {
    return typeid(key) == typeid(DtStringHashKey);
}

/// A key that is looked up. Texts, which most keys are, are compared without a call of equalTo
/// for every entry of a bucket.
class Wanted {
public:
    explicit Wanted(const DtBaseHashKey& key)
        : key_(key), text_(isTextKey(key) ? textOf(key).string() : nullptr) {}

    bool is(const DtHashItem& entry) const {
        if (text_ == nullptr || !entry.isText())
            return entry.hashKey()->equalTo(key_);
        return entry.textHash() == key_.DtBaseHashKey::hashValue() &&
               textOf(*entry.hashKey()) == text_;
    }

private:
    static const DtString& textOf(const DtBaseHashKey& key) {
        return static_cast<const DtStringHashKey&>(key).DtStringHashKey::value();
    }

    const DtBaseHashKey& key_;
    const char* text_;  ///< Null for other keys.
};

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

DtHashItem::DtHashItem(std::unique_ptr<DtBaseHashKey> key, DtListItem* listItem)
    : key_(std::move(key)),
      listItem_(listItem),
      isText_(key_ != nullptr && isTextKey(*key_)),
      textHash_(isText_ ? key_->hashValue() : 0) {}

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

// NOLINTNEXTLINE(bugprone-unhandled-self-assignment): setFromOther sees to it
DtHashlist& DtHashlist::operator=(const DtHashlist& other) {
    setFromOther(other);
    return *this;
}

DtHashlist::~DtHashlist() {
    if (ownsList_)
        delete list_;
}

DtListItem* DtHashlist::add(const DtBaseHashKey& key, void* data, void** old) {
    // The key may be the one that the removal frees. Finding the bucket first has it hashed, so
    // that the clone is too. All that takes memory comes before the removal.
    DtList* bucket = bucketFromHashKey(key);
    std::unique_ptr<DtBaseHashKey> ownKey(key.clone());
    auto dataItem = std::make_unique<DtListItem>(data);
    auto item = std::make_unique<BucketItem>(std::move(ownKey), dataItem.get());
    auto keyItem = std::make_unique<DtListItem>(item->entry().hashKey());
    item->entry().setKeyItem(keyItem.get());
    void* const previous = remove(key);
    if (old != nullptr)
        *old = previous;

    list_->addToList(dataItem.get(), list_->last());
    bucket->addToList(item.release(), bucket->last());
    keys_.addToList(keyItem.release(), keys_.last());
    return dataItem.release();
}

void* DtHashlist::remove(const DtBaseHashKey& key) {
    DtListItem* bucketItem = bucketItemLookup(key);
    if (bucketItem == nullptr)
        return nullptr;
    bucketFromHashKey(key)->removeFromList(bucketItem);
    // Freed last: `key` may be the entry's own.
    const std::unique_ptr<DtListItem> removed(bucketItem);
    const DtHashItem* entry = entryOf(bucketItem);
    keys_.remove(entry->keyItem());
    return list_->remove(entry->listItem());
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
    const Wanted wanted(key);
    DtListItem* item = bucketFromHashKey(key)->first();
    while (item != nullptr && !wanted.is(*entryOf(item)))
        item = item->next();
    return item;
}

}  // namespace OrynRti
