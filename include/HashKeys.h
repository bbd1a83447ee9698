#ifndef RTIQNUTIL_HASHKEYS_H
#define RTIQNUTIL_HASHKEYS_H

#include <string>

#include "Export.h"
#include "String.h"

namespace OrynRti {

/// What a DtHashlist is keyed by: a value that keeps its hash once it has been asked for. A key
/// is therefore fixed from its first hashValue() on, and copies take the hash along.
///
/// An application's own key derives from this class, or from one of the four below:
///
///     class SiteKey : public DtIntHashKey { ... };
///     table.add(DtStringHashKey("HLAobjectRoot"), &root, nullptr);
///
/// The order of the virtual functions is fixed; derived classes append theirs.
///
/// Threads:   the first hashValue() of a key writes to it, and so does whatever compares it: ask
///            once before several threads share the key
class DT_EXPORT DtBaseHashKey {
public:
    virtual ~DtBaseHashKey();

    /// Equal hashes and equal text forms. Keys of two classes can be equal: the integer 5 and
    /// the pointer 5 are. Pointers that differ only above their low 32 bits are equal here,
    /// though not in equalTo. Two wide strings compare their values, since different ones can
    /// have one text form. @{
    virtual bool operator==(const DtBaseHashKey& other) const;
    virtual bool operator!=(const DtBaseHashKey& other) const;
    /// @}

    /// Computed on the first call, and kept. (Defined here, as value() of texts is, for tables,
    /// which ask for it most; exported all the same.)
    DT_EXPORT virtual unsigned int hashValue() const {
        if (hashed_ != 1)
            keepHash();
        return hash_;
    }

    /// 0 here, 1 to 4 for the classes below. A class that gives one of their numbers must derive
    /// from the class it belongs to.
    virtual int hashKeyType() const;

    /// A copy on the heap, owned by the caller. Never null.
    virtual DtBaseHashKey* clone() const = 0;

    virtual DtString stringRep() const = 0;  ///< The text form: compared by ==, and for display.

    /// What tables find their entries by; a key must be equal to itself. Here the same as ==.
    virtual bool equalTo(const DtBaseHashKey& other) const;

    /// The hash of the value. Called once per key, also on constant ones: it may not change what
    /// it hashes.
    virtual unsigned int computeHashValue() = 0;

protected:
    DtBaseHashKey() = default;
    DtBaseHashKey(const DtBaseHashKey&) = default;             ///< Takes a known hash along.
    DtBaseHashKey& operator=(const DtBaseHashKey&) = default;  ///< The same.

private:
    void keepHash() const;

    // The order of the members is fixed.
    mutable int hashed_ = 0;
    mutable unsigned int hash_ = 0;
};

/// An integer, which is its own hash; the text form is its decimal digits.
class DT_EXPORT DtIntHashKey : public DtBaseHashKey {
public:
    explicit DtIntHashKey(unsigned int value = 0) : value_(value) {}  ///< Key of that value.
    ~DtIntHashKey() override;

    int hashKeyType() const override;
    DtIntHashKey* clone() const override;
    DtString stringRep() const override;

    /// Two integer keys compare their values.
    bool equalTo(const DtBaseHashKey& other) const override;
    unsigned int computeHashValue() override;
    virtual unsigned int value() const;  ///< As given.

private:
    unsigned int value_;
};

/// A pointer. Hash and text form come from its low 32 bits.
class DT_EXPORT DtPtrHashKey : public DtBaseHashKey {
public:
    explicit DtPtrHashKey(void* value = nullptr) : value_(value) {}  ///< Never looks behind it.
    ~DtPtrHashKey() override;

    int hashKeyType() const override;
    DtPtrHashKey* clone() const override;
    DtString stringRep() const override;

    /// Two keys of exactly the same class compare the whole pointers.
    bool equalTo(const DtBaseHashKey& other) const override;
    unsigned int computeHashValue() override;
    virtual void* value() const;  ///< As given.

private:
    void* value_;
};

/// An 8-bit text. The hash is the sum, in 32 bits, of each character (signed) times its place,
/// counted from 1: it is cheap, and anagrams differ.
class DT_EXPORT DtStringHashKey : public DtBaseHashKey {
public:
    DtStringHashKey() = default;
    explicit DtStringHashKey(const DtString& value) : value_(value) {}  ///< Copies the text.
    ~DtStringHashKey() override;

    int hashKeyType() const override;
    DtStringHashKey* clone() const override;
    DtString stringRep() const override;
    bool equalTo(const DtBaseHashKey& other) const override;
    unsigned int computeHashValue() override;
    DT_EXPORT virtual const DtString& value() const { return value_; }  ///< The text held.

    /// Keeps a hash that has been computed already: set the value of a key before its first use.
    virtual void setValue(const DtString& value);

private:
    DtString value_;
};

/// A wide text. The hash is formed as for DtStringHashKey, of unsigned characters; the text form
/// has '?' for what does not fit 8 bits.
class DT_EXPORT DtWStringHashKey : public DtBaseHashKey {
public:
    DtWStringHashKey() = default;
    explicit DtWStringHashKey(const std::wstring& value) : value_(value) {}  ///< Copies the text.
    ~DtWStringHashKey() override;

    int hashKeyType() const override;
    DtWStringHashKey* clone() const override;
    DtString stringRep() const override;
    unsigned int computeHashValue() override;
    virtual const std::wstring& value() const;  ///< The text held.

    /// Keeps a hash that has been computed already: set the value of a key before its first use.
    virtual void setValue(const std::wstring& value);

private:
    std::wstring value_;
};

}  // namespace OrynRti

#endif
