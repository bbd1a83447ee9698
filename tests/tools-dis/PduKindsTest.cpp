#include <gtest/gtest.h>

#include "PduKinds.h"

namespace RtiqnDis {
namespace {

TEST(PduKinds, AreKnownByNumberAndByNameInAnySpelling) {
    for (const char* text : {"13", "Start/Resume", "start-resume", "STARTRESUME", "StartResumePdu"})
        EXPECT_EQ(parseKind(text), 13) << text;
    EXPECT_EQ(parseKind("Start/Resume-R"), 53);
    EXPECT_EQ(parseKind("attribute"), 72);
    EXPECT_EQ(parseKind("255"), 255);
    for (const char* text : {"", "256", "-1", "1.5", "99999999999999999999", "pdu", "Entity"})
        EXPECT_FALSE(parseKind(text)) << text;
}

/// A name that two kinds share could only ever mean the first.
TEST(PduKinds, EveryNameLeadsBackToItsKind) {
    for (int kind = 0; kind <= 72; ++kind)
        EXPECT_EQ(parseKind(kindName(static_cast<std::uint8_t>(kind))), kind);
    EXPECT_STREQ(kindName(73), "unknown");
    EXPECT_STREQ(kindName(255), "unknown");
}

}  // namespace
}  // namespace RtiqnDis
