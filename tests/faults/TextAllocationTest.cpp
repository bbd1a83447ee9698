// Text, containers and FOM tables without memory.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <string>

#include "Exceptions.h"
#include "Fatal.h"
#include "FedTarget.h"
#include "Hash.h"
#include "Hashlist.h"
#include "LockfreeQueue.h"
#include "PerformanceStats.h"
#include "Print.h"
#include "StringUtil.h"
#include "Thread.h"
#include "ThreadedObject.h"
#include "faults/Allocations.h"
#include "fom/TestTarget.h"
#include "support/Files.h"
#include "support/Notifications.h"

namespace OrynRti::Tests {
namespace {

using testing::HasSubstr;

constexpr auto Throws = AllocationCase::Throws;
constexpr auto Forgives = AllocationCase::Forgives;

/// Beyond what strings hold without a block.
const std::string theLongText(200, 'x');
const DtString theLongString(theLongText);

// -------------------------------------------------------------------------------------------

const AllocationCase theTextCases[] = {
    {"DtString constructs", Throws,
     [](Attempt& attempt) {
         attempt([] {
             const DtString text(theLongText);
             const DtString copy(text), sum(text + copy), both(theLongText.c_str(), 150);
             const std::unique_ptr<DtString> clone(sum.clone());
             EXPECT_EQ(clone->size(), 400);
         });
     }},
    {"DtString grows", Throws,
     [](Attempt& attempt) {
         DtString text("short"), assigned("short");
         attempt([&] {
             text += theLongText.c_str();
             assigned = theLongString;
         });
         EXPECT_THAT(text.stdString(), testing::AnyOf("short", "short" + theLongText));
         EXPECT_THAT(assigned.stdString(), testing::AnyOf("short", theLongText));
     }},
    {"DtString takes apart", Throws,
     [](Attempt& attempt) {
         const DtString list((theLongText + "," + theLongText).c_str());
         std::vector<DtString> tokens;
         attempt([&] {
             list.tokenize(',', tokens);
             EXPECT_EQ(list.section(',', 1, 1), theLongText.c_str());
             EXPECT_EQ(DtToString(std::wstring(100, L'w')).size(), 100);
         });
     }},
    {"DtStringFromBuffer", Throws,
     [](Attempt& attempt) {
         DtString text;
         attempt([&] { DtStringFromBuffer(DtPlainString, &text, theLongText.data(), 200, false); });
         EXPECT_THAT(text.size(), testing::AnyOf(0, 200));
     }},
    {"DtException leaves out what does not fit", Forgives,
     [](Attempt& attempt) {
         attempt([] {
             const DtException first(theLongText.c_str(), "function", "file", 1, nullptr);
             const DtException second(theLongText.c_str(), &first);
             DtException copy(second);
             copy = first;
         });
     }},
    {"DT_THROW", Throws,
     [](Attempt& attempt) {
         attempt([] {
             try {
                 DtThreadedObject().start();
             } catch (const DtException&) {
             }
         });
     }},
    {"a stream loses the text and stays good", Forgives,
     [](Attempt& attempt) {
         CapturedNotifications printer;
         DtOutputStreamBuffer buffer;
         DtOutputStream stream(&buffer, DtNotifyLevel, 1, &printer);
         attempt([&] {
             stream << theLongText << theLongText << 'c' << 12.5 << std::endl;
             stream("%s%s", theLongText.c_str(), theLongText.c_str());
             DtWarnPerror("%s", theLongText.c_str());
         });
         EXPECT_TRUE(stream.good() && DtWarn.good());
         printer.take();
         stream << "after" << std::endl;
         EXPECT_EQ(printer.take(), "after\n");
     }},
    {"DtOutputStream constructs and attaches", Throws,
     [](Attempt& attempt) {
         DtFilePrinter one, other;
         attempt([&] {
             DtOutputStreamBuffer buffer;
             DtOutputStream stream(&buffer, DtNotifyLevel, 1, &one);
             stream.attachPrinter(&other);
         });
     }},
    {"DtFilePrinter opens", Throws,
     [](Attempt& attempt) {
         const TemporaryFolder folder;
         DtFilePrinter again(folder.path("first.log").c_str());
         attempt([&] {
             DtFilePrinter printer(folder.path("run.log").c_str());
             again.resetFile(folder.path("second.log").c_str());
         });
         EXPECT_TRUE(again.isOpen());
         again.write("after\n", 2, true);
         EXPECT_THAT(readFile(folder.path("first.log")) + readFile(folder.path("second.log")),
                     "after\n");
     }},
    {"DtFilePrinter rolls", Throws,
     [](Attempt& attempt) {
         struct Printer : DtFilePrinter {
             using DtFilePrinter::DtFilePrinter;
             time_t currentTime() override { return now += 10; }
             time_t now = 0;
         };
         const TemporaryFolder folder;
         Printer printer;
         printer.resetFile(folder.path("run.log").c_str());
         printer.setPrintTimestamps(true);
         printer.setLogRollingInterval(5);
         attempt([&] { printer.write("text\n", 2, true); });
         printer.setPrintTimestamps(false);
         printer.write("after\n", 2, true);
         EXPECT_EQ(readFile(folder.path("run.log")), "after\n");
     }},
};

TEST(TextAllocationTest, TextOutlivesAShortage) {
    CapturedNotifications quiet;
    expectSurvival(theTextCases);
}

// -------------------------------------------------------------------------------------------

struct IdleWork : DtRunnable {
    int run() override { return 0; }
};

const AllocationCase theContainerCases[] = {
    {"DtList", Throws,
     [](Attempt& attempt) {
         DtList list, target;
         int items[4];
         for (int& item : items)
             list.add(&item);
         target.add(items);
         attempt([&] {
             const DtList copy(list);
             target = list;
             list.add(items);
         });
         EXPECT_THAT(list.count(), testing::AnyOf(4, 5));
         EXPECT_EQ(target.count() == 0, target.first() == nullptr);
     }},
    {"DtIntrusiveList", Throws,
     [](Attempt& attempt) {
         DtIntrusiveList list;
         DtListedObj object;
         attempt([&] { list.add(&object); });
         EXPECT_EQ(object.list() != nullptr, list.count() == 1);
         list.removeAll();
     }},
    {"DtHashlist adds", Throws,
     [](Attempt& attempt) {
         DtHashlist table(3);
         int data = 0, other = 0;
         void* old = nullptr;
         const DtStringHashKey key(theLongString);
         attempt([&] { table.add(key, &data, &old); });
         EXPECT_EQ(table.lookup(key) == &data, attempt.isDone());
         EXPECT_EQ(table.keys()->count(), attempt.isDone() ? 1 : 0);
         EXPECT_EQ(table.list()->count(), attempt.isDone() ? 1 : 0);
         table.add(key, &other, &old);
         EXPECT_EQ(table.lookup(key), &other);
     }},
    {"DtHashlist copies", Throws,
     [](Attempt& attempt) {
         DtHashlist table(3), target(2);
         int data = 0;
         for (unsigned int i = 0; i < 5; ++i)
             table.add(DtIntHashKey(i), &data, nullptr);
         target.add(DtStringHashKey(theLongString), &data, nullptr);
         attempt([&] {
             const DtHashlist copy(table);
             target = table;
         });
         target.add(DtIntHashKey(9), &data, nullptr);
         EXPECT_EQ(target.lookup(DtIntHashKey(9)), &data);
         EXPECT_EQ(target.keys()->count(), target.list()->count());
     }},
    {"hash keys", Throws,
     [](Attempt& attempt) {
         attempt([] {
             DtWStringHashKey wide(std::wstring(60, L'w'));
             const std::unique_ptr<DtBaseHashKey> clone(wide.clone());
             DtStringHashKey key(clone->stringRep());
             key.setValue(theLongString);
             EXPECT_EQ(key.stringRep(), theLongString);
         });
     }},
    {"queues and statistics", Throws,
     [](Attempt& attempt) {
         attempt([] {
             const DtLockfreeMpmcQueueImpl many(16);
             const DtLockfreeQueueImpl one(16);
             DtPerformanceStats stats;
             stats.stat(20).addTime(1);
             DtTimedLappingSection laps;
             laps.lap();
             EXPECT_TRUE(many._empty() && one._empty());
         });
     }},
    {"threads", Throws,
     [](Attempt& attempt) {
         const auto work = std::make_shared<IdleWork>();
         DtThreadedObject object(work);
         attempt([&] {
             DtThread thread(std::make_shared<DtThreadStart>(work.get()));
             EXPECT_EQ(thread.start(), 0);
             DtThreadedObject other(work);
             object.start();
         });
         EXPECT_EQ(object.running(), attempt.isDone());
         if (!object.running())
             object.start();
         object.join();
     }},
};

TEST(TextAllocationTest, ContainersOutliveAShortage) {
    expectSurvival(theContainerCases);
}

/// Names are kept for ever, so each attempt needs a new one.
TEST(TextAllocationTest, AHashedNameIsKnownInBothDirectionsOrInNone) {
    for (long nth = 1;; ++nth) {
        const std::string name = theLongText + std::to_string(nth);
        Attempt attempt(Failing::ThisThreadFromThere, nth);
        attempt([&] { const DtHash hash(name); });
        const bool isKnown = DtHash::theHashStringMap().count(name) != 0;
        EXPECT_EQ(DtHash::theHashIdMap().count(DtHash::makeHash(name)) != 0, true);
        EXPECT_TRUE(isKnown || !attempt.isDone());
        EXPECT_EQ(DtHash::valueToString(DtHash(name).value()), name);
        if (!attempt.hasFailed())
            break;
    }
}

// -------------------------------------------------------------------------------------------

/// A target with rows of long texts; those of another number have other names, and differ where
/// the names are the same.
TestTarget filledTarget(int number) {
    TestTarget target(("target" + theLongText).c_str());
    const DtString text(theLongText + std::to_string(number));
    const DtString& same = theLongString;
    target.addTime(fresh(DtTimeType{same, text, text}));
    target.addUpdateRate(fresh(DtUpdateRateType{text, 1, text}));
    target.addTransportType(fresh(DtTransportationType{text, text, true, text}));
    target.addUserSuppliedTag(fresh(DtUserSuppliedTagsType{text, text, text}));
    target.addNote(fresh(DtNotesType{text, text}));
    target.addSyncPoint(fresh(DtSynchronizationPointsType{text, text, 0, text}));
    target.addSimpleDataType(fresh(DtSimpleDatatypeType{text, text, text, "", "", ""}));
    target.addEnumeratedDataType(fresh(DtEnumeratedDatatypeType{text, text, {{text, {text}}}, ""}));
    target.addFixedRecordDataType(
        fresh(DtFixedRecordDatatypeType{text, text, "", {{text, text, ""}}}));
    target.addSwitch("autoProvide", true);
    target.addUnresolvedAttributeDimension(text, text, text);
    target.addUnresolvedClassDimension(same, text);
    return target;
}

const AllocationCase theFomCases[] = {
    {"FOM tables", Throws, [](Attempt& attempt) { attempt([] { filledTarget(1); }); }},
    {"a FOM target is copied", Throws,
     [](Attempt& attempt) {
         const TestTarget source = filledTarget(1);
         TestTarget target = filledTarget(2);
         attempt([&] {
             const TestTarget copy(source);
             target = source;
         });
         target.addNote(fresh(DtNotesType{"after", ""}));
         EXPECT_TRUE(target.knownNote(DtNotesType{"after", ""}));
     }},
    {"a FOM is merged", Throws,
     [](Attempt& attempt) {
         TestTarget source = filledTarget(1);
         TestTarget target = filledTarget(2);
         source.setMergeTableMask(~0UL & ~std::uint64_t(DtMergeFomTableTime));
         target.setMergeTableMask(~0UL & ~std::uint64_t(DtMergeFomTableTime));
         attempt([&] { EXPECT_EQ(target.mergeTarget(source, true), DtMergeFomSuccess); });
         EXPECT_EQ(target.mergeTarget(source, true), DtMergeFomSuccess);
         EXPECT_EQ(target.numNotes(), 2u);
         EXPECT_EQ(target.unresolvedClassDimensions().at(theLongString).size(), 2u);
     }},
    {"a FOM conflicts", Throws,
     [](Attempt& attempt) {
         const TestTarget source = filledTarget(1);
         TestTarget target = filledTarget(2);
         target.setStrictChecking(true);
         attempt([&] { target.mergeTarget(source, true); });
         EXPECT_EQ(target.mergeTarget(source, true), DtMergeFomTimeTypesConflict);
         EXPECT_THAT(target.error(), HasSubstr("has conflicts in time types"));
     }},
    {"a FOM is checked", Throws,
     [](Attempt& attempt) {
         TestTarget target = filledTarget(1);
         DtString report;
         attempt([&] { target.postMergeCheckTarget(report); });
         DtString whole, again;
         EXPECT_EQ(target.postMergeCheckTarget(whole), target.postMergeCheckTarget(again));
         EXPECT_EQ(whole, again);
     }},
};

TEST(TextAllocationTest, FomTablesOutliveAShortage) {
    expectSurvival(theFomCases);
}

}  // namespace
}  // namespace OrynRti::Tests
