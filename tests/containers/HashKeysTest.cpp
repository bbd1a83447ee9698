#include <cstdint>
#include <gtest/gtest.h>
#include <memory>
#include <string>

#include "HashKeys.h"

namespace OrynRti {
namespace {

DtPtrHashKey pointerKey(std::uintptr_t value) {
    return DtPtrHashKey(reinterpret_cast<void*>(value));
}

TEST(HashKeysTest, EachKindHasItsHashAndTextForm) {
    const struct {
        std::shared_ptr<DtBaseHashKey> key;
        int type;
        unsigned int hash;
        const char* text;
    } cases[] = {
        {std::make_shared<DtIntHashKey>(4294967295U), 1, 4294967295U, "4294967295"},
        {std::make_shared<DtPtrHashKey>(pointerKey(0x7F00000000000A0B)), 2, 0xA0B, "2571"},
        {std::make_shared<DtStringHashKey>(), 3, 0, ""},
        {std::make_shared<DtStringHashKey>("a\xFF"), 3, 95, "a\xFF"},
        {std::make_shared<DtWStringHashKey>(L"a\xFF"), 4, 97 + 2 * 255, "a\xFF"},
        {std::make_shared<DtWStringHashKey>(std::wstring(3, wchar_t(0x7FFFFFFF))), 4, 0xFFFFFFFAU,
         "???"},
    };
    for (const auto& c : cases) {
        const std::unique_ptr<DtBaseHashKey> clone(c.key->clone());
        EXPECT_EQ(clone->hashKeyType(), c.type) << c.text;
        EXPECT_EQ(clone->hashValue(), c.hash) << c.text;
        EXPECT_STREQ(clone->stringRep(), c.text);
        EXPECT_TRUE(c.key->equalTo(*clone) && *c.key == *clone) << c.text;
    }
}

TEST(HashKeysTest, AHashIsKeptAndCopiesTakeItAlong) {
    DtStringHashKey key("ab");
    key.hashValue();
    key.setValue("abc");
    const DtStringHashKey copy(key);
    EXPECT_EQ(copy.hashValue(), 293U);
    // Equal texts with different hashes are different keys.
    EXPECT_FALSE(copy == DtStringHashKey("abc"));
}

TEST(HashKeysTest, KeysOfOneHashDifferByTheirText) {
    const DtStringHashKey one("ca"), two("ab");  // 99 + 2 * 97, 97 + 2 * 98
    ASSERT_EQ(one.hashValue(), two.hashValue());
    EXPECT_FALSE(one == two || one.equalTo(two));

    // Both are "??", and their sums agree.
    const DtWStringHashKey wide(std::wstring{wchar_t(0x400), wchar_t(0x500)});
    const DtWStringHashKey other(std::wstring{wchar_t(0x402), wchar_t(0x4FF)});
    ASSERT_EQ(wide.hashValue(), other.hashValue());
    EXPECT_FALSE(wide == other || wide.equalTo(other));

    // Pointers that differ above their low bits are equal only to the operator.
    EXPECT_TRUE(pointerKey(0x100000005) == pointerKey(0x200000005));
    EXPECT_FALSE(pointerKey(0x100000005).equalTo(pointerKey(0x200000005)));
}

/// A key whose identity is not its value.
struct Alias : DtStringHashKey {
    using DtStringHashKey::DtStringHashKey;

    DtString stringRep() const override { return "ab"; }
    unsigned int computeHashValue() override { return 293; }
};

TEST(HashKeysTest, KeysOfDifferentKindsCompareHashAndText) {
    EXPECT_TRUE(DtIntHashKey(5).equalTo(pointerKey(5)));
    EXPECT_FALSE(DtIntHashKey(5).equalTo(DtStringHashKey("5")));
    EXPECT_TRUE(DtStringHashKey("ab").equalTo(DtWStringHashKey(L"ab")));
    EXPECT_TRUE(Alias("x").equalTo(DtStringHashKey("ab")));
    EXPECT_TRUE(DtStringHashKey("ab").equalTo(Alias("x")));
}

}  // namespace
}  // namespace OrynRti
