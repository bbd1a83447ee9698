#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <sys/resource.h>
#include <sys/stat.h>

#include "Print.h"

namespace OrynRti::Tests {

namespace {

namespace fs = std::filesystem;

/// Goes by the time the test sets.
class ClockedFilePrinter : public DtFilePrinter {
public:
    time_t now = 741476948;  // Wed Jun 30 21:49:08 1993 UTC

protected:
    time_t currentTime() override { return now; }
};

class FilePrinterTest : public testing::Test {
protected:
    void SetUp() override {
        std::string pattern = testing::TempDir() + "fileprinter.XXXXXX";
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        directory_ = pattern;
        setenv("TZ", "UTC0", 1);
    }

    void TearDown() override { fs::remove_all(directory_); }

    std::string path(const std::string& name) const { return directory_ + "/" + name; }

    /// What the file holds at this moment, "(none)" when there is no such file.
    std::string content(const std::string& name) const {
        std::ifstream file(path(name));
        std::ostringstream text;
        text << file.rdbuf();
        return file ? text.str() : fs::exists(path(name)) ? "" : "(none)";
    }

    std::string directory_;
};

TEST_F(FilePrinterTest, EmptiesTheFileAndWritesEveryPieceAtOnce) {
    std::ofstream(path("run.log")) << "earlier run";
    DtFilePrinter printer(path("run.log").c_str());
    EXPECT_TRUE(printer.isOpen());
    EXPECT_EQ(content("run.log"), "");
    printer.write("count ", 2, false);
    EXPECT_EQ(content("run.log"), "count ");
    printer.write("\n", 2, true);
    printer.write(std::string(20000, 'x'), 2, false);
    EXPECT_EQ(content("run.log"), "count \n" + std::string(20000, 'x'));

    printer.resetFile(nullptr);
    printer.resetFile(path("next.log").c_str());
    printer.write("next", 2, false);
    EXPECT_EQ(content("next.log"), "next");
}

TEST_F(FilePrinterTest, DropsTextWhileItHasNoFile) {
    DtFilePrinter unnamed;
    DtFilePrinter null(nullptr);
    DtFilePrinter missing(path("no/such/directory").c_str());
    for (DtFilePrinter* printer : {&unnamed, &null, &missing}) {
        printer->write("dropped", 1, true);
        EXPECT_FALSE(printer->isOpen());
        printer->resetFile(path("found.log").c_str());
        printer->write("kept", 1, true);
        EXPECT_EQ(content("found.log"), "kept");
    }
}

TEST_F(FilePrinterTest, StampsThePieceThatEndsTheLine) {
    ClockedFilePrinter printer;
    printer.resetFile(path("run.log").c_str());
    printer.setPrintTimestamps(true);
    printer.write("count ", 2, false);
    printer.write("\n", 2, true);
    printer.setPrintTimestamps(false);
    printer.write("plain\n", 2, true);
    EXPECT_EQ(content("run.log"), "count [Wed Jun 30 21:49:08 1993] \nplain\n");

    printer.now = std::numeric_limits<time_t>::max();  // beyond the calendar
    printer.setPrintTimestamps(true);
    printer.write("late\n", 2, true);
    EXPECT_EQ(content("run.log"), "count [Wed Jun 30 21:49:08 1993] \nplain\n[] late\n");
}

TEST_F(FilePrinterTest, RollsWhenMoreThanTheIntervalHasPassed) {
    ClockedFilePrinter printer;
    printer.resetFile(path("run.log").c_str());
    printer.setLogRollingInterval(10);
    printer.write("0 ", 2, false);
    printer.now += 10;
    printer.write("10 ", 2, false);
    printer.now += 1;
    printer.write("11 ", 2, false);
    EXPECT_EQ(content("run_1.log"), "0 10 ");
    printer.now += 11;
    printer.write("22 ", 2, false);
    EXPECT_EQ(content("run_2.log"), "11 ");
    EXPECT_EQ(content("run.log"), "22 ");

    printer.setLogRollingInterval(0);
    printer.now += 1000;
    printer.write("never", 2, false);
    EXPECT_EQ(content("run.log"), "22 never");
}

TEST_F(FilePrinterTest, RolledNameCountsBeforeTheLastDot) {
    const struct {
        const char* name;
        const char* rolled;
    } cases[] = {{"a.b.log", "a.b_1.log"}, {"log", "log_1"}, {".log", "_1.log"}, {"x.", "x_1."}};
    ASSERT_EQ(chdir(directory_.c_str()), 0);
    ClockedFilePrinter printer;
    printer.setLogRollingInterval(1);
    for (const auto& names : cases) {
        printer.resetFile(names.name);  // counts from 0 again
        printer.write(names.name, 2, false);
        printer.now += 2;
        printer.write("new", 2, false);
        EXPECT_EQ(content(names.rolled), names.name);
        EXPECT_EQ(content(names.name), "new");
    }
    ASSERT_EQ(chdir("/"), 0);
}

TEST_F(FilePrinterTest, KeepsTheTextAndStaysClosedWhenTheRenameFails) {
    fs::create_directory(path("run_1.log"));
    ClockedFilePrinter printer;
    printer.resetFile(path("run.log").c_str());
    printer.setLogRollingInterval(1);
    printer.write("kept", 2, false);
    for (int i = 0; i < 2; ++i) {
        printer.now += 2;
        printer.write("dropped", 2, false);
        EXPECT_FALSE(printer.isOpen());
        EXPECT_EQ(content("run.log"), "kept");
    }
    EXPECT_EQ(content("run_2.log"), "(none)");
    printer.resetFile(path("other.log").c_str());
    printer.write("again", 2, false);
    EXPECT_EQ(content("other.log"), "again");
}

TEST_F(FilePrinterTest, WritesAgainWhenAFullDiskHasRoom) {
    DtFilePrinter full("/dev/full");
    for (int i = 0; i < 1000; ++i)
        full.write("nowhere to go", 1, true);
    EXPECT_TRUE(full.isOpen());
    full.resetFile(path("elsewhere.log").c_str());
    full.write("here", 1, true);
    EXPECT_EQ(content("elsewhere.log"), "here");

    // A limit on the size of files fails writes as a full disk does, and can be lifted.
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit earlier;
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &earlier), 0);
    DtFilePrinter printer(path("run.log").c_str());
    printer.write("0123456789", 1, true);
    const rlimit limit{10, earlier.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
    for (int i = 0; i < 1000; ++i)
        printer.write("dropped\n", 1, true);
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &earlier), 0);
    printer.write("later\n", 1, true);
    EXPECT_EQ(content("run.log"), "0123456789later\n");
}

}  // namespace

}  // namespace OrynRti::Tests
