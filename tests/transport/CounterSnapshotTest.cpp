#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

#include "CounterSnapshot.h"
#include "InetTcpSocket.h"
#include "PacketServerClient.h"
#include "transport/DisPdus.h"
#include "transport/ShmSupport.h"

namespace OrynRti::Tests {
namespace {

using testing::EndsWith;
using testing::StartsWith;

/// "name=value name=value ...", all of them or those above 0.
std::string textOf(const DtCounterSnapshot& snapshot, bool all) {
    std::string text;
    for (const DtCounter& counter : snapshot)
        if (all || counter.value > 0)
            text +=
                (text.empty() ? "" : " ") + (counter.name + ("=" + std::to_string(counter.value)));
    return text;
}

TEST(CounterSnapshot, HasWhatEveryKindOfSocketCounts) {
    const DtInetTcpSocket tcp;
    const auto udp = loopbackSocket();
    const DtDisSocket dis(udpEndpoint("127.0.0.1"), 0, nullptr, theNonBlocking, true, false);
    const std::string base =
        "totalBytesSent=0 totalPacketsSent=0 totalBytesReceived=0 totalPacketsReceived=0";
    EXPECT_EQ(textOf(DtCounterSnapshot(tcp), true), base);
    EXPECT_THAT(textOf(DtCounterSnapshot(*udp), true),
                AllOf(StartsWith(base + " datagramsOnWire=0"), EndsWith(" emptyDatagrams=0")));
    const DtInetSocket& some = dis;
    EXPECT_THAT(textOf(DtCounterSnapshot(some), true),
                AllOf(StartsWith(textOf(DtCounterSnapshot(*udp), true) + " ownDatagrams=0"),
                      EndsWith(" bundlesFailed=0")));
}

TEST(CounterSnapshot, HoldsEachCounterUnderItsOwnName) {
    DtDisSocket socket(udpEndpoint("127.0.0.1"), 0, nullptr, theNonBlocking, true, false);
    const auto sender = loopbackSocket();
    unsigned int kind = 1;
    socket.pduKind().setTest(DtPduAcceptListed, 1, &kind);
    const auto send = [&](const std::string& text) {
        sendText(*sender, text, socket.localEndpoint());
        while (receiveText(socket) != "(0)") {
        }
    };
    send(ofSize(28));
    send(ofKind(2));
    send("short");
    send(claiming(4711));
    send(claiming(3));
    send(std::string(ofSize(32)) + "rest");
    send(ofSize(3000));
    EXPECT_EQ(textOf(DtCounterSnapshot(socket), false),
              "totalBytesReceived=2153 totalPacketsReceived=7 truncatedDatagrams=1 "
              "belowMinSize=1 filteredByKind=1 incomplete=1 invalidLengths=1 restsDropped=1");
    socket.setBundling(100, 0, 0, false);
    sendText(socket, ofSize(28), sender->localEndpoint());
    socket.flush();
    const DtCounterSnapshot later(socket);
    ASSERT_NE(later.find("bundlesSent"), nullptr);
    EXPECT_EQ(later.find("bundlesSent")->value, 1u);
    EXPECT_EQ(later.find("bytesOnWire")->value, 28u);
    EXPECT_EQ(later.find("nonsense"), nullptr);
}

TEST(CounterSnapshot, TellsWhatBothEndsOfAQueueHaveDone) {
    const TestQueue queue(64);
    const auto writer = queue.open<Writer>(true, true);
    const auto reader = queue.open<Reader>(false, true);
    const std::string message(16, 'm');
    for (int i = 0; i < 5; ++i)
        writer->Write(message.data(), int(message.size()));
    writer->Write(message.data(), -1);
    int status = 0;
    char bytes[16];
    reader->Read(bytes, sizeof bytes, &status);
    EXPECT_EQ(textOf(DtCounterSnapshot(*writer), true),
              "writtenCount=5 droppedCount=4 failedCount=1");
    EXPECT_EQ(textOf(DtCounterSnapshot(*reader), true), "readCount=1");
    EXPECT_EQ(textOf(DtCounterSnapshot(DtPacketServerClient()), true),
              "read=0 missed=0 unreadable=0 warnings=0 stateAnswers=0 requestsFailed=0");
}

TEST(CounterSnapshot, TakesCountersOfTheProgramAsFarAsThereIsRoom) {
    DtCounterSnapshot snapshot;
    for (std::size_t i = 0; i < DtCounterSnapshot::theCapacity; ++i)
        EXPECT_TRUE(snapshot.add("mine", i));
    EXPECT_FALSE(snapshot.add("one too many", 0));
    EXPECT_EQ(snapshot.size(), DtCounterSnapshot::theCapacity);
    EXPECT_EQ(snapshot.end()[-1].value, DtCounterSnapshot::theCapacity - 1);
}

}  // namespace
}  // namespace OrynRti::Tests
