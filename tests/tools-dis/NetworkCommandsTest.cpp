#include <algorithm>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tools-dis/Listener.h"

namespace RtiqnDis {
namespace {

using namespace Tests;
using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

std::string harbour() {
    return dataPath("dis/harbour.pcap");
}

/// The PDUs without when and whence they came, which differ between a capture and the network; the
/// summary without them, too.
std::vector<json> comparable(const std::string& ndjson) {
    std::vector<json> objects = objectsOf(ndjson);
    for (json& object : objects)
        for (const char* key : {"time", "sender"})
            object.erase(key);
    for (const char* key : {"seconds", "traffic", "notDelivered"})
        if (objects.back().contains("summary"))
            objects.back()["summary"].erase(key);
    return objects;
}

json lossesOf(const std::string& ndjson) {
    const json summary = objectsOf(ndjson).back().at("summary");
    json losses;
    for (const json& row : summary.at("notDelivered"))
        losses[row.at("reason").get<std::string>()] = row.at("count");
    return losses;
}

Outcome replay(const Listener& listener, const std::vector<std::string>& options) {
    std::vector<std::string> words = {"replay", harbour(), "--to", listener.target()};
    words.insert(words.end(), options.begin(), options.end());
    Outcome outcome = run(words);
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    return outcome;
}

TEST(NetworkCommands, ListenShowsEveryPduThatReplaySends) {
    const TemporaryFolder folder;
    Listener listener({"--count", "18", "--write", folder.path("rec.pcap"), "--strict"});
    const Outcome sent = replay(listener, {"--speed", "10"});
    EXPECT_THAT(sent.out, AllOf(HasSubstr("Sent 14 datagrams"), HasSubstr("missing fragments")));
    const Outcome heard = listener.finish();
    EXPECT_EQ(heard.status, 1);  // broken datagrams, with --strict

    const std::string read = run({"read", "--format", "ndjson", harbour()}).out;
    EXPECT_EQ(comparable(heard.out), comparable(read));
    json losses = lossesOf(read);
    losses.erase("cutOff");
    losses.erase("fragmentsMissing");
    EXPECT_EQ(lossesOf(heard.out), losses);
    EXPECT_THAT(heard.err, HasSubstr("Failed to read expected Coupled Attribute PDU"));

    // The recording holds the very same.
    const Outcome recorded =
        run({"read", "--format", "ndjson", "--port", listener.port(), folder.path("rec.pcap")});
    const std::vector<json> live = objectsOf(heard.out), later = objectsOf(recorded.out);
    ASSERT_EQ(live.size(), later.size());
    for (std::size_t i = 0; i + 1 < live.size(); ++i) {
        EXPECT_NEAR(live[i].at("time"), later[i].at("time"), 1e-6);
        EXPECT_EQ(live[i].at("sender"), later[i].at("sender"));
    }
    EXPECT_EQ(comparable(heard.out), comparable(recorded.out));
    EXPECT_EQ(lossesOf(heard.out), lossesOf(recorded.out));
}

TEST(NetworkCommands, ListenTellsAllCountersInTheMidstOfThePdus) {
    Listener listener({"--counters", "0.01"});
    replay(listener, {"--speed", "20"});
    std::vector<json> records = objectsOf(listener.interrupt().out);
    const json summary = records.back().at("summary");
    records.pop_back();
    const json last = records.back().at("counters");
    EXPECT_EQ(last.at("pdus"), summary.at("pdus"));
    EXPECT_EQ(last.at("datagrams"), 14);
    EXPECT_EQ(last.at("notDelivered").at("lengthZero"), 2);
    EXPECT_EQ(last.at("socket").at("totalPacketsReceived"), 14);
    EXPECT_EQ(last.at("socket").at("invalidLengths"), 3);
    const auto told = [](const json& record) { return record.contains("counters"); };
    EXPECT_GT(std::count_if(records.begin(), records.end(), told), 2);
    EXPECT_EQ(std::count_if(records.begin(), records.end(), std::not_fn(told)), 18);
}

/// Without a stream of objects they go to standard error.
TEST(NetworkCommands, ListenTellsItsCountersAtTheEnd) {
    const Outcome heard =
        run({"listen", "--port", "0", "--bind", "127.0.0.1", "--for", "0.05", "--counters", "100"});
    const std::size_t begin = heard.err.find('{');
    const std::size_t size = heard.err.find('\n', begin) - begin;
    EXPECT_EQ(json::parse(heard.err.substr(begin, size)).at("counters").at("pdus"), 0);
    EXPECT_THAT(heard.out, testing::StartsWith("0 datagrams with 0 PDUs"));
}

TEST(NetworkCommands, ListenSelectsAsReadDoes) {
    const struct {
        std::vector<std::string> options;
        const char* count;
    } cases[] = {
        {{"--kind", "acknowledge,Signal", "--dis-version", "6,7"}, "6"},
        {{"--not-kind", "fire"}, "13"},
        {{"--dis-version", "6", "--exercise", "7"}, "3"},
    };
    for (const auto& test : cases) {
        std::vector<std::string> options = test.options;
        options.insert(options.end(), {"--count", test.count});
        Listener listener(options);
        replay(listener, {"--top-speed"});
        options.insert(options.begin(), {"read", "--format", "ndjson", harbour()});
        EXPECT_EQ(comparable(listener.finish().out), comparable(run(options).out)) << test.count;
    }
}

TEST(NetworkCommands, ReplayBundlesAnewAndRewritesTheExercise) {
    Listener listener({"--count", "36"});
    const Outcome sent =
        replay(listener, {"--top-speed", "--bundle", "500", "--exercise", "9", "--loop", "2"});
    std::vector<json> heard = comparable(listener.finish().out);
    const json summary = heard.back().at("summary");
    heard.pop_back();
    std::vector<json> expected = comparable(run({"read", "--format", "ndjson", harbour()}).out);
    expected.pop_back();
    ASSERT_THAT(heard, SizeIs(36));
    json versionOfBundle;
    for (std::size_t i = 0; i < heard.size(); ++i) {
        const json& original = expected[i % 18];
        EXPECT_EQ(heard[i].at("exercise"), 9);
        for (const char* key : {"kind", "version", "length", "coupled"})
            EXPECT_EQ(heard[i].at(key), original.at(key)) << i << key;
        if (heard[i].at("index") == 1)
            versionOfBundle = heard[i].at("version");
        EXPECT_EQ(heard[i].at("version"), versionOfBundle);
    }
    EXPECT_LT(summary.at("datagrams"), 16);
    EXPECT_EQ(summary.at("attributePdus"), 4);
    EXPECT_THAT(sent.out, HasSubstr("Not replayed, or not whole"));
}

TEST(NetworkCommands, ReplayKeepsToTheTimesOfTheCapture) {
    Listener listener({"--count", "18"});
    replay(listener, {"--speed", "3"});
    const std::vector<json> heard = objectsOf(listener.finish().out);
    const std::vector<json> read = objectsOf(run({"read", "--format", "ndjson", harbour()}).out);
    for (std::size_t i = 1; i + 1 < heard.size(); ++i) {
        const double planned_s = (read[i].at("time").get<double>() - 1700000000.0) / 3;
        const double took_s = heard[i].at("time").get<double>() - heard[0].at("time").get<double>();
        EXPECT_GT(took_s, planned_s - 0.05) << i;  // the first may have been late
    }
}

TEST(NetworkCommands, SendSendsTheStateOfEveryEntity) {
    for (const char* version : {"6", "7"}) {
        Listener listener({"--count", "60"});
        const Outcome sent =
            run({"send", "--to", listener.target(), "--entities", "12", "--rate", "100", "--for",
                 "0.05", "--exercise", "3", "--dis-version", version, "--bundle", "1400"});
        EXPECT_EQ(sent.status, 0) << sent.err;
        EXPECT_THAT(sent.out, HasSubstr("Sent 60 Entity State PDUs in 10 datagrams"));
        std::vector<json> heard = comparable(listener.finish().out);
        EXPECT_EQ(heard.back().at("summary").at("datagrams"), 10);
        heard.pop_back();
        ASSERT_THAT(heard, SizeIs(60));
        EXPECT_EQ(heard[10], json({{"version", std::stoi(version)},
                                   {"exercise", 3},
                                   {"kind", 1},
                                   {"name", "Entity State"},
                                   {"length", 144},
                                   {"index", 2},
                                   {"count", 3},
                                   {"coupled", false}}));
    }
}

TEST(NetworkCommands, ASignalEndsListeningAndSendingWithTheFigures) {
    for (const int signal : {SIGINT, SIGTERM}) {
        Listener listener({});
        const Outcome heard = listener.interrupt(signal);
        EXPECT_EQ(heard.status, 0);
        EXPECT_EQ(objectsOf(heard.out).back().at("summary").at("pdus"), 0);
    }
    const Outcome silent = run({"listen", "--port", "0", "--bind", "127.0.0.1", "--for", "0.05"});
    EXPECT_EQ(silent.status, 0);
    EXPECT_THAT(silent.err, HasSubstr("nothing received within 0.05 s"));
    EXPECT_THAT(silent.out, HasSubstr("0 datagrams with 0 PDUs"));
}

TEST(NetworkCommands, AnswerWithTheExitStatusOfWhatHappened) {
    const struct {
        int status;
        std::vector<std::string> words;
    } cases[] = {
        {4, {"listen", "--device", "no-such-device"}},
        {4, {"listen", "--bind", "198.51.100.7", "--port", "0"}},
        {3, {"replay", "/nonexistent", "--to", "127.0.0.1:9"}},
        {3, {"listen", "--port", "0", "--write", "/nonexistent/x.pcap"}},
        {64, {"listen", "--group", "192.0.2.1"}},
        {64, {"listen", "--group", "239.1.2.3", "--bind", "::1"}},
        {64, {"listen", "--for", "nan"}},
        {64, {"listen", "--counters", "0"}},
        {64, {"listen", "--live"}},  // standard output is no terminal
        {64, {"listen", "--live", "--format", "json"}},
        {64, {"replay", harbour()}},
        {64, {"replay", harbour(), "--to", "127.0.0.1:0"}},
        {64, {"replay", harbour(), "--to", "127.0.0.1:65536"}},
        {64, {"replay", harbour(), "--to", "127.0.0.1/8"}},
        {64, {"replay", harbour(), "--to", "127.0.0.1", "::1"}},
        {64, {"replay", harbour(), "--to", "127.0.0.1", "--top-speed", "--pps", "5"}},
        {64, {"send", "--to", "127.0.0.1:9", "--rate", "0"}},
        {64, {"send", "--to", "127.0.0.1:9", "--dis-version", "5"}},
    };
    for (const auto& test : cases) {
        const Outcome result = run(test.words);
        EXPECT_EQ(result.status, test.status) << testing::PrintToString(test.words);
        EXPECT_THAT(result.out, IsEmpty());
        EXPECT_THAT(result.err, testing::StartsWith("rtiqn-dis: "));
    }
}

}  // namespace
}  // namespace RtiqnDis
