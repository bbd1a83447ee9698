#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <sstream>

#include "Assert.h"
#include "Exceptions.h"
#include "support/Notifications.h"

namespace OrynRti::Tests {

namespace {

std::string printed(const DtException& exception) {
    std::ostringstream out;
    out << exception;
    return out.str();
}

TEST(ExceptionsTest, ChainOutlivesTheExceptionsItWasMadeFromAndBeingAssignedItsOwnLinks) {
    const std::string oldLines = "middle (g [y.cpp:4294967295] )\noldest ()\n";
    DtException assigned("short", nullptr);
    {
        const DtException oldest("oldest", nullptr);
        const DtException middle("middle", "g", "y.cpp", 4294967295u, &oldest);
        const DtException newest("newest", "f", "x.cpp", 7, &middle);
        assigned = newest;
    }
    const DtException copy(assigned);
    assigned = *&assigned;
    EXPECT_EQ(printed(assigned), "newest (f [x.cpp:7] )\n" + oldLines);
    assigned = *assigned.lastException();
    EXPECT_EQ(printed(assigned), oldLines);
    assigned = *assigned.initialException();
    EXPECT_EQ(printed(assigned), "oldest ()\n");
    EXPECT_EQ(printed(copy), "newest (f [x.cpp:7] )\n" + oldLines);
}

TEST(ExceptionsTest, ReportsAMissingPlaceAndKeepsTheMessage) {
    testing::internal::CaptureStderr();
    const DtException withoutFunction("bad", nullptr, "x.cpp", 7, nullptr);
    EXPECT_EQ(printed(DtException("worse", "f", nullptr, 7, &withoutFunction)),
              "worse ()\nbad ()\n");
    const std::string report = "Error Creating DtException, could not produce valid error string: ";
    EXPECT_EQ(testing::internal::GetCapturedStderr(), report + "x.cpp\n" + report + "\n");
}

// -------------------------------------------------------------------------------------------

TEST(AssertTest, WarnsAndThrowsAPointerAtFirst) {
    CapturedNotifications captured;
    const std::string line = std::to_string(__LINE__ + 2);
    try {
        DT_ASSERT(1 + 1 == 3);
        FAIL() << "did not throw";
    } catch (const DtException* thrown) {
        const std::unique_ptr<const DtException> exception(thrown);
        const std::string place = "[ExceptionsTest.cpp:" + line + "]";
        EXPECT_EQ(printed(*exception), "Assert (TestBody " + place + " )\n");
        EXPECT_EQ(captured.text(1), "DtAssert `1 + 1 == 3` Failed in `TestBody` " + place + "\n");
    }
}

TEST(AssertTest, WarnsOnlyIgnoresOrCallsTheProgramOnRequest) {
    CapturedNotifications captured;
    int evaluations = 0;
    DtAssert::warn();
    DT_ASSERT(++evaluations > 0);
    EXPECT_EQ(captured.text(), "");
    DT_ASSERT(std::is_same<int, char>::value);
    EXPECT_THAT(captured.take(), testing::HasSubstr("`std::is_same<int, char>::value`"));
    DtAssert::ignore();
    DT_ASSERT(++evaluations < 0);
    EXPECT_EQ(evaluations, 2);
    DtAssert::setAssertFunction([](const char*, const char*, int, const char*) {
        DtAssert::defaultNonFatal(nullptr, nullptr, 5, nullptr);
    });
    DT_ASSERT(false);
    EXPECT_EQ(captured.text(), "DtAssert `` Failed in `` [:5]\n");
    DtAssert::fatal();
}

}  // namespace

}  // namespace OrynRti::Tests
