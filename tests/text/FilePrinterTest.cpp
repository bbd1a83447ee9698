#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <limits>
#include <sys/resource.h>

#include "Print.h"
#include "support/Files.h"

namespace OrynRti::Tests {

namespace {

namespace fs = std::filesystem;

/// Goes by the time the test sets.
struct ClockedFilePrinter : DtFilePrinter {
    time_t now = 741476948;  // Wed Jun 30 21:49:08 1993 UTC
    time_t currentTime() override { return now; }
};

/// Runs in a folder of its own.
struct FilePrinterTest : testing::Test {
    FilePrinterTest() {
        setenv("TZ", "UTC0", 1);
        fs::current_path(folder_.path());
    }
    ~FilePrinterTest() override { fs::current_path("/"); }

    const TemporaryFolder folder_;
    ClockedFilePrinter clocked_;
};

TEST_F(FilePrinterTest, DropsTextWithoutAFileEmptiesAFileAndWritesEveryPieceAtOnce) {
    EXPECT_FALSE(DtFilePrinter(nullptr).isOpen());
    DtFilePrinter printer("no/such/directory");
    printer.write("dropped", 1, true);
    EXPECT_FALSE(printer.isOpen());
    writeFile("run.log", "earlier run");
    printer.resetFile("run.log");
    printer.resetFile(nullptr);
    printer.write("kept", 1, true);
    EXPECT_EQ(readFile("run.log"), "kept");
}

TEST_F(FilePrinterTest, StampsThePieceThatEndsTheLine) {
    clocked_.resetFile("run.log");
    clocked_.setPrintTimestamps(true);
    clocked_.write("count ", 2, false);
    clocked_.write("\n", 2, true);
    clocked_.now = std::numeric_limits<time_t>::max();  // beyond the calendar
    clocked_.write("late\n", 2, true);
    EXPECT_EQ(readFile("run.log"), "count [Wed Jun 30 21:49:08 1993] \n[] late\n");
}

TEST_F(FilePrinterTest, RollsWhenMoreThanTheIntervalHasPassed) {
    clocked_.resetFile("run.log");
    clocked_.setLogRollingInterval(10);
    for (const int passed_s : {0, 10, 1, 11}) {
        clocked_.now += passed_s;
        clocked_.write(std::to_string(passed_s) + " ", 2, false);
    }
    EXPECT_EQ(readFile("run_1.log"), "0 10 ");
    EXPECT_EQ(readFile("run_2.log"), "1 ");
    clocked_.setLogRollingInterval(0);
    clocked_.now += 1000;
    clocked_.write("never", 2, false);
    EXPECT_EQ(readFile("run.log"), "11 never");
}

TEST_F(FilePrinterTest, RolledNameCountsFromOneBeforeTheLastDot) {
    const char* const cases[][2] = {
        {"a.b.log", "a.b_1.log"}, {"log", "log_1"}, {".log", "_1.log"}, {"x.", "x_1."}};
    clocked_.setLogRollingInterval(1);
    for (const auto& [name, rolled] : cases) {
        clocked_.resetFile(name);
        clocked_.now += 2;
        clocked_.write("new", 2, false);
        EXPECT_EQ(readFile(name), "new");
        EXPECT_TRUE(fs::exists(rolled));
    }
}

TEST_F(FilePrinterTest, KeepsTheTextAndStaysClosedWhenTheRenameFails) {
    fs::create_directory("run_1.log");
    clocked_.resetFile("run.log");
    clocked_.setLogRollingInterval(1);
    for (const char* text : {"kept", "dropped", "dropped too"}) {
        clocked_.write(text, 2, false);
        clocked_.now += 2;
    }
    EXPECT_FALSE(clocked_.isOpen());
    EXPECT_EQ(readFile("run.log"), "kept");
}

TEST_F(FilePrinterTest, WritesAgainWhenAFullDiskHasRoom) {
    // A limit on the size of files fails writes as a full disk does, and can be lifted.
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit earlier;
    getrlimit(RLIMIT_FSIZE, &earlier);
    DtFilePrinter printer("run.log");
    printer.write("0123456789", 1, true);
    const rlimit limit{10, earlier.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
    for (int i = 0; i < 1000; ++i)
        printer.write("dropped\n", 1, true);
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &earlier), 0);
    printer.write("later\n", 1, true);
    EXPECT_EQ(readFile("run.log"), "0123456789later\n");
}

}  // namespace

}  // namespace OrynRti::Tests
