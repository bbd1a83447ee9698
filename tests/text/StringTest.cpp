#include <algorithm>
#include <cstring>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iomanip>
#include <limits>
#include <memory>
#include <new>
#include <set>
#include <sstream>

#include "String.h"

namespace OrynRti::Tests {

namespace {

using testing::ElementsAre;
using testing::StrEq;

struct Storage : DtString {
    static std::uint32_t capacity(const DtString& string) { return string.*(&Storage::capacity_); }
    static bool isInline(const DtString& string) {
        return string.*(&Storage::data_) == string.*(&Storage::inlineBuffer_);
    }
};

struct ClearedOnHeap {
    DtString string{std::string(100, 'x')};
    ClearedOnHeap() { string.clear(); }
};

std::vector<std::string> texts(const std::vector<DtString>& strings) {
    std::vector<std::string> result;
    for (const DtString& string : strings)
        result.push_back(string.stdString());
    return result;
}

}  // namespace

// --------------------------------------------------------------------- storage and copies

TEST(StringTest, StaysInTheObjectUpTo63CharactersAndFitsLongerTextExactly) {
    for (const std::size_t length : {0u, 1u, 62u, 63u, 64u, 65u, 300u}) {
        const std::string text(length, 'a');
        DtString assigned, appended;
        assigned = text.c_str();
        appended += text.c_str();
        for (const DtString& string :
             {DtString(text.c_str()), DtString(text.c_str(), static_cast<int>(length)),
              DtString(text), assigned, appended}) {
            EXPECT_EQ(string.stdString(), text);
            EXPECT_EQ(string.size(), static_cast<int>(length));
            EXPECT_EQ(Storage::isInline(string), length < 64);
            EXPECT_EQ(Storage::capacity(string), length < 64 ? 64 : length + 1);
        }
    }
    EXPECT_EQ(sizeof(DtString), 88u);
}

TEST(StringTest, ConstructsFromPartsAndNumbers) {
    EXPECT_THAT(DtString("abcdef", 3).c_str(), StrEq("abc"));
    EXPECT_THAT(DtString("abcdef", -1).c_str(), StrEq(""));
    EXPECT_THAT(DtString('x').c_str(), StrEq("x"));
    EXPECT_THAT(DtString(-2147483647 - 1).c_str(), StrEq("-2147483648"));
    EXPECT_THAT(DtString(4294967295u).c_str(), StrEq("4294967295"));
    EXPECT_THAT(DtString(-9223372036854775807L - 1).c_str(), StrEq("-9223372036854775808"));
    EXPECT_THAT(DtString(18446744073709551615ul).c_str(), StrEq("18446744073709551615"));
    EXPECT_THAT(DtString(10.56).c_str(), StrEq("10.56"));
    EXPECT_THAT(DtString(double{10.56f}).c_str(), StrEq("10.56000041962"));
    EXPECT_THAT(DtString(-1.2345678901234e-300).c_str(), StrEq("-1.234567890123e-300"));
}

TEST(StringTest, KeepsItsBlockForShorterTexts) {
    DtString string(std::string(100, 'x'));
    const char* const block = string.c_str();
    string = "0123456789";
    string += "more";
    string = nullptr;
    string = DtString("inline");
    EXPECT_EQ(string.c_str(), block);
    EXPECT_EQ(Storage::capacity(string), 101u);
    EXPECT_TRUE(string == "inline");
}

TEST(StringTest, CopiesTakeTheWholeBlockAlong) {
    DtString source(std::string(199, 'x'));
    source = "short";
    DtString assigned;
    assigned = source;
    const std::unique_ptr<DtString> clone(source.clone());
    for (const DtString* copy : {&assigned, clone.get()}) {
        EXPECT_EQ(Storage::capacity(*copy), 200u);
        EXPECT_NE(copy->c_str(), source.c_str());
        EXPECT_EQ(std::memcmp(copy->c_str(), source.c_str(), 200), 0);
    }

    DtString small;
    small.clear();
    small = "abc";
    ASSERT_EQ(Storage::capacity(small), 4u);
    const DtString copy(small);
    EXPECT_TRUE(Storage::isInline(copy));
    EXPECT_EQ(Storage::capacity(copy), 64u);
    assigned = small;
    EXPECT_THAT(assigned.c_str(), StrEq("abc"));
    small = copy;
    EXPECT_EQ(Storage::capacity(small), 64u);
    EXPECT_FALSE(Storage::isInline(small));
}

TEST(StringTest, MovesHandOverTheBlockAndLeaveAWorkingString) {
    DtString source(std::string(100, 'x'));
    const char* const block = source.c_str();
    DtString target(std::move(source));
    EXPECT_EQ(target.c_str(), block);
    EXPECT_EQ(Storage::capacity(target), 101u);
    EXPECT_THAT(source.c_str(), StrEq(""));  // NOLINT(bugprone-use-after-move)
    source = "again";
    EXPECT_TRUE(Storage::isInline(source));
    DtString inlineTarget(std::move(source));
    EXPECT_THAT(inlineTarget.c_str(), StrEq("again"));
    EXPECT_TRUE(Storage::isInline(inlineTarget));
}

TEST(StringTest, ClearedOnTheHeapIsSafeInEveryOperation) {
    ClearedOnHeap cleared;
    DtString& string = cleared.string;
    const DtString& constant = string;
    ASSERT_EQ(string.c_str(), nullptr);
    EXPECT_EQ(string.size() + string.length() + string.count('x'), 0);
    EXPECT_TRUE(string.isEmpty());
    EXPECT_EQ(string.stdString(), "");
    EXPECT_FALSE(string < "a" || string > "" || string == "" || string != "a" || string <= "a" ||
                 string >= "" || string.caseCompare(""));
    EXPECT_FALSE(string == string || string != string);
    EXPECT_EQ(string[3], '\0');
    EXPECT_EQ(constant[3], '\0');
    EXPECT_EQ(string.findChar('x') + string.findLastChar('x'), -2);
    EXPECT_EQ(string.findString("") + string.findLastString("x"), -2);
    EXPECT_EQ(DtString("x").findString(string), -1);
    EXPECT_FALSE(string.snipFront('x') || string.snipBack('x') || string.chompFront() ||
                 string.chompBack() || string.toUpper() || string.toLower());
    EXPECT_THAT(string.section(',', 0, 1).c_str(), StrEq(""));
    EXPECT_THAT((string + "a").c_str(), StrEq("a"));
    EXPECT_THAT((DtString("a") + string).c_str(), StrEq("a"));

    std::ostringstream out;
    out << std::setw(5) << string << "|";
    EXPECT_TRUE(out.good());
    EXPECT_EQ(out.str(), "|");

    string.clear();
    string = nullptr;
    string += "";
    EXPECT_EQ(string.c_str(), nullptr);
    string += "again";
    EXPECT_THAT(string.c_str(), StrEq("again"));
    EXPECT_EQ(Storage::capacity(string), 6u);
}

TEST(StringTest, ClearedInTheObjectKeepsItsCharactersAndGrowsOntoTheHeap) {
    DtString string("abc");
    string.clear();
    EXPECT_EQ(Storage::capacity(string), 0u);
    EXPECT_THAT(string.c_str(), StrEq("abc"));
    string = string.c_str() + 1;
    EXPECT_THAT(string.c_str(), StrEq("bc"));
    EXPECT_EQ(Storage::capacity(string), 3u);

    DtString appended("abc");
    appended.clear();
    appended += "d";
    EXPECT_THAT(appended.c_str(), StrEq("abcd"));
    EXPECT_EQ(Storage::capacity(appended), 5u);
}

TEST(StringTest, CopyingAClearedStringGivesAnEmptyOne) {
    DtString inlineCleared("abc");
    inlineCleared.clear();
    ClearedOnHeap heapCleared;
    for (DtString* source : {&inlineCleared, &heapCleared.string}) {
        DtString assigned("held");
        assigned = *source;
        EXPECT_THAT(assigned.c_str(), StrEq(""));
        EXPECT_THAT(DtString(*source).c_str(), StrEq(""));
        EXPECT_THAT(DtString(std::move(*source)).c_str(), StrEq(""));
    }
}

TEST(StringTest, TakesNullTextsForNoText) {
    const char* const null = nullptr;
    EXPECT_THAT(DtString(null).c_str(), StrEq(""));
    EXPECT_THAT(DtString(null, 5).c_str(), StrEq(""));
    DtString string("abc");
    string += null;
    EXPECT_THAT((null + string + null).c_str(), StrEq("abc"));
    EXPECT_FALSE(string.caseCompare(null));
    string = null;
    EXPECT_THAT(string.c_str(), StrEq(""));
}

TEST(StringTest, AcceptsPartsOfItselfWithAndWithoutGrowth) {
    for (const std::size_t length : {10u, 40u, 63u, 100u}) {
        std::string expected = "ab" + std::string(length - 2, 'x');
        DtString string(expected);
        string += string;
        expected += expected;
        EXPECT_EQ(string.stdString(), expected);
        string += string.c_str() + 1;
        expected += expected.substr(1);
        EXPECT_EQ(string.stdString(), expected);
        string = string.c_str() + 2;
        EXPECT_EQ(string.stdString(), expected.substr(2));
        string = string.c_str();
        string = *&string;
        EXPECT_EQ(string.stdString(), expected.substr(2));
    }
    DtString hidden("ab\0cdef", 7);
    hidden += hidden.c_str() + 3;
    EXPECT_THAT(hidden.c_str(), StrEq("abcdef"));
}

TEST(StringTest, IsUnchangedWhenTheMemoryForATextIsRefused) {
    struct Huge : DtString {
        using DtString::DtString;
        void claim(std::uint32_t capacity) { capacity_ = capacity; }
        int size() const override { return std::numeric_limits<int>::max(); }
    } huge("huge");
    DtString& appended = huge;
    EXPECT_THROW(appended += "x", std::bad_alloc);
    EXPECT_THAT(huge.c_str(), StrEq("huge"));

    huge.claim(0xFFFFFFFF);
    for (const std::string& text : {std::string("held"), std::string(100, 'x')}) {
        DtString assigned(text);
        EXPECT_THROW(assigned = huge, std::bad_alloc);
        EXPECT_EQ(assigned.stdString(), text);
    }
    EXPECT_THROW(DtString{huge}, std::bad_alloc);
}

// ------------------------------------------------------------ comparing and concatenating

TEST(StringTest, ComparesByteWiseWithATextOnEitherSide) {
    const std::vector<DtString> ascending = {"", "B", "a", "ab", "b", "\xe9"};
    const char* const null = nullptr;
    const auto expectRelation = [&](auto holds) {
        for (std::size_t i = 0; i < ascending.size(); ++i) {
            for (std::size_t j = 0; j < ascending.size(); ++j) {
                const DtString &a = ascending[i], &b = ascending[j];
                EXPECT_EQ(holds(a, b), holds(i, j));
                EXPECT_EQ(holds(a, b.c_str()), holds(i, j));
                EXPECT_EQ(holds(a.c_str(), b), holds(i, j));
            }
            EXPECT_FALSE(holds(ascending[i], null));
            EXPECT_FALSE(holds(null, ascending[i]));
        }
    };
    expectRelation([](const auto& a, const auto& b) { return a < b; });
    expectRelation([](const auto& a, const auto& b) { return a > b; });
    expectRelation([](const auto& a, const auto& b) { return a == b; });
    expectRelation([](const auto& a, const auto& b) { return a != b; });
    expectRelation([](const auto& a, const auto& b) { return a <= b; });
    expectRelation([](const auto& a, const auto& b) { return a >= b; });
    const std::set<DtString> sorted(ascending.rbegin(), ascending.rend());
    EXPECT_TRUE(std::equal(sorted.begin(), sorted.end(), ascending.begin()));
}

TEST(StringTest, ComparesWithoutRegardToCase) {
    EXPECT_TRUE(DtString("abc").caseCompare("ABC"));
    EXPECT_TRUE(DtString("aBc").caseCompare(DtString("AbC")));
    EXPECT_FALSE(DtString("abc").caseCompare("ABCD"));
}

TEST(StringTest, ConcatenatesLeftOperandFirst) {
    const DtString a("a"), b("b");
    EXPECT_THAT((a + b).c_str(), StrEq("ab"));
    EXPECT_THAT((a + "c").c_str(), StrEq("ac"));
    EXPECT_THAT(("c" + a + DtString(7) + std::string("d")).c_str(), StrEq("ca7d"));
}

TEST(StringTest, DerivedOverridesChangeTheOperationsBuiltOnThem) {
    struct Upper : DtString {
        using DtString::operator+=;
        using DtString::operator[];
        DtString& operator+=(const char* text) override {
            DtString upper(text);
            upper.toUpper();
            return DtString::operator+=(upper.c_str());
        }
        const char& operator[](int) const override { return theAny; }
        int size() const override { return std::min(DtString::size(), 2); }
        int toInt(bool* ok) const override { return *ok = true, 7; }
        const char theAny = '*';
    } string;
    string += DtString("ab ");
    EXPECT_THAT(string.c_str(), StrEq("AB "));
    EXPECT_EQ(string.length(), 2);
    EXPECT_EQ(string.count('*'), 2);
    EXPECT_TRUE(string.toBoolean());
}

TEST(StringTest, VirtualSlotsAreWhereCompiledCallersExpectThem) {
    // A member pointer to a virtual function holds 1 plus the offset in the virtual table.
    const auto slot = [](auto member) {
        std::ptrdiff_t offset = 0;
        std::memcpy(&offset, &member, sizeof offset);
        return (offset - 1) / static_cast<std::ptrdiff_t>(sizeof(void*));
    };
    EXPECT_EQ(slot(&DtString::operator const char*), 4);
    EXPECT_EQ(slot(&DtString::clone), 5);
    EXPECT_EQ(slot(&DtString::operator>=), 11);
    EXPECT_EQ(slot(&DtString::snipFront), 19);
    EXPECT_EQ(slot(&DtString::tokenize), 23);
    EXPECT_EQ(slot(&DtString::toBoolean), 28);
    EXPECT_EQ(slot(&DtString::findLastString), 34);
    EXPECT_EQ(slot(&DtString::stdString), 38);
    EXPECT_EQ(slot(&DtString::section), 42);
}

// ------------------------------------------------------------------- editing and searching

TEST(StringTest, SnipsUpToOrFromACharacter) {
    const auto edited = [](const char* text, auto edit, bool expected) {
        DtString string(text);
        EXPECT_EQ(edit(string), expected) << text;
        return string.stdString();
    };
    const auto front = [](DtString& s) { return s.snipFront('.', false); };
    const auto frontToLast = [](DtString& s) { return s.snipFrontToLast('.'); };
    const auto back = [](DtString& s) { return s.snipBack('.', false); };
    const auto backToFirst = [](DtString& s) { return s.snipBackToFirst('.'); };
    EXPECT_EQ(edited("a.b.c", front, true), "b.c");
    EXPECT_EQ(edited("a.b.c", frontToLast, true), "c");
    EXPECT_EQ(edited("a.b.c", back, true), "a.b");
    EXPECT_EQ(edited("a.b.c", backToFirst, true), "a");
    EXPECT_EQ(edited(".", front, true), "");
    EXPECT_EQ(edited("abc", front, false), "abc");
    EXPECT_EQ(edited("abc", backToFirst, false), "abc");
    EXPECT_EQ(edited(
                  "abc", [](DtString& s) { return s.snipFront('\0'); }, false),
              "abc");
    EXPECT_EQ(edited(
                  "abc", [](DtString& s) { return s.snipBack('\0'); }, false),
              "abc");
}

TEST(StringTest, ChompsWhiteSpaceAndChangesCase) {
    DtString string(" \t a b\r\n\v");
    EXPECT_TRUE(string.chompFront());
    EXPECT_TRUE(string.chompBack());
    EXPECT_THAT(string.c_str(), StrEq("a b"));
    EXPECT_FALSE(string.chompFront() || string.chompBack());
    DtString front("  \n"), back("  \n"), high("\xa0\xff");
    EXPECT_TRUE(front.chompFront() && front == "");
    EXPECT_TRUE(back.chompBack() && back == "");
    EXPECT_FALSE(high.chompFront() || high.chompBack() || high.toUpper());

    DtString letters("aZ_9");
    EXPECT_TRUE(letters.toUpper() && letters == "AZ_9");
    EXPECT_FALSE(letters.toUpper());
    EXPECT_TRUE(letters.toLower() && letters == "az_9");
}

TEST(StringTest, FindsCharactersAndTexts) {
    DtString string("abxab");
    EXPECT_EQ(string.findChar('b'), 1);
    EXPECT_EQ(string.findLastChar('b'), 4);
    EXPECT_EQ(string.findChar('z'), -1);
    EXPECT_EQ(string.findLastChar('\0'), 5);
    EXPECT_EQ(string.findString("xa"), 2);
    EXPECT_EQ(string.findLastString("ab"), 0);
    EXPECT_EQ(string.findLastString("b"), 1);
    for (const char* empty : {"", "abc"})
        EXPECT_EQ(DtString(empty).findString("") + DtString(empty).findLastString(""), 0);
    EXPECT_EQ(string.findLastString("abxabx"), -1);
    EXPECT_EQ(string.count('a'), 2);
}

TEST(StringTest, TokenizesKeepingEmptyTokensExceptTheLast) {
    const auto tokens = [](const char* text, char separator = ',') {
        std::vector<DtString> result(2, "old");
        DtString(text).tokenize(separator, result);
        return texts(result);
    };
    EXPECT_THAT(tokens(""), ElementsAre());
    EXPECT_THAT(tokens("a,,b,"), ElementsAre("a", "", "b"));
    EXPECT_THAT(tokens(",a"), ElementsAre("", "a"));
    EXPECT_THAT(tokens(",,"), ElementsAre("", ""));
    EXPECT_THAT(tokens("a,b", '\0'), ElementsAre("a,b"));

    std::vector<DtString> self = {"a,b,c", "other"};
    self[0].tokenize(',', self);
    EXPECT_THAT(texts(self), ElementsAre("a", "b", "c"));
}

TEST(StringTest, SectionCountsOnlyTokensWithText) {
    const auto section = [](const char* text, int start, int end) {
        return DtString(text).section(',', start, end).stdString();
    };
    EXPECT_EQ(section("a,b,c", 1, 1), "b");
    EXPECT_EQ(section("a,b,c", 0, 1), "a,b");
    EXPECT_EQ(section("a,b,c", -2, -1), "b,c");
    EXPECT_EQ(section("a,b,c", 2, 9), "c");
    EXPECT_EQ(section("a,,b,c", 0, 1), "a,,b");
    EXPECT_EQ(section(",a,b", 0, 0), "a");
    EXPECT_EQ(section("a,b", -5, 0), ",a");  // the start lies before the first token
    EXPECT_EQ(section("a,b", 2, 1), "");
    EXPECT_EQ(section("", 0, 1), "");
}

// --------------------------------------------------------------------------------- streams

TEST(StringTest, ExtractsWordsAndQuotedPhrases) {
    struct Case {
        std::string input, extracted, rest;
        bool atEnd;
    };
    const std::string w300(300, 'w'), w254(254, 'w');
    const Case cases[] = {
        {"  word next", "word", " next", false},
        {"word", "word", "", true},
        {"\"hello   big\n world\" next", "hello big world", " next", false},
        {"\"quoted\" next", "quoted", " next", false},
        {"\"\" next", "", " next", false},
        {"\" spaced out \" next", " spaced out ", " next", false},
        {"\" \" next", " ", " next", false},
        {"\"open phrase  ", "open phrase", "", true},
        {"\"", "", "", true},
        {"a\"b c\" d", "a\"b", " c\" d", false},
        {w300 + " next", w300.substr(0, 255), w300.substr(255) + " next", false},
        {"\"a " + w300 + " b\" next", "a " + w300 + " b", " next", false},
        {"\"" + w254 + " b\" next", w254 + " b", " next", false},
        {"\"" + w300 + "\" next", w300, " next", false},
    };
    for (const Case& c : cases) {
        std::istringstream in(c.input);
        DtString string("held");
        in >> string;
        EXPECT_EQ(string.stdString(), c.extracted) << c.input;
        EXPECT_FALSE(in.fail()) << c.input;
        EXPECT_EQ(in.eof(), c.atEnd) << c.input;
        in.clear();
        EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}), c.rest) << c.input;
    }
}

TEST(StringTest, ExtractionWithoutAWordFailsAndLeavesTheString) {
    std::istringstream in("  ");
    DtString string("held");
    EXPECT_TRUE((in >> string).fail());
    EXPECT_THAT(string.c_str(), StrEq("held"));
    std::istringstream nul(std::string("\0x", 1));
    EXPECT_FALSE((nul >> string).fail());
    EXPECT_THAT(string.c_str(), StrEq(""));
}

TEST(StringTest, InsertsWithTheStreamsWidth) {
    std::ostringstream out;
    out << std::setw(5) << DtString("abc") << DtString::nullString() << DtString::nullId() << '|';
    EXPECT_EQ(out.str(), "  abc|");
}

}  // namespace OrynRti::Tests
