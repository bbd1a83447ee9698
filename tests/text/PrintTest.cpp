#include <cstdlib>
#include <functional>
#include <future>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iomanip>
#include <iostream>
#include <pthread.h>
#include <thread>
#include <unistd.h>
#include <utility>

#include "Print.h"
#include "support/Notifications.h"

namespace OrynRti::Tests {

namespace {

using testing::ElementsAre;

DtOutputStream* const theStreams[] = {&DtFatal, &DtWarn, &DtInfo, &DtVerbose, &DtDebug};

/// Records, and does what the test asks for while it is inside `write`.
class ActingPrinter : public RecordingPrinter {
public:
    using Action = std::function<void(const std::string& text)>;
    explicit ActingPrinter(Action action) : action_(std::move(action)) {}

    void write(const std::string& text, int level, bool endOfLine) override {
        RecordingPrinter::write(text, level, endOfLine);
        action_(text);
    }

private:
    Action action_;
};

class IgnoringPrinter : public DtPrinter {
    void write(const std::string&, int, bool) override {}
};

/// A stream of the test's own, with its own level.
struct OwnStream {
    int level = 0;
    DtOutputStreamBuffer buffer;
    DtOutputStream stream{&buffer, level, 0, nullptr};
};

/// What the streams did before `main`, while static objects were built.
struct BeforeMain {
    bool allOnStandardOutput = true;
    int level = DtNotifyLevel;
    std::string text;

    BeforeMain() {
        for (DtOutputStream* stream : theStreams)
            allOnStandardOutput &= stream->detachPrinter(&DtStandardOutConsole);
        RecordingPrinter printer;
        DtSetQuarnPrinter(&printer);
        DtWarn << FATAL_HDR << "early " << 1 << std::endl;
        DtDebug << "not shown" << std::endl;
        text = printer.text();
        DtSetQuarnPrinter(&DtStandardOutConsole);
    }
};
const BeforeMain theBeforeMain;

bool theExitIsObserved = false;

void sayGoodbye() {
    if (theExitIsObserved)
        DtWarn << "goodbye" << std::endl;
}

/// Handlers run in reverse, so this early one runs after the static objects are gone.
[[gnu::constructor(102)]] void registerGoodbye() {
    std::atexit(sayGoodbye);
}

void runOnThreads(int count, const std::function<void(int)>& work) {
    std::promise<void> start;
    const std::shared_future<void> started = start.get_future().share();
    std::vector<std::thread> threads;
    for (int number = 0; number < count; ++number)
        threads.emplace_back([&work, started, number] {
            started.wait();
            work(number);
        });
    start.set_value();
    for (std::thread& thread : threads)
        thread.join();
}

// -------------------------------------------------------------------------------------------
// Pieces and levels

TEST(PrintTest, DeliversEachInsertionAsOnePieceAndMarksTheOneThatEndsTheLine) {
    CapturedNotifications captured;
    DtInfo << "count " << std::setw(5) << 42 << std::endl;
    DtWarn << "a\nb\n\nc" << 'd' << '\n' << "" << '\377';
    DtDebug << std::left << std::setw(4) << "pad" << std::flush << std::right;
    EXPECT_THAT(
        captured.pieces(),
        ElementsAre(Piece{"count ", 2, false}, Piece{"   42", 2, false}, Piece{"\n", 2, true},
                    Piece{"a\n", 1, true}, Piece{"b\n", 1, true}, Piece{"\n", 1, true},
                    Piece{"c", 1, false}, Piece{"d", 1, false}, Piece{"\n", 1, true},
                    Piece{"\377", 1, false}, Piece{"pad ", 4, false}));
    EXPECT_TRUE(DtWarn.good());
}

TEST(PrintTest, CollectsWholeLinesWhenInsertionsAreNotFlushed) {
    CapturedNotifications captured;
    DtInfo.unsetf(std::ios_base::unitbuf);
    DtInfo << "x = " << 1 << "\ny" << std::string(100000, 'y') << "\nrest";
    DtInfo("%s", "call");
    DtInfo << "pending";
    const char* const none = nullptr;
    DtInfo(none);
    DtInfo.setf(std::ios_base::unitbuf);
    EXPECT_THAT(
        captured.pieces(),
        ElementsAre(Piece{"x = 1\n", 2, true},
                    Piece{"y" + std::string(100000, 'y') + "\n", 2, true}, Piece{"rest", 2, false},
                    Piece{"call", 2, false}, Piece{"pending", 2, false}));
}

TEST(PrintTest, CallFormatsOnePieceAndNeverEndsTheLine) {
    CapturedNotifications captured;
    DtInfo("n=%d\n", 3);
    DtInfo("%s", std::string(9000, 'x').c_str());
    DtInfo("%ls", L"\x4e2d");  // has no form in the "C" locale
    EXPECT_THAT(captured.pieces(),
                ElementsAre(Piece{"n=3\n", 2, false}, Piece{std::string(8191, 'x'), 2, false},
                            Piece{"", 2, false}));
}

TEST(PrintTest, PrintsTheSeveritiesUpToTheNotifyLevel) {
    for (int level = -1; level <= 4; ++level) {
        CapturedNotifications captured(level);
        for (DtOutputStream* stream : theStreams) {
            EXPECT_EQ(stream->okToPrint(), stream->threshold() <= level);
            *stream << stream->threshold();
            (*stream)("!");
            stream->write("?", true);
        }
        EXPECT_EQ(captured.text(), std::string("0!?1!?2!?3!?4!?").substr(0, 3 * (level + 1)));
    }
}

TEST(PrintTest, AsksForTheLevelAgainAfterEachDelivery) {
    OwnStream own;
    ActingPrinter closing([&](const std::string& text) { own.level = text == "b\n" ? -1 : 0; });
    own.stream.attachPrinter(&closing);
    own.stream << "a\nb\nc\nd";
    own.level = 0;
    own.stream << "e";
    EXPECT_EQ(closing.text(), "a\nb\ne");

    own.stream.unsetf(std::ios_base::unitbuf);
    own.stream << "collected";
    own.level = -1;
    own.stream << "ignored" << std::flush;
    own.level = 0;
    own.stream << std::flush;
    own.stream.setThreshold(1);
    own.stream << "above the level" << std::flush;
    EXPECT_EQ(closing.text(), "a\nb\ne");
}

TEST(PrintTest, StreamHandsOverWhatIsPendingWhenItEnds) {
    int level = 0;
    RecordingPrinter printer;
    DtOutputStreamBuffer buffer;
    EXPECT_EQ(buffer.pubsync(), -1);
    EXPECT_NE(buffer.sputc('x'), EOF);
    {
        DtOutputStream stream(&buffer, level, 0, &printer);
        stream.unsetf(std::ios_base::unitbuf);
        stream << "last words";
        EXPECT_EQ(printer.text(), "");
    }
    EXPECT_EQ(printer.text(), "last words");
    EXPECT_EQ(buffer.sputn("lost", 4), 4);
    EXPECT_EQ(buffer.pubsync(), -1);
}

// -------------------------------------------------------------------------------------------
// The list of printers

TEST(PrintTest, CallsEachAttachedPrinterOnceInTheOrderOfAttachment) {
    OwnStream own;
    std::string order;
    ActingPrinter first([&](const std::string&) { order += '1'; });
    ActingPrinter second([&](const std::string&) { order += '2'; });
    for (DtPrinter* printer : {static_cast<DtPrinter*>(&first), static_cast<DtPrinter*>(nullptr),
                               static_cast<DtPrinter*>(&second), static_cast<DtPrinter*>(&first)})
        own.stream.attachPrinter(printer);
    own.stream << "x";
    EXPECT_EQ(order, "12");
    EXPECT_TRUE(own.stream.detachPrinter(&first));
    EXPECT_FALSE(own.stream.detachPrinter(&first));
    EXPECT_FALSE(own.stream.detachPrinter(nullptr));
    own.stream << "x";
    own.stream.detachAllPrinters();
    own.stream << "dropped";
    EXPECT_EQ(order, "122");
    EXPECT_TRUE(own.stream.good());
}

TEST(PrintTest, PrinterThatThrowsLosesOnlyItsOwnPiece) {
    OwnStream own;
    ActingPrinter throwing([](const std::string& text) {
        if (text != "c")
            throw std::runtime_error(text);
    });
    RecordingPrinter other;
    own.stream.attachPrinter(&throwing);
    own.stream.attachPrinter(&other);
    own.stream << "a\n"
               << "b";
    own.stream("%s", "c");
    EXPECT_TRUE(own.stream.good());
    EXPECT_EQ(other.pieces(), throwing.pieces());
    EXPECT_EQ(other.text(), "a\nbc");
}

TEST(PrintTest, PrinterMayWriteToItsOwnStreamAndToOthers) {
    OwnStream own;
    CapturedNotifications captured;
    ActingPrinter speaking([&](const std::string& text) {
        own.stream << "<" << text;
        own.stream("%s", ">");
        DtInfo << "saw " << text;
    });
    RecordingPrinter after;
    own.stream.attachPrinter(&speaking);
    own.stream.attachPrinter(&after);
    own.stream << "a\nb";
    EXPECT_EQ(speaking.text(), "a\nb");
    EXPECT_EQ(after.text(), "<a\n>a\n<b>b");
    EXPECT_EQ(captured.text(), "saw a\nsaw b");
}

TEST(PrintTest, PrinterMayAttachAndDetachWhileItRuns) {
    OwnStream own;
    RecordingPrinter next;
    RecordingPrinter late;
    ActingPrinter changing([&](const std::string&) {
        own.stream.detachPrinter(&next);
        own.stream.attachPrinter(&late);
        own.stream.detachPrinter(&changing);
        own.stream << "inner ";
    });
    own.stream.attachPrinter(&changing);
    own.stream.attachPrinter(&next);
    own.stream << "outer ";
    own.stream << "end";
    EXPECT_EQ(changing.text(), "outer ");
    EXPECT_EQ(next.text(), "");
    EXPECT_EQ(late.text(), "inner end");

    ActingPrinter emptying([&](const std::string&) {
        own.stream.detachAllPrinters();
        own.stream.attachPrinter(&emptying);
    });
    own.stream.detachAllPrinters();
    own.stream.attachPrinter(&emptying);
    own.stream.attachPrinter(&next);
    own.stream << "1";
    own.stream << "2";
    EXPECT_EQ(emptying.text(), "12");
    EXPECT_EQ(next.text(), "");
}

// -------------------------------------------------------------------------------------------
// Threads

TEST(PrintTest, ThreadsLoseNoTextAndKeepTheirOwnOrder) {
    constexpr int threads = 4;
    constexpr int lines = 5000;
    OwnStream own;
    RecordingPrinter printer;
    own.stream.attachPrinter(&printer);
    runOnThreads(threads, [&](int number) {
        for (int line = 0; line < lines; ++line)
            own.stream << std::to_string(number) + ":" + std::to_string(line) + "\n";
    });
    std::vector<int> nextLine(threads, 0);
    for (const Piece& piece : printer.pieces()) {
        const size_t colon = piece.text.find(':');
        ASSERT_NE(colon, std::string::npos) << piece.text;
        const int number = std::stoi(piece.text);
        EXPECT_EQ(piece.text,
                  std::to_string(number) + ":" + std::to_string(nextLine[number]++) + "\n");
        EXPECT_TRUE(piece.endOfLine);
    }
    EXPECT_EQ(nextLine, std::vector<int>(threads, lines));
}

/// Announces that it is inside `write`, and goes on after another thread had time to act.
struct Meeting {
    std::promise<void> inside;
    std::promise<void> acting;

    void stay() {
        inside.set_value();
        acting.get_future().wait();
        for (int i = 0; i < 1000; ++i)
            std::this_thread::yield();
    }
    void meet() {
        inside.get_future().wait();
        acting.set_value();
    }
};

TEST(PrintTest, PrinterMayUseItsOwnStreamWhileAnotherThreadInserts) {
    using Use = std::function<void(DtOutputStream&)>;
    const Use uses[] = {[](DtOutputStream& stream) { stream << "*"; },
                        [](DtOutputStream& stream) { stream("*"); },
                        [](DtOutputStream& stream) { stream.write("*", false); }};
    for (const Use& outer : uses) {
        for (const Use& inner : uses) {
            OwnStream own;
            Meeting meeting;
            bool first = true;
            ActingPrinter speaking([&](const std::string&) {
                if (std::exchange(first, false)) {
                    meeting.stay();
                    inner(own.stream);
                }
            });
            RecordingPrinter other;
            own.stream.attachPrinter(&speaking);
            own.stream.attachPrinter(&other);
            std::thread inserting([&] {
                meeting.meet();
                own.stream << "*";
            });
            outer(own.stream);
            inserting.join();
            EXPECT_EQ(other.text(), "***");
        }
    }
}

TEST(PrintTest, DetachWaitsForAWriteOnAnotherThread) {
    OwnStream own;
    Meeting meeting;
    std::atomic<bool> left{false};
    ActingPrinter slow([&](const std::string&) {
        meeting.stay();
        left = true;
    });
    own.stream.attachPrinter(&slow);
    std::thread writer([&] { own.stream << "x"; });
    meeting.meet();
    EXPECT_TRUE(own.stream.detachPrinter(&slow));
    EXPECT_TRUE(left);
    writer.join();
}

TEST(PrintTest, ThreadCancelledWhilePrintingLeavesTheStreamInOrder) {
    OwnStream own;
    ActingPrinter cancelling([](const std::string& text) {
        if (text == "x")
            pthread_cancel(pthread_self());
        pthread_testcancel();
    });
    own.stream.attachPrinter(&cancelling);
    bool survived = false;
    std::thread([&] {
        own.stream << "x";
        pthread_testcancel();
        survived = true;
    }).join();
    EXPECT_FALSE(survived);
    EXPECT_TRUE(own.stream.good());
    own.stream << "y";
    EXPECT_EQ(cancelling.text(), "xy");
}

// -------------------------------------------------------------------------------------------
// The streams of the process

TEST(PrintTest, StreamsWorkBeforeMain) {
    EXPECT_TRUE(theBeforeMain.allOnStandardOutput);
    EXPECT_EQ(theBeforeMain.level, 2);
    EXPECT_EQ(theBeforeMain.text, "**FATAL ERROR**: early 1\n");
}

TEST(PrintTest, StreamsWorkInExitHandlersWhileOtherThreadsLog) {
    const auto leave = [] {
        static DtPrinter* const ignoring = new IgnoringPrinter;  // the thread outlives it all
        DtSetQuarnPrinter(ignoring);
        DtWarn.attachPrinter(&DtStandardErrorConsole);
        theExitIsObserved = true;
        std::promise<void> logging;
        std::thread([&] {
            DtInfo << "begun" << std::endl;
            logging.set_value();
            while (true)
                DtInfo << "still here" << std::endl;
        }).detach();
        logging.get_future().wait();
        std::exit(7);
    };
    EXPECT_EXIT(leave(), testing::ExitedWithCode(7), "goodbye");
}

TEST(PrintTest, ConsolesWriteAtOnceAndIgnoreTheFormattingOfTheProgram) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    std::cout << std::setw(20);
    DtStandardOutConsole.write("out\n", 2, true);
    DtStandardErrorConsole.write("err", 1, false);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "out\n");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "err");
    std::cout << std::setw(0);
}

TEST(PrintTest, EnvironmentIsListedBetweenTwoLines) {
    CapturedNotifications captured;
    setenv("PRINT_TEST_VARIABLE", "a value", 1);
    DtPrintEnvironmentVariables(DtWarn);
    const std::string text = captured.text(1);
    EXPECT_THAT(text, testing::StartsWith("DtPrintEnvironmentVariables\n"));
    EXPECT_THAT(text, testing::HasSubstr("\nPRINT_TEST_VARIABLE=a value\n"));
    EXPECT_THAT(text, testing::EndsWith("\nEnd of DtPrintEnvironmentVariables\n"));

    clearenv();
    captured.take();
    DtPrintEnvironmentVariables(DtWarn);
    EXPECT_EQ(captured.text(), "DtPrintEnvironmentVariables\nEnd of DtPrintEnvironmentVariables\n");
}

}  // namespace

}  // namespace OrynRti::Tests
