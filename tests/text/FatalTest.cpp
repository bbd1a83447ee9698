#include <cerrno>
#include <gtest/gtest.h>

#include "Fatal.h"
#include "support/Notifications.h"

namespace OrynRti::Tests {

namespace {

int theAbortCount = 0;
constexpr const char* theNoFormat = nullptr;

/// Counts the calls of DtAbort instead of ending the process.
class FatalTest : public testing::Test {
protected:
    void SetUp() override {
        theAbortCount = 0;
        DtSetAbortFunc([] { ++theAbortCount; });
    }
    void TearDown() override { DtSetAbortFunc(nullptr); }
};

TEST_F(FatalTest, EndsTheProcessWithStatus255) {
    DtSetAbortFunc(nullptr);
    const auto die = [] {
        DtSetQuarnPrinter(&DtStandardErrorConsole);
        DtFatalError("no %s", "way");
    };
    EXPECT_EXIT(die(), testing::ExitedWithCode(255), "^\\*\\*FATAL ERROR\\*\\*: no way\n$");
}

TEST_F(FatalTest, WritesTheMessageAndCallsTheAbortFunction) {
    CapturedNotifications captured(0);
    DtFatalError("%d of %s", 3, "four");
    errno = ENOENT;
    DtFatalPerror("open %s", "f");
    errno = ECONNREFUSED;
    DtFatalNetPerror("connect");
    EXPECT_EQ(captured.text(0),
              "**FATAL ERROR**: 3 of four\n"
              "**FATAL ERROR**: open f: No such file or directory\n"
              "**FATAL ERROR**: connect: Connection refused\n");
    EXPECT_EQ(theAbortCount, 3);
    EXPECT_NE(DtGetAbortFunc(), nullptr);
}

TEST_F(FatalTest, AbortsWithoutAMessageWhenSilencedOrWithoutAFormat) {
    CapturedNotifications captured(-1);
    DtFatalError("silenced");
    DtFatalPerror("silenced");
    DtNotifyLevel = 4;
    DtFatalError(theNoFormat);
    DtFatalNetPerror(theNoFormat);
    EXPECT_EQ(captured.text(), "");
    EXPECT_EQ(theAbortCount, 4);
}

TEST_F(FatalTest, CutsLongMessagesAndTakesUnformattableOnesAsEmpty) {
    CapturedNotifications captured;
    DtFatalError("%s", std::string(10000, 'x').c_str());
    DtFatalError("%ls", L"\x4e2d");  // has no form in the "C" locale
    EXPECT_EQ(captured.text(),
              "**FATAL ERROR**: " + std::string(8191, 'x') + "\n**FATAL ERROR**: \n");
}

/// Upsets errno, as a printer that makes system calls does.
class ErrnoChangingPrinter : public RecordingPrinter {
    void write(const std::string& text, int level, bool endOfLine) override {
        RecordingPrinter::write(text, level, endOfLine);
        errno = EIO;
    }
};

TEST_F(FatalTest, WarnsWithTheSystemErrorAndLeavesItAlone) {
    CapturedNotifications captured(1);
    ErrnoChangingPrinter printer;
    DtWarn.attachPrinter(&printer);
    errno = ENOENT;
    DtWarnPerror("open %s", "f");
    EXPECT_EQ(errno, ENOENT);
    errno = ETIMEDOUT;
    DtWarnNetPerror("connect");
    EXPECT_EQ(errno, ETIMEDOUT);
    DtWarnPerror(theNoFormat);
    DtNotifyLevel = 0;
    DtWarnPerror("silenced");
    DtWarn.detachPrinter(&printer);
    EXPECT_EQ(captured.text(1),
              "open f: No such file or directory\nconnect: Connection timed out\n");
    EXPECT_EQ(theAbortCount, 0);
}

}  // namespace

}  // namespace OrynRti::Tests
