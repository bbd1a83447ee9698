#include <array>
#include <cstring>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iomanip>
#include <iterator>
#include <limits>
#include <memory>
#include <new>
#include <sstream>

#include "String.h"

namespace OrynRti::Tests {

namespace {

using testing::ElementsAre;

constexpr const char* theNull = nullptr;

struct Storage : DtString {
    using DtString::operator=;
    static std::size_t capacity(const DtString& string) { return string.*(&Storage::capacity_); }
    static bool isInline(const DtString& string) {
        return string.*(&Storage::data_) == string.*(&Storage::inlineBuffer_);
    }
};

}  // namespace

// --------------------------------------------------------------------- storage and copies

TEST(StringTest, StaysInTheObjectUpTo63CharactersAndFitsLongerTextExactly) {
    for (const std::size_t length : {0u, 63u, 64u, 300u}) {
        const std::string text(length, 'a');
        DtString assigned, appended;
        assigned = text.c_str();
        appended += text.c_str();
        for (const DtString& string : {DtString(text), assigned, appended}) {
            EXPECT_EQ(string.stdString(), text);
            EXPECT_EQ(Storage::isInline(string), length < 64);
            EXPECT_EQ(Storage::capacity(string), length < 64 ? 64 : length + 1);
        }
    }
    EXPECT_EQ(sizeof(DtString), 88u);
}

TEST(StringTest, ConstructsFromPartsAndNumbers) {
    EXPECT_EQ(DtString("abcdef", 3), "abc");
    EXPECT_EQ(DtString(theNull, 5), "");
    EXPECT_EQ(DtString(std::numeric_limits<long>::min()), "-9223372036854775808");
    EXPECT_EQ(DtString(18446744073709551615ul), "18446744073709551615");
    EXPECT_EQ(DtString(-1.2345678901234e-300), "-1.234567890123e-300");
}

TEST(StringTest, KeepsItsBlockForShorterTextsAndCopiesTakeAllOfItAlong) {
    DtString source(std::string(199, 'x')), assigned;
    const char* const block = source.c_str();
    source = "0123456789";
    source += "more";
    source = DtString("inline");
    EXPECT_EQ(source.c_str(), block);
    assigned = source;
    const std::unique_ptr<DtString> clone(source.clone());
    for (const DtString* copy : {&assigned, clone.get()}) {
        EXPECT_EQ(Storage::capacity(*copy), 200u);
        EXPECT_EQ(std::memcmp(copy->c_str(), block, 200), 0);
    }
}

TEST(StringTest, MovesHandOverTheBlockAndLeaveAWorkingString) {
    DtString source(std::string(100, 'x'));
    const char* const block = source.c_str();
    const DtString target(std::move(source));
    EXPECT_EQ(target.c_str(), block);
    EXPECT_EQ(source, "");  // NOLINT(bugprone-use-after-move)
    source = "again";
    EXPECT_TRUE(Storage::isInline(source));
    EXPECT_EQ(DtString(std::move(source)), "again");
}

TEST(StringTest, ClearedOnTheHeapIsSafeInEveryOperation) {
    DtString string(std::string(100, 'x'));
    string.clear();
    const DtString& constant = string;
    ASSERT_EQ(string.c_str(), nullptr);
    EXPECT_TRUE(string.isEmpty() && string.stdString().empty());
    EXPECT_FALSE(string < "a" || string > "" || string == "" || string != "a" || string <= "a" ||
                 string >= "" || string.caseCompare("") || string == string || string != string);
    EXPECT_EQ(string[3] + constant[3] + string.size() + string.count('x'), 0);
    EXPECT_EQ(string.findChar('x') + string.findLastChar('x') + string.findString(""), -3);
    EXPECT_EQ(DtString("x").findString(string), -1);
    EXPECT_FALSE(string.snipFront('x') || string.snipBack('x') || string.chompFront() ||
                 string.chompBack() || string.toUpper());
    EXPECT_EQ(string.section(',', 0, 1), "");
    EXPECT_EQ(theNull + ("a" + string + DtString("b")) + theNull, "ab");
    std::ostringstream out;
    out << std::setw(5) << DtString("abc") << std::setw(5) << string << '|';
    EXPECT_EQ(out.str(), "  abc|");

    string = nullptr;
    string += "again";
    EXPECT_EQ(string, "again");
    EXPECT_EQ(Storage::capacity(string), 6u);
}

TEST(StringTest, ClearedInTheObjectKeepsItsCharactersAndGrowsOntoTheHeap) {
    DtString string("abc"), appended("abc");
    string.clear();
    string = string.c_str() + 1;
    EXPECT_EQ(string, "bc");
    EXPECT_EQ(Storage::capacity(string), 3u);
    const DtString copy(string);  // a small block on the heap goes into the object
    EXPECT_EQ(Storage::capacity(copy), 64u);
    string = copy;
    EXPECT_EQ(string, "bc");
    appended.clear();
    appended += "d";
    EXPECT_EQ(appended, "abcd");
}

TEST(StringTest, CopyingAClearedStringGivesAnEmptyOne) {
    for (const int length : {3, 100}) {
        DtString source(std::string(length, 'x')), assigned("held");
        source.clear();
        EXPECT_EQ(assigned = source, "");
        EXPECT_EQ(DtString(source), "");
        EXPECT_EQ(DtString(std::move(source)), "");
    }
}

TEST(StringTest, AcceptsPartsOfItselfWithAndWithoutGrowth) {
    for (const std::size_t length : {10u, 40u, 100u}) {
        std::string expected = "ab" + std::string(length - 2, 'x');
        DtString string(expected);
        string += string;
        string += string.c_str() + 1;
        expected += expected;
        EXPECT_EQ(string.stdString(), expected + expected.substr(1));
        string = string.c_str() + 2 * length;
        string = *&string;
        EXPECT_EQ(string.stdString(), expected.substr(1));
    }
    DtString hidden("ab\0cdef", 7);
    hidden += hidden.c_str() + 3;
    EXPECT_EQ(hidden, "abcdef");
}

TEST(StringTest, IsUnchangedWhenTheMemoryForATextIsRefused) {
    struct Huge : DtString {
        Huge() : DtString("huge") {}
        void claim() { capacity_ = 0xFFFFFFFF; }
        int size() const override { return std::numeric_limits<int>::max(); }
    } huge;
    DtString assigned("held");
    DtString& appended = huge;
    EXPECT_THROW(appended += assigned, std::bad_alloc);
    EXPECT_EQ(appended, "huge");
    huge.claim();
    EXPECT_THROW(assigned = huge, std::bad_alloc);
    EXPECT_EQ(assigned, "held");
}

// ------------------------------------------------------------ comparing and concatenating

TEST(StringTest, ComparesByteWiseWithATextOnEitherSide) {
    const auto relations = [](const auto& a, const auto& b) {
        return std::array<bool, 6>{(a < b), (a > b), a == b, a != b, a <= b, a >= b};
    };
    const std::string texts[] = {"", "B", "a", "ab", "b", "\xe9"};
    for (const std::string& left : texts) {
        const DtString a(left);
        for (const std::string& right : texts) {
            const DtString b(right);
            EXPECT_EQ(relations(a, b), relations(left, right));
            EXPECT_EQ(relations(a, b.c_str()), relations(left, right));
            EXPECT_EQ(relations(a.c_str(), b), relations(left, right));
        }
        EXPECT_EQ(relations(a, theNull), (std::array<bool, 6>{}));
        EXPECT_EQ(relations(theNull, a), (std::array<bool, 6>{}));
    }
    EXPECT_TRUE(DtString("aBc").caseCompare(DtString("AbC")));
    EXPECT_FALSE(DtString("abc").caseCompare("ABCD") || DtString("").caseCompare(theNull));
}

TEST(StringTest, VirtualSlotsAreWhereCompiledCallersExpectThem) {
    // A member pointer to a virtual function holds 1 plus the offset in the virtual table.
    const auto slot = [](auto member) {
        std::size_t offset = 0;
        std::memcpy(&offset, &member, sizeof offset);
        return (offset - 1) / sizeof(void*);
    };
    EXPECT_EQ(slot(&DtString::operator>=), 11u);
    EXPECT_EQ(slot(&DtString::snipFront), 19u);
    EXPECT_EQ(slot(&DtString::tokenize), 23u);
    EXPECT_EQ(slot(&DtString::toBoolean), 28u);
    EXPECT_EQ(slot(&DtString::section), 42u);
}

// ------------------------------------------------------------------- editing and searching

TEST(StringTest, EditsInPlaceAndTellsWhetherTheTextChanged) {
    const struct {
        bool (*edit)(DtString& string);
        const char* text;
        const char* edited;
    } cases[] = {
        {[](DtString& s) { return s.snipFront('.', false); }, "a.b.c", "b.c"},
        {[](DtString& s) { return s.snipFrontToLast('.'); }, "a.b.c", "c"},
        {[](DtString& s) { return s.snipFront('\0'); }, "abc", "abc"},
        {[](DtString& s) { return s.snipBack('.', false); }, "a.b.c", "a.b"},
        {[](DtString& s) { return s.snipBackToFirst('.'); }, "a.b.c", "a"},
        {[](DtString& s) { return s.chompFront(); }, " \t a\n", "a\n"},
        {[](DtString& s) { return s.chompBack(); }, " \r\n\v", ""},
        {[](DtString& s) { return s.chompBack(); }, "\xa0", "\xa0"},
        {[](DtString& s) { return s.toUpper(); }, "aZ_9\xff", "AZ_9\xff"},
    };
    for (const auto& c : cases) {
        DtString string(c.text);
        EXPECT_EQ(c.edit(string), std::strcmp(c.text, c.edited) != 0) << c.text;
        EXPECT_EQ(string, c.edited);
    }
}

TEST(StringTest, FindsCharactersAndTexts) {
    DtString string("abxab");
    EXPECT_EQ(string.findChar('b'), 1);
    EXPECT_EQ(string.findLastChar('b'), 4);
    EXPECT_EQ(string.findLastChar('\0'), 5);
    EXPECT_EQ(string.findLastString("b"), 1);  // the first one
    EXPECT_EQ(string.findString("abxabx"), -1);
}

TEST(StringTest, TokenizesKeepingEmptyTokensExceptTheLast) {
    std::vector<DtString> tokens(2, "old");
    DtString(",a,,b,").tokenize(',', tokens);
    EXPECT_THAT(tokens, ElementsAre("", "a", "", "b"));
    tokens[0] = "a,b,c";
    tokens[0].tokenize(',', tokens);
    EXPECT_THAT(tokens, ElementsAre("a", "b", "c"));
}

TEST(StringTest, SectionCountsOnlyTokensWithText) {
    EXPECT_EQ(DtString("a,b,c").section(',', 0, 1), "a,b");
    EXPECT_EQ(DtString("a,b,c").section(',', -2, -1), "b,c");
    EXPECT_EQ(DtString("a,,b,c").section(',', 0, 1), "a,,b");
    EXPECT_EQ(DtString(",a,b").section(',', 0, 0), "a");
    EXPECT_EQ(DtString("a,b").section(',', -5, 0), ",a");  // starts before the first token
    EXPECT_EQ(DtString("a,b").section(',', 2, 1), "");
}

// --------------------------------------------------------------------------------- streams

TEST(StringTest, ExtractsWordsAndQuotedPhrases) {
    const std::string w300(300, 'w'), w254(254, 'w');
    const struct {
        std::string input, extracted, rest;
    } cases[] = {
        {"  word next", "word", " next"},
        {"\" hello   big\n world \" next", " hello big world ", " next"},
        {"\"open phrase  ", "open phrase", ""},
        {"a\"b c\" d", "a\"b", " c\" d"},
        {w300 + " next", w300.substr(0, 255), w300.substr(255) + " next"},
        {"\"" + w254 + " b\" next", w254 + " b", " next"},
        {"\"" + w300 + "\" next", w300, " next"},
        {std::string(1, '\0'), "", ""},
    };
    for (const auto& c : cases) {
        std::istringstream in(c.input);
        DtString string("held");
        EXPECT_FALSE((in >> string).fail()) << c.input;
        EXPECT_EQ(string.stdString(), c.extracted) << c.input;
        in.clear();
        EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}), c.rest) << c.input;
    }
    std::istringstream blank("  ");
    DtString string("held");
    EXPECT_TRUE((blank >> string).fail());
    EXPECT_EQ(string, "held");
}

}  // namespace OrynRti::Tests
