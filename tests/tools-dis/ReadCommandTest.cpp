#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tools-dis/Program.h"

namespace RtiqnDis {
namespace {

using namespace Tests;
using nlohmann::json;
using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

std::string harbour() {
    return dataPath("dis/harbour.pcap");
}

json countsOf(const json& summary, const char* rows, const char* key, const char* count) {
    json counts;
    for (const json& row : summary.at(rows))
        counts[row.at(key).get<std::string>()] = row.at(count);
    return counts;
}

TEST(ReadCommand, WritesEachPduAndThenTheSummaryAsJsonLines) {
    const Outcome result = run({"read", "--format", "ndjson", harbour()});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.err, IsEmpty());
    const std::vector<json> objects = objectsOf(result.out);
    ASSERT_THAT(objects, SizeIs(19));
    EXPECT_EQ(objects[2], json::parse(R"({"time": 1700000000.1, "sender": "192.0.2.10:3000",
        "version": 7, "exercise": 7, "kind": 1, "name": "Entity State", "length": 144,
        "index": 2, "count": 4, "coupled": false})"));
    EXPECT_TRUE(objects[8].at("coupled"));
    const json summary = objects.back().at("summary");
    EXPECT_EQ(summary.at("datagrams"), 14);
    EXPECT_EQ(summary.at("pdus"), 18);
    EXPECT_EQ(summary.at("attributePdus"), 2);
    EXPECT_EQ(countsOf(summary, "traffic", "name", "pdus"),
              json::parse(R"({"Entity State": 7, "Fire": 5, "Acknowledge": 2, "Signal": 4})"));
    EXPECT_EQ(countsOf(summary, "notDelivered", "reason", "count"),
              json::parse(R"({"tooShort": 1, "lengthZero": 2, "lengthBelowHeader": 1,
        "incomplete": 1, "wrongAlignment": 1, "restTooShort": 1, "attributeMissing": 1,
        "cutOff": 1, "fragmentsMissing": 1})"));
}

TEST(ReadCommand, WritesTheSameInEveryFormat) {
    const json whole = json::parse(run({"read", "--format", "json", harbour()}).out);
    std::vector<json> lines = objectsOf(run({"read", "--format", "ndjson", harbour()}).out);
    EXPECT_EQ(whole.at("summary"), lines.back().at("summary"));
    lines.pop_back();
    EXPECT_EQ(whole.at("pdus"), json(lines));
    const json quiet = json::parse(run({"read", "--format", "json", "--quiet", harbour()}).out);
    EXPECT_EQ(quiet, json({{"summary", whole.at("summary")}}));

    const std::string text = run({"read", harbour()}).out;
    EXPECT_THAT(text,
                AllOf(testing::StartsWith("time "),
                      HasSubstr("\n1700000000.300000 192.0.2.10:3000         7    7   144   1/2"
                                "   1 Entity State + Attribute PDU\n"),
                      HasSubstr("\n14 datagrams with 18 PDUs and 2 coupled Attribute PDUs"),
                      HasSubstr("2  the sender writes length 0 into the PDU header: 192")));
}

TEST(ReadCommand, SelectsPdus) {
    const struct {
        std::vector<std::string> options;
        std::size_t pdus;
        const char* reason;
    } cases[] = {
        {{"--kind", "Entity State,26"}, 11, "filteredKind"},
        {{"--kind", "fire", "--kind", "signal"}, 9, "filteredKind"},
        {{"--not-kind", "fire"}, 13, "filteredKind"},
        {{"--kind", "fire,signal", "--not-kind", "2"}, 4, "filteredKind"},
        {{"--dis-version", "6"}, 3, "filteredVersion"},
        {{"--exercise", "1,2"}, 0, "filteredExercise"},
        {{"--count", "2"}, 2, nullptr},
    };
    for (const auto& test : cases) {
        std::vector<std::string> words = {"read", "--format", "ndjson", harbour()};
        words.insert(words.begin() + 1, test.options.begin(), test.options.end());
        const std::vector<json> objects = objectsOf(run(words).out);
        EXPECT_THAT(objects, SizeIs(test.pdus + 1)) << test.options[1];
        const json losses =
            countsOf(objects.back().at("summary"), "notDelivered", "reason", "count");
        if (test.reason) {
            EXPECT_EQ(losses.at(test.reason), 18 - test.pdus) << test.options[1];
        }
    }
}

TEST(ReadCommand, AnswersWithTheExitStatusOfWhatHappened) {
    EXPECT_EQ(run({"read", "--strict", harbour()}).status, 1);
    EXPECT_EQ(run({"read", "--strict", "--count", "5", harbour()}).status, 0);

    const Outcome nothing = run({"read", "--strict", "--port", "3999", harbour()});
    EXPECT_THAT(nothing.err, HasSubstr("no UDP datagram to port 3999, "));

    const Outcome missing = run({"read", "/nonexistent/x.pcap"});
    EXPECT_EQ(missing.status, 3);
    EXPECT_EQ(missing.err,
              "rtiqn-dis: cannot read /nonexistent/x.pcap: No such file or directory\n");
    EXPECT_THAT(missing.out, IsEmpty());
    const Outcome full = run({"read", harbour()}, "/dev/full");
    EXPECT_EQ(full.status, 3);
    EXPECT_THAT(full.err, HasSubstr("cannot write to standard output: No space left"));
}

TEST(ReadCommand, ToldTheEndIsMissingReadsWhatIsThere) {
    const TemporaryFolder folder;
    const std::string whole = readFile(harbour());
    writeFile(folder.path("half.pcap"), whole.substr(0, 1000));
    const Outcome result = run({"read", "--quiet", folder.path("half.pcap")});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.out, AllOf(HasSubstr("3 datagrams"), HasSubstr("cut off or damaged")));
    EXPECT_THAT(result.err, HasSubstr("half.pcap: the rest cannot be read: truncated"));
    EXPECT_EQ(run({"read", "--strict", folder.path("half.pcap")}).status, 1);
}

TEST(ReadCommand, RefusesOptionsThatMakeNoSense) {
    const std::vector<std::vector<std::string>> cases = {
        {},
        {"read"},
        {"dream"},
        {"read", "--kind", "Entity", harbour()},
        {"read", "--kind", "256", harbour()},
        {"read", "--exercise", "256", harbour()},
        {"read", "--dis-version", "x", harbour()},
        {"read", "--port", "0", harbour()},
        {"read", "--port", "65536", harbour()},
        {"read", "--count", "0", harbour()},
        {"read", "--format", "xml", harbour()},
    };
    for (const auto& words : cases) {
        const Outcome result = run(words);
        EXPECT_EQ(result.status, 64) << testing::PrintToString(words);
        EXPECT_THAT(result.out, IsEmpty());
        EXPECT_THAT(result.err, HasSubstr("rtiqn-dis: "));
    }
    EXPECT_EQ(run({"--version"}).out, "22.0.0\n");
    EXPECT_THAT(run({"read", "--help"}).out, HasSubstr("--not-kind"));
}

TEST(ReadCommand, ReadsWhatTheScriptOfTheSampleMakes) {
    const TemporaryFolder folder;
    const std::string made = folder.path("made.pcap");
    const std::string command = "'" + dataPath("dis/make-capture") + "' '" + made + "'";
    ASSERT_EQ(std::system(command.c_str()), 0);
    EXPECT_TRUE(readFile(made) == readFile(harbour()));
}

}  // namespace
}  // namespace RtiqnDis
