#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iostream>
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

DtException chainOfThree() {
    const DtException oldest("oldest", nullptr);
    const DtException middle("middle", "g", "y.cpp", 8, &oldest);
    return DtException("newest", "f", "x.cpp", 7, &middle);
}

constexpr const char* theChainText = "newest (f [x.cpp:7] )\nmiddle (g [y.cpp:8] )\noldest ()\n";

TEST(ExceptionsTest, HoldsMessageAndPlace) {
    const DtException exception("bad", "f", "x", 7, nullptr);
    EXPECT_STREQ(exception.message(), "bad");
    EXPECT_STREQ(exception.what().c_str(), "bad");
    EXPECT_STREQ(exception.where().c_str(), "f [x:7] ");
    EXPECT_EQ(exception.lastException(), nullptr);
    EXPECT_EQ(exception.initialException(), &exception);
    EXPECT_STREQ(DtException(nullptr, nullptr).message(), "");
    EXPECT_STREQ(DtException("m", "f", "x", 4294967295u, nullptr).where().c_str(),
                 "f [x:4294967295] ");
}

TEST(ExceptionsTest, ChainOutlivesTheExceptionsItWasMadeFrom) {
    auto first = std::make_unique<DtException>(chainOfThree());
    EXPECT_STREQ(first->initialException()->message(), "oldest");
    DtException copy(*first);
    DtException assigned("short", first.get());
    assigned = *first;
    first.reset();
    EXPECT_EQ(printed(copy), theChainText);
    EXPECT_EQ(printed(assigned), theChainText);
    assigned = DtException("alone", nullptr);
    EXPECT_EQ(printed(assigned), "alone ()\n");
}

TEST(ExceptionsTest, MayBeAssignedItselfOrALinkOfItsOwnChain) {
    DtException exception = chainOfThree();
    const DtException& same = exception;
    exception = same;
    EXPECT_EQ(printed(exception), theChainText);
    exception = *exception.lastException();
    EXPECT_EQ(printed(exception), "middle (g [y.cpp:8] )\noldest ()\n");
    exception = *exception.initialException();
    EXPECT_EQ(printed(exception), "oldest ()\n");
}

TEST(ExceptionsTest, ReportsAMissingPlaceAndKeepsTheMessage) {
    const struct {
        const char* function;
        const char* file;
        const char* named;
    } cases[] = {{nullptr, "x.cpp", "x.cpp"}, {"f", nullptr, ""}, {nullptr, nullptr, ""}};
    for (const auto& place : cases) {
        testing::internal::CaptureStderr();
        const DtException exception("bad", place.function, place.file, 7, nullptr);
        EXPECT_EQ(
            testing::internal::GetCapturedStderr(),
            std::string("Error Creating DtException, could not produce valid error string: ") +
                place.named + "\n");
        EXPECT_STREQ(exception.message(), "bad");
        EXPECT_STREQ(exception.where().c_str(), "");
        EXPECT_TRUE(std::cerr.good());
    }
}

TEST(ExceptionsTest, ThrowMacroThrowsTheNumberedTypeWithThePlace) {
    const int line = __LINE__ + 2;
    try {
        DT_THROW(DtInvalidInputNumber, DtString("DtInvalidInput: ") + "no name");
    } catch (const DtTemplatedException<DtThreadNotStartedNumber>&) {
        FAIL() << "caught as another kind";
    } catch (const DtTemplatedException<-1>& exception) {
        EXPECT_EQ(printed(exception), "DtInvalidInput: no name (TestBody [ExceptionsTest.cpp:" +
                                          std::to_string(line) + "] )\n");
    }
}

// -------------------------------------------------------------------------------------------

struct AssertTest : testing::Test {
    ~AssertTest() override { DtAssert::fatal(); }
};

TEST_F(AssertTest, WarnsAndThrowsAPointerAtFirst) {
    CapturedNotifications captured;
    const int line = __LINE__ + 2;
    try {
        DT_ASSERT(1 + 1 == 3);
        FAIL() << "did not throw";
    } catch (const DtException* thrown) {
        const std::unique_ptr<const DtException> exception(thrown);
        EXPECT_STREQ(exception->message(), "Assert");
        EXPECT_EQ(exception->lastException(), nullptr);
        const std::string place = "ExceptionsTest.cpp:" + std::to_string(line) + "]";
        EXPECT_EQ(exception->where().stdString(), "TestBody [" + place + " ");
        EXPECT_EQ(captured.text(1), "DtAssert `1 + 1 == 3` Failed in `TestBody` [" + place + "\n");
    }
}

TEST_F(AssertTest, WarnsOnlyOrIgnoresOnRequest) {
    CapturedNotifications captured;
    int evaluations = 0;
    DtAssert::warn();
    DT_ASSERT(++evaluations > 0);
    EXPECT_EQ(captured.take(), "");
    DT_ASSERT(std::is_same<int, char>::value);
    EXPECT_THAT(captured.take(), testing::HasSubstr("`std::is_same<int, char>::value`"));
    DtAssert::ignore();
    DT_ASSERT(++evaluations < 0);
    EXPECT_EQ(captured.text(), "");
    EXPECT_EQ(evaluations, 2);
    EXPECT_EQ(DtAssert::getAssertFunction(), nullptr);

    DtAssert::defaultNonFatal(nullptr, nullptr, 5, nullptr);
    EXPECT_EQ(captured.text(), "DtAssert `` Failed in `` [:5]\n");
    EXPECT_TRUE(DtWarn.good());
}

TEST_F(AssertTest, CallsTheFunctionOfTheProgram) {
    static std::string called;
    DtAssert::setAssertFunction(
        [](const char* file, const char* function, int line, const char* expression) {
            called = std::string(file) + function + (line > 0 ? "+" : "-") + expression;
        });
    DT_ASSERT(false);
    EXPECT_EQ(called, "ExceptionsTest.cppTestBody+false");
}

}  // namespace

}  // namespace OrynRti::Tests
