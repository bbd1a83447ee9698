#include <cstdlib>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iomanip>
#include <map>
#include <pthread.h>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>

#include "Print.h"
#include "containers/ThreadWork.h"
#include "support/Notifications.h"

namespace OrynRti::Tests {

namespace {

using testing::ElementsAre;

/// A stream of the test's own, with its own level.
struct OwnStream {
    int level = 0;
    DtOutputStreamBuffer buffer;
    DtOutputStream stream{&buffer, level, 0, nullptr};
};

/// Attached, records what it gets and does what the test asks for while it is inside `write`.
struct ActingPrinter : RecordingPrinter {
    ActingPrinter(OwnStream& own, std::function<void(const std::string& text)> actor)
        : action(std::move(actor)) {
        own.stream.attachPrinter(this);
    }
    void write(const std::string& text, int level, bool endOfLine) override {
        RecordingPrinter::write(text, level, endOfLine);
        action(text);
    }
    const std::function<void(const std::string& text)> action;
};

/// What the streams deliver before `main`, while static objects are built.
const std::string theEarlyText = [] {
    RecordingPrinter printer;
    DtSetQuarnPrinter(&printer);
    DtWarn << FATAL_HDR << "early" << std::endl;
    DtVerbose << "not shown" << std::endl;
    DtSetQuarnPrinter(&DtStandardOutConsole);
    return printer.text();
}();

bool theExitIsObserved = false;

/// Handlers run in reverse, so this early one runs after the static objects are gone.
[[gnu::constructor(102)]] void registerGoodbye() {
    std::atexit([] {
        if (theExitIsObserved)
            DtWarn << "goodbye" << std::endl;
    });
}

// -------------------------------------------------------------------------------------------
// Pieces and levels

TEST(PrintTest, DeliversEachInsertionAsOnePieceAndMarksTheOnesThatEndALine) {
    CapturedNotifications captured;
    DtInfo << "count " << std::setw(5) << 42 << std::endl;
    DtWarn << "a\nb\n\nc" << 'd' << '\n' << "" << '\377';
    DtDebug("n=%d\n", 3);
    EXPECT_THAT(
        captured.pieces(),
        ElementsAre(Piece{"count ", 2, false}, Piece{"   42", 2, false}, Piece{"\n", 2, true},
                    Piece{"a\n", 1, true}, Piece{"b\n", 1, true}, Piece{"\n", 1, true},
                    Piece{"c", 1, false}, Piece{"d", 1, false}, Piece{"\n", 1, true},
                    Piece{"\377", 1, false}, Piece{"n=3\n", 4, false}));
}

TEST(PrintTest, CollectsWholeLinesUntilFlushedByACallOrTheEndOfTheStream) {
    RecordingPrinter printer;
    DtOutputStreamBuffer buffer;
    {
        int level = 0;
        DtOutputStream stream(&buffer, level, 0, &printer);
        stream.unsetf(std::ios_base::unitbuf);
        stream << "x = " << 1 << "\n" << std::string(100000, 'y') << "\nrest";
        stream("%s", "call");
        stream << "pending";
    }
    EXPECT_EQ(buffer.sputn("lost", 4), 4);
    EXPECT_EQ(buffer.pubsync(), -1);
    EXPECT_THAT(
        printer.pieces(),
        ElementsAre(Piece{"x = 1\n", 0, true}, Piece{std::string(100000, 'y') + "\n", 0, true},
                    Piece{"rest", 0, false}, Piece{"call", 0, false}, Piece{"pending", 0, false}));
}

TEST(PrintTest, PrintsTheSeveritiesUpToTheNotifyLevel) {
    for (const int level : {-1, 0, 1, 2, 3, 4}) {
        CapturedNotifications captured(level);
        for (DtOutputStream* stream : {&DtFatal, &DtWarn, &DtInfo, &DtVerbose, &DtDebug}) {
            *stream << stream->threshold();
            (*stream)("!");
            stream->write("?", true);
        }
        EXPECT_EQ(captured.text(), std::string("0!?1!?2!?3!?4!?").substr(0, 3 * (level + 1)));
    }
}

// -------------------------------------------------------------------------------------------
// The list of printers

TEST(PrintTest, CallsEachPrinterOnceInTheOrderOfAttachmentThoughOneThrows) {
    OwnStream own;
    ActingPrinter first(own, [](const std::string&) { throw std::runtime_error("no paper"); });
    std::string precedingTexts;
    ActingPrinter second(own, [&](const std::string&) { precedingTexts += first.text() + ";"; });
    own.stream.attachPrinter(&first);
    own.stream << "a\nb";
    EXPECT_TRUE(own.stream.detachPrinter(&second));
    EXPECT_FALSE(own.stream.detachPrinter(&second));
    own.stream << "c";
    own.stream.detachAllPrinters();
    own.stream << "dropped";
    EXPECT_TRUE(own.stream.good());
    EXPECT_EQ(first.text(), "a\nbc");
    EXPECT_EQ(precedingTexts, "a\n;a\nb;");
}

TEST(PrintTest, PrinterMayAttachAndDetachWhileItRuns) {
    OwnStream own;
    RecordingPrinter next, late;
    ActingPrinter changing(own, [&](const std::string& text) {
        own.stream.detachPrinter(&next);
        own.stream.attachPrinter(&late);
        own.stream << "inner ";
        if (text == "2 ")
            own.stream.detachAllPrinters();
    });
    own.stream.attachPrinter(&next);
    for (const char* text : {"1 ", "2 ", "3 "})
        own.stream << text;
    EXPECT_EQ(changing.text(), "1 2 ");
    EXPECT_EQ(next.text(), "");
    EXPECT_EQ(late.text(), "inner inner ");
}

// -------------------------------------------------------------------------------------------
// Threads

TEST(PrintTest, ThreadsLoseNoTextAndKeepTheirOwnOrder) {
    OwnStream own;
    RecordingPrinter printer;
    own.stream.attachPrinter(&printer);
    runTogether(4, [&](int number) {
        for (int line = 0; line < 5000; ++line)
            own.stream << std::to_string(number) + std::to_string(line) + "\n";
    });
    std::map<char, int> lines;
    for (const auto& [text, level, endOfLine] : printer.pieces()) {
        ASSERT_EQ(text.substr(1), std::to_string(lines[text[0]]++) + "\n");
        ASSERT_TRUE(endOfLine);
    }
    EXPECT_EQ(lines, (std::map<char, int>{{'0', 5000}, {'1', 5000}, {'2', 5000}, {'3', 5000}}));
}

/// Keeps one thread inside `write` until the other had time to act.
struct Meeting {
    Gate inside, acting;
    void stay() {
        inside.open();
        acting.wait();
        for (int i = 0; i < 1000; ++i)
            std::this_thread::yield();
    }
    void meet() {
        inside.wait();
        acting.open();
    }
};

TEST(PrintTest, PrinterMayUseItsOwnStreamWhileAnotherThreadInserts) {
    const std::function<void(DtOutputStream&)> uses[] = {
        [](DtOutputStream& stream) { stream << "*"; }, [](DtOutputStream& stream) { stream("*"); },
        [](DtOutputStream& stream) { stream.write("*", false); }};
    for (const auto& use : uses) {
        OwnStream own;
        Meeting meeting;
        bool first = true;
        ActingPrinter speaking(own, [&](const std::string&) {
            if (!std::exchange(first, false))
                return;
            meeting.stay();
            for (const auto& innerUse : uses)
                innerUse(own.stream);
        });
        RecordingPrinter other;
        own.stream.attachPrinter(&other);
        std::thread inserting([&] {
            meeting.meet();
            own.stream << "*";
        });
        use(own.stream);
        inserting.join();
        EXPECT_EQ(other.text(), "*****");
    }
}

TEST(PrintTest, DisabledStreamNeitherWaitsForAPrinterNorKeepsTheText) {
    OwnStream own;
    ActingPrinter disabling(own, [&](const std::string&) {
        own.level = -1;
        std::thread([&] { own.stream << "dropped" << 1 << std::endl; }).join();
        own.level = 0;
    });
    own.stream.write("x", false);
    own.stream << std::flush;
    EXPECT_EQ(disabling.text(), "x");
}

TEST(PrintTest, DetachWaitsForAWriteOnAnotherThread) {
    OwnStream own;
    Meeting meeting;
    std::atomic<bool> left{false};
    ActingPrinter slow(own, [&](const std::string&) {
        meeting.stay();
        left = true;
    });
    std::thread writer([&] { own.stream << "x"; });
    meeting.meet();
    EXPECT_TRUE(own.stream.detachPrinter(&slow));
    EXPECT_TRUE(left);
    writer.join();
}

TEST(PrintTest, ThreadCancelledWhilePrintingEndsAfterwards) {
    OwnStream own;
    ActingPrinter testing(own, [](const std::string&) { pthread_testcancel(); });
    bool survived = false;
    std::thread([&] {
        pthread_cancel(pthread_self());
        own.stream << "x";
        pthread_testcancel();
        survived = true;
    }).join();
    EXPECT_FALSE(survived);
    own.stream << "y";
    EXPECT_EQ(testing.text(), "xy");
}

// -------------------------------------------------------------------------------------------
// The streams of the process

TEST(PrintTest, StreamsWorkBeforeMainAndInExitHandlersWhileOtherThreadsLog) {
    EXPECT_EQ(theEarlyText, "**FATAL ERROR**: early\n");
    const auto leave = [] {
        DtSetQuarnPrinter(&DtStandardErrorConsole);
        theExitIsObserved = true;
        Gate logging;
        std::thread([&] {
            logging.open();
            while (true)
                DtInfo << "still here" << std::endl;
        }).detach();
        logging.wait();
        std::exit(7);
    };
    EXPECT_EXIT(leave(), testing::ExitedWithCode(7), "goodbye");
}

TEST(PrintTest, EnvironmentIsListedBetweenTwoLinesThoughItIsEmpty) {
    CapturedNotifications captured;
    clearenv();
    DtPrintEnvironmentVariables(DtWarn);
    setenv("NAME", "a value", 1);
    DtPrintEnvironmentVariables(DtWarn);
    EXPECT_EQ(captured.text(1),
              "DtPrintEnvironmentVariables\nEnd of DtPrintEnvironmentVariables\n"
              "DtPrintEnvironmentVariables\nNAME=a value\nEnd of DtPrintEnvironmentVariables\n");
}

}  // namespace

}  // namespace OrynRti::Tests
