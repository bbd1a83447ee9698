#include <cerrno>
#include <gtest/gtest.h>

#include "Fatal.h"
#include "support/Notifications.h"

namespace OrynRti::Tests {

namespace {

constexpr const char* theNoFormat = nullptr;

TEST(FatalTest, EndsTheProcessWithStatus255) {
    const auto die = [] {
        DtSetQuarnPrinter(&DtStandardErrorConsole);
        DtFatalError("no %s", "way");
    };
    EXPECT_EXIT(die(), testing::ExitedWithCode(255), "^\\*\\*FATAL ERROR\\*\\*: no way\n$");
}

TEST(FatalTest, WritesTheMessageIfThereIsOneAndCallsTheAbortFunction) {
    static int aborts = 0;
    DtSetAbortFunc([] { ++aborts; });
    CapturedNotifications captured(0);
    DtFatalError("%s", std::string(10000, 'x').c_str());
    DtFatalError("%ls", L"\x4e2d");  // has no form in the "C" locale
    errno = ENOENT;
    DtFatalPerror("open %s", "f");
    errno = ECONNREFUSED;
    DtFatalNetPerror("connect");
    DtFatalError(theNoFormat);
    DtNotifyLevel = -1;
    DtFatalPerror("silenced");
    EXPECT_EQ(captured.text(0), "**FATAL ERROR**: " + std::string(8191, 'x') +
                                    "\n**FATAL ERROR**: \n"
                                    "**FATAL ERROR**: open f: No such file or directory\n"
                                    "**FATAL ERROR**: connect: Connection refused\n");
    EXPECT_EQ(aborts, 6);
    DtSetAbortFunc(nullptr);
}

/// Upsets errno, as a printer that makes system calls does.
class ErrnoChangingPrinter : public DtPrinter {
    void write(const std::string&, int, bool) override { errno = EIO; }
};

TEST(FatalTest, WarnsWithTheSystemErrorAndLeavesItAlone) {
    CapturedNotifications captured(1);
    ErrnoChangingPrinter printer;
    DtWarn.attachPrinter(&printer);
    errno = ENOENT;
    DtWarnPerror("open %s", "f");
    DtWarnNetPerror("connect");
    EXPECT_EQ(errno, ENOENT);
    DtWarnPerror(theNoFormat);
    EXPECT_EQ(captured.text(1),
              "open f: No such file or directory\nconnect: No such file or directory\n");
    DtWarn.detachPrinter(&printer);
}

}  // namespace

}  // namespace OrynRti::Tests
