#include <gmock/gmock.h>
#include <limits>

#include "FedTarget.h"
#include "Vocabulary.h"

namespace RtiqnFom::Tests {
namespace {

using ::testing::ElementsAre;

TEST(VocabularyTest, WhiteSpaceIsCollapsedAndNaIsNotStated) {
    EXPECT_EQ(collapsed(" \t a\r\n\n b  c "), "a b c");
    EXPECT_EQ(collapsed(" \n "), "");
    EXPECT_EQ(statedText("\n NA "), "");
    EXPECT_EQ(statedText(" na "), "na");
    EXPECT_EQ(statedText(" NA or not"), "NA or not");
    EXPECT_THAT(wordsOf(" A,\n B NA  C"), ElementsAre("A", "B", "C"));
}

TEST(VocabularyTest, ResignActionsAreReadInBothSpellingsAndWrittenInTheStandards) {
    using namespace OrynRti;
    EXPECT_EQ(resignActionOf("deleteobjectsthendivest"), DtDeleteObjectsThanDivest);
    EXPECT_EQ(resignActionOf("Resign"), std::nullopt);
    for (int action = 0; action <= 5; ++action) {
        const auto value = static_cast<DtResignAction>(action);
        EXPECT_EQ(resignActionOf(resignActionText(value)), value);
        EXPECT_EQ(resignActionOf(DtFedTarget::enumAsString(value).c_str()), value);
    }
    EXPECT_EQ(resignActionText(DtDeleteObjectsThanDivest), "DeleteObjectsThenDivest");
    EXPECT_EQ(resignActionText(static_cast<DtResignAction>(6)), "");
}

TEST(VocabularyTest, NumbersAreWholeTexts) {
    EXPECT_EQ(sizeOf("4294967295"), std::numeric_limits<std::uint32_t>::max());
    for (const char* text : {"", "sixteen", "-16", "+16", "16 bits", "1.5", "4294967296", " 8"})
        EXPECT_EQ(sizeOf(text), std::nullopt) << text;
    EXPECT_EQ(rateOf("10.56"), 10.56f);
    EXPECT_EQ(rateOf("+6e1"), 60.0f);
    for (const char* text : {"", "fast", "10Hz", "1e99", "nan", "inf", "+-1", "0x10"})
        EXPECT_EQ(rateOf(text), std::nullopt) << text;
    for (const float rate : {10.56f, 1.0f / 3, 1e-30f, 3e38f})
        EXPECT_EQ(rateOf(rateText(rate)), rate);
    for (const char* text : {"0", "-5", "+7", "0xFF", "[1..3]", "[ -1 .. 3 ]"})
        EXPECT_TRUE(isEnumeratorValue(text)) << text;
    for (const char* text : {"", "one", "1.5", "0x", "-", "1 2", "[1]", "[..2]", "[1..", "1..2"})
        EXPECT_FALSE(isEnumeratorValue(text)) << text;
}

TEST(VocabularyTest, CodesAreReadWithoutRegardToCase) {
    for (const char* text : {"true", "1", "Enabled", "yes"})
        EXPECT_EQ(booleanOf(text), true) << text;
    for (const char* text : {"False", "0", "disabled", "No"})
        EXPECT_EQ(booleanOf(text), false) << text;
    EXPECT_EQ(booleanOf("on"), std::nullopt);
    EXPECT_EQ(endianOf("Middle"), std::nullopt);
    EXPECT_EQ(endianOf("little"), 2);
    for (int code = 0; code <= 2; ++code)
        EXPECT_EQ(endianOf(endianText(code)), code);
    for (int code = 0; code <= 4; ++code)
        EXPECT_EQ(capabilityOf(capabilityText(code)), code);
}

TEST(VocabularyTest, ATransportationIsReliableByNameOrByDescription) {
    EXPECT_TRUE(impliesReliable("HLAreliable", ""));
    EXPECT_TRUE(impliesReliable("Fast", "Provides Reliable delivery"));
    for (const char* text : {"", "unreliable", "not reliable", "non-reliable", "reliably late"})
        EXPECT_FALSE(impliesReliable("Fast", text)) << text;
    EXPECT_TRUE(impliesReliable("Fast", "unreliable at first, then reliable"));
}

}  // namespace
}  // namespace RtiqnFom::Tests
