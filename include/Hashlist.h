#ifndef RTIQNUTIL_HASHLIST_H
#define RTIQNUTIL_HASHLIST_H

#include <memory>

#include "Export.h"
#include "HashKeys.h"
#include "List.h"

namespace OrynRti {

/// One entry of a DtHashlist: its key, and where the table's lists hold its data and its key.
class DT_EXPORT DtHashItem {
public:
    /// Owns the key; borrows its place in the data list.
    DtHashItem(std::unique_ptr<DtBaseHashKey> key, DtListItem* listItem);

    DtBaseHashKey* hashKey() const { return key_.get(); }         ///< The table's own clone.
    DtListItem* listItem() const { return listItem_; }            ///< In DtHashlist::list().
    DtListItem* keyItem() const { return keyItem_; }              ///< In DtHashlist::keys().
    void setKeyItem(DtListItem* keyItem) { keyItem_ = keyItem; }  ///< For the table alone.

    /// Whether the key is a DtStringHashKey and of no class derived from it, which may compare
    /// otherwise; and then its hash. A lookup need not touch keys that these rule out. @{
    bool isText() const { return isText_; }
    unsigned int textHash() const { return textHash_; }
    /// @}

private:
    // The order of the members is fixed.
    std::unique_ptr<DtBaseHashKey> key_;
    DtListItem* listItem_;
    DtListItem* keyItem_ = nullptr;
    bool isText_;
    unsigned int textHash_;
};

/// A hash table from keys to untyped data pointers that also keeps its entries in the order in
/// which they were added. For tables that are looked up often and walked in order; a number of
/// buckets near the expected number of entries keeps lookups short, since it never changes.
///
///     DtHashlist objects(1009);
///     void* old = nullptr;
///     objects.add(DtStringHashKey("T-72 #4"), &tank, &old);
///     auto* found = static_cast<Tank*>(objects.lookup(DtStringHashKey("T-72 #4")));
///     for (const DtListItem* item = objects.keys()->first(); item; item = item->next())
///         show(static_cast<DtBaseHashKey*>(item->data())->stringRep());
///
/// Keys handed in are cloned, and may be keys of the table itself. A copy has its own clones and
/// its own data list, and as many buckets; assignment keeps the buckets and the data list of the
/// table that is assigned to. Operations call one another through their virtual slots, whose
/// order is fixed.
///
/// Threads:   looking up shares the rule for keys: a key's first hash is computed in place
/// Ownership: the data are never touched. A data list given to the constructor is the caller's,
///            must outlive every operation but destruction, and keeps its items when the table
///            is destroyed; the caller may walk it and add to it, but not remove what the table
///            added. keys() and list() are for walking only
/// Errors:    none; what is not found gives null
/// Cost:      add allocates three blocks beside the key; a lookup walks one bucket, removing an
///            entry searches no list but its bucket
class DT_EXPORT DtHashlist {
public:
    /// With a data list of its own. Fewer than 1 bucket counts as 1.
    explicit DtHashlist(int buckets);

    /// Appends its data to `list`; null gives the table a list of its own.
    DtHashlist(DtList* list, int buckets);

    DtHashlist(const DtHashlist& other);             ///< Has a data list of its own.
    DtHashlist& operator=(const DtHashlist& other);  ///< As setFromOther().

    // The order of the virtual functions is fixed.

    virtual ~DtHashlist();

    /// Adds an entry as the last one, and returns its item in the data list. An entry with an
    /// equal key is removed first: its data, or null without one, goes to `*old` unless `old`
    /// is null.
    virtual DtListItem* add(const DtBaseHashKey& key, void* data, void** old);

    /// Removes an entry and returns its data, or null when there is none.
    virtual void* remove(const DtBaseHashKey& key);

    /// The data of an entry, or null.
    virtual void* lookup(const DtBaseHashKey& key);

    virtual DtList* list() const;  ///< The data, in the order of the entries.

    /// Writes every key's text form and the low 32 bits of its data pointer to DtInfo.
    virtual void print() const;

    /// The keys as `DtBaseHashKey*`, in the order of the entries.
    virtual const DtList* keys() const;

    /// Removes every entry.
    virtual void empty();

    /// Replaces every entry by those of `other`, in their order. A table is left as it is when
    /// it is given itself.
    virtual void setFromOther(const DtHashlist& other);

    /// An entry's item in the data list, or null.
    virtual DtListItem* itemLookup(const DtBaseHashKey& key);

    /// The bucket that an entry of this key is in, or would be.
    virtual DtList* bucketFromHashKey(const DtBaseHashKey& key);

    /// The bucket's item whose data is the entry's DtHashItem, or null.
    virtual DtListItem* bucketItemLookup(const DtBaseHashKey& key);

private:
    // The order of the members is fixed.
    int bucketCount_;
    bool ownsList_;
    DtList* list_;
    std::unique_ptr<DtList[]> buckets_;
    DtList keys_;
};

}  // namespace OrynRti

#endif
