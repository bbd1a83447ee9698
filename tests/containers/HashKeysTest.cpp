#include <cstdint>
#include <gtest/gtest.h>
#include <memory>
#include <string>

#include "HashKeys.h"

namespace OrynRti {

namespace {

void* pointer(std::uintptr_t value) {
    return reinterpret_cast<void*>(value);
}

TEST(HashKeysTest, EachKindHasItsHashAndTextForm) {
    const struct {
        std::shared_ptr<DtBaseHashKey> key;
        int type;
        unsigned int hash;
        const char* text;
    } cases[] = {
        {std::make_shared<DtIntHashKey>(), 1, 0, "0"},
        {std::make_shared<DtIntHashKey>(4294967295U), 1, 4294967295U, "4294967295"},
        {std::make_shared<DtPtrHashKey>(), 2, 0, "0"},
        {std::make_shared<DtPtrHashKey>(pointer(0x7F00000000000A0B)), 2, 0xA0B, "2571"},
        {std::make_shared<DtStringHashKey>(), 3, 0, ""},
        {std::make_shared<DtStringHashKey>("ab"), 3, 293, "ab"},
        {std::make_shared<DtStringHashKey>("a\xFF"), 3, 95, "a\xFF"},
        {std::make_shared<DtStringHashKey>("\xFF"), 3, 0xFFFFFFFFU, "\xFF"},
        {std::make_shared<DtWStringHashKey>(), 4, 0, ""},
        {std::make_shared<DtWStringHashKey>(L"ab"), 4, 293, "ab"},
        {std::make_shared<DtWStringHashKey>(L"a\xFF"), 4, 97 + 2 * 255, "a\xFF"},
        {std::make_shared<DtWStringHashKey>(std::wstring(3, wchar_t(0x7FFFFFFF))), 4, 0xFFFFFFFAU,
         "???"},
    };
    for (const auto& c : cases) {
        const std::unique_ptr<DtBaseHashKey> clone(c.key->clone());
        for (const DtBaseHashKey* key : {c.key.get(), clone.get()}) {
            EXPECT_EQ(key->hashKeyType(), c.type) << c.text;
            EXPECT_EQ(key->hashValue(), c.hash) << c.text;
            EXPECT_STREQ(key->stringRep(), c.text);
        }
        EXPECT_TRUE(c.key->equalTo(*clone) && *c.key == *clone) << c.text;
        EXPECT_FALSE(*c.key != *clone) << c.text;
    }
}

TEST(HashKeysTest, AHashIsKeptAndCopiesTakeItAlong) {
    DtStringHashKey key;
    key.setValue("ab");
    EXPECT_EQ(key.hashValue(), 293U);
    key.setValue("abc");
    EXPECT_EQ(key.hashValue(), 293U);
    EXPECT_STREQ(key.value(), "abc");

    const DtStringHashKey copy(key);
    DtStringHashKey assigned("x");
    assigned = key;
    EXPECT_EQ(copy.hashValue(), 293U);
    EXPECT_EQ(assigned.hashValue(), 293U);
    EXPECT_EQ(std::unique_ptr<DtBaseHashKey>(key.clone())->hashValue(), 293U);

    // Equal texts with different hashes are different keys.
    EXPECT_FALSE(copy == DtStringHashKey("abc"));
}

TEST(HashKeysTest, StringsOfOneHashDifferByTheirText) {
    const DtStringHashKey one("ca");  // 99 + 2 * 97
    const DtStringHashKey two("ab");  // 97 + 2 * 98
    ASSERT_EQ(one.hashValue(), two.hashValue());
    EXPECT_FALSE(one == two);
    EXPECT_TRUE(one != two);
    EXPECT_FALSE(one.equalTo(two));
}

TEST(HashKeysTest, KeysOfDifferentKindsCompareHashAndText) {
    const DtIntHashKey five(5);
    EXPECT_TRUE(five.equalTo(DtPtrHashKey(pointer(5))));
    EXPECT_TRUE(DtPtrHashKey(pointer(5)).equalTo(five));
    EXPECT_FALSE(five.equalTo(DtStringHashKey("5")));
    EXPECT_TRUE(five != DtStringHashKey("5"));
    EXPECT_TRUE(DtStringHashKey("ab").equalTo(DtWStringHashKey(L"ab")));
    EXPECT_TRUE(DtWStringHashKey(L"ab") == DtStringHashKey("ab"));
}

TEST(HashKeysTest, PointersThatDifferAboveTheirLowBitsAreEqualOnlyToTheOperator) {
    const DtPtrHashKey low(pointer(0x100000005));
    const DtPtrHashKey high(pointer(0x200000005));
    EXPECT_TRUE(low == high);
    EXPECT_FALSE(low.equalTo(high));
}

TEST(HashKeysTest, WideStringsOfOneTextFormCompareTheirValues) {
    // Both are "??", and their sums agree.
    const DtWStringHashKey one(std::wstring{wchar_t(0x400), wchar_t(0x500)});
    const DtWStringHashKey two(std::wstring{wchar_t(0x402), wchar_t(0x4FF)});
    ASSERT_EQ(one.hashValue(), two.hashValue());
    ASSERT_STREQ(one.stringRep(), two.stringRep());
    EXPECT_FALSE(one == two);
    EXPECT_TRUE(one != two);
    EXPECT_FALSE(one.equalTo(two));
}

/// A key whose text form, and so whose identity, ignores case.
class CaselessKey : public DtStringHashKey {
public:
    using DtStringHashKey::DtStringHashKey;

    CaselessKey* clone() const override { return new CaselessKey(*this); }
    DtString stringRep() const override {
        DtString text = value();
        text.toLower();
        return text;
    }
    unsigned int computeHashValue() override { return DtStringHashKey(stringRep()).hashValue(); }
};

TEST(HashKeysTest, ADerivedKeyMayHaveATextFormOfItsOwn) {
    EXPECT_TRUE(CaselessKey("Platform").equalTo(CaselessKey("PLATFORM")));
    EXPECT_TRUE(DtStringHashKey("platform") == CaselessKey("Platform"));
    EXPECT_FALSE(DtStringHashKey("Platform") == CaselessKey("Platform"));
}

}  // namespace

}  // namespace OrynRti
