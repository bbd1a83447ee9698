// Splitting, filtering and queueing, without a network.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/Notifications.h"
#include "transport/DisPdus.h"

namespace OrynRti::Tests {
namespace {

using testing::ElementsAre;
using Results = std::vector<std::string>;

// -------------------------------------------------------------------------------------------
// Splitting

struct Split {
    const char* name;
    std::string datagram;
    Results results;
    std::string counted;  ///< See countedBy().
    DtAttributePduStrategy strategy;

    Split(const char* given, const std::string& bytes, const Results& pdus, const char* words = "",
          DtAttributePduStrategy how = DtAttributePduAnyVersion)
        : name(given), datagram(bytes), results(pdus), counted(words), strategy(how) {}
};

/// A word for each time that something was wrong.
std::string countedBy(const DtDisSocket& socket) {
    const DtDisSocket::DisCounters counters = socket.disCounters();
    std::string words;
    for (auto [count, word] :
         {std::pair(counters.restsDropped, "rest "), std::pair(counters.invalidLengths, "invalid "),
          std::pair(counters.incomplete, "incomplete "),
          std::pair(counters.attributePdusMissing, "missing ")})
        for (; count > 0; --count)
            words += word;
    return words;
}

void PrintTo(const Split& split, std::ostream* out) {
    *out << split.name;
}

/// What becomes of a datagram, in whichever buffers it stands.
class SplitTest : public testing::TestWithParam<Split> {};

std::vector<std::vector<int>> bufferShapes() {
    return {{2000}, std::vector<int>(300, 1), {7, 0, -1, 13, 5, 3, 2000}, {28, 1, 11, 4, 9, 500}};
}

std::string nameOf(const testing::TestParamInfo<Split>& split) {
    return split.param.name;
}

template <typename Receive>
void expectSplit(const Split& split, DtDisSocket& socket, Receive receiveAll) {
    CapturedNotifications said(1);
    socket.setAttributePduStrategy(split.strategy);
    EXPECT_EQ(receiveAll(split.datagram), split.results);
    EXPECT_EQ(countedBy(socket), split.counted);
    const bool missing = split.counted.find("missing") != std::string::npos;
    EXPECT_EQ(said.text(), missing ? "Failed to read expected Coupled Attribute PDU\n" : "");
}

TEST_P(SplitTest, GivesThePdusAndCountsTheRest) {
    for (const std::vector<int>& shape : bufferShapes()) {
        Receiver socket;
        socket.buffers = Buffers(shape);
        expectSplit(GetParam(), socket,
                    [&](const std::string& datagram) { return socket.receiveAll(datagram); });
    }
    NetworkReceiver receiver;
    expectSplit(GetParam(), receiver.socket,
                [&](const std::string& datagram) { return receiver.receiveAll(datagram); });
}

std::string operator+(const std::string& bytes, const Pdu& pdu) {
    return bytes + std::string(pdu);
}

std::string joined(const Pdu& first, const std::string& between, const Pdu& second) {
    return std::string(first) + between + second;
}

const Pdu theAttributes = attributes();
const std::string theWithAttributes = joined(coupled(), padding(4), theAttributes);  // 52 bytes

INSTANTIATE_TEST_SUITE_P(
    Bundles, SplitTest,
    testing::Values(
        Split("One", ofSize(28), {ofSize(28)}), Split("OneOfTheSmallest", ofSize(12), {ofSize(12)}),
        Split("TwoPaddedTo8", joined(ofSize(28), padding(4), ofSize(28, 'y')),
              {ofSize(28), ofSize(28, 'y')}),
        Split("TwoOfVersion6", joined(ofVersion(6), "", ofVersion(6, 30)),
              {ofVersion(6), ofVersion(6, 30)}),
        Split("FourWithTrailingPadding",
              joined(ofSize(17, 'a'), padding(7), ofSize(24, 'b')) + ofSize(25, 'c') + padding(7) +
                  ofSize(31, 'd') + padding(1),
              {ofSize(17, 'a'), ofSize(24, 'b'), ofSize(25, 'c'), ofSize(31, 'd')}),
        Split("PaddingCutOff", std::string(ofSize(28)) + padding(2), {ofSize(28)}),
        Split("RestShorterThanAHeader", joined(ofSize(32), "", ofSize(11)), {ofSize(32)}, "rest "),
        Split("PaddedVersion6", joined(ofVersion(6), padding(4), ofVersion(6)), {ofVersion(6)},
              "rest invalid "),
        Split("SecondTooLong", joined(ofSize(32), "", claiming(29)), {ofSize(32)}, "rest "),
        Split("SecondOfLength0", joined(ofSize(32), "", claiming(0)) + ofSize(32), {ofSize(32)},
              "rest invalid "),
        Split("SecondShorterThanItsHeader", joined(ofSize(32), "", claiming(11)) + ofSize(32),
              {ofSize(32)}, "rest invalid "),
        Split("FirstTooLong", claiming(29), {"(-4)"}, "incomplete "),
        Split("FirstOfLength0", claiming(0), {"(-4)"}, "invalid "),
        Split("FirstShorterThanItsHeader", joined(claiming(11), "", ofSize(28)), {"(-4)"},
              "invalid "),
        Split("FarTooLong", claiming(65535), {"(-4)"}, "incomplete ")),
    nameOf);

INSTANTIATE_TEST_SUITE_P(
    AttributePdus, SplitTest,
    testing::Values(
        Split("First", theWithAttributes, {theWithAttributes}),
        Split("EachWithItsOwn",
              theWithAttributes + padding(4) + theWithAttributes + padding(4) + ofSize(28),
              {theWithAttributes, theWithAttributes, ofSize(28)}),
        Split("Version6", joined(coupled(30, 6), "", attributes(22, 6)) + ofVersion(6),
              {joined(coupled(30, 6), "", attributes(22, 6)), ofVersion(6)}),
        Split("Version6WithoutThem", joined(coupled(30, 6), "", attributes(22, 6)),
              {coupled(30, 6), attributes(22, 6)}, "", DtAttributePduSince7),
        Split("Version7Still", theWithAttributes, {theWithAttributes}, "", DtAttributePduSince7),
        Split("NoneOfTheirOwn", joined(attributes(24), "", ofSize(24)),
              {attributes(24), ofSize(24)}),
        Split("AnnouncedByOneAlone", coupled(), {coupled()}),
        Split("AnotherKindInstead", joined(coupled(), padding(4), ofSize(28)),
              {coupled(), ofSize(28)}, "missing "),
        Split("NoneBehindTheLast", joined(ofSize(32), "", coupled()), {ofSize(32), coupled()},
              "missing "),
        Split("TooLong", joined(coupled(32), "", attributes(24)).replace(40, 2, "\1\0", 2),
              {coupled(32)}, "rest missing "),
        Split("HeaderCutOff", joined(coupled(32), "", attributes(11)), {coupled(32)},
              "rest missing ")),
    nameOf);

TEST(DisSocketReceiving, ReadsNothingBeyondWhatWasReceived) {
    Receiver socket;
    socket.setMinPacketSize(1);
    // The buffers still hold an earlier datagram that would complete this one.
    socket.buffers.fill(std::string(ofSize(28)));
    int status = 0;
    EXPECT_EQ(socket.unbundle(11, socket.buffers.chain, socket.sender, &status), 0);
    EXPECT_EQ(status, DtInetSockIncomplete);
    status = 0;
    EXPECT_EQ(socket.filterExercisePdus(27, socket.buffers.chain, socket.sender, &status), 0);
    EXPECT_EQ(status, DtInetSockIncomplete);
    EXPECT_EQ(socket.disCounters().incomplete, 2u);
}

TEST(DisSocketReceiving, MinimumSizeHoldsForDatagramsAndRests) {
    Receiver socket;
    EXPECT_EQ(socket.receive(std::string(11, 'x')), "(-2)");
    EXPECT_EQ(socket.disCounters().belowMinSize, 1u);
    socket.setMinPacketSize(30);
    EXPECT_THAT(socket.receiveAll(joined(ofSize(32), "", ofSize(29))),
                ElementsAre(std::string(ofSize(32))));
    EXPECT_EQ(socket.disCounters().restsDropped, 1u);
    socket.clearStats();
    EXPECT_EQ(socket.disCounters().restsDropped, 0u);
}

// -------------------------------------------------------------------------------------------
// The queue

TEST(DisSocketReceiving, QueuedPdusComeInOrderAndFromTheirSender) {
    Receiver socket;
    EXPECT_EQ(socket.receive(joined(ofSize(32, 'a'), "", ofSize(24, 'b'))),
              std::string(ofSize(32, 'a')));
    socket.from = udpEndpoint("10.0.0.2", 4000);
    // Somebody else reads on before the queue is empty.
    EXPECT_EQ(socket.receive(joined(ofSize(32, 'c'), "", ofSize(24, 'd'))),
              std::string(ofSize(32, 'c')));
    EXPECT_EQ(socket.receiveQueued(), std::string(ofSize(24, 'b')));
    EXPECT_EQ(socket.sender.toDtString(), "10.0.0.1:3000");
    EXPECT_EQ(socket.receiveQueued(), std::string(ofSize(24, 'd')));
    EXPECT_EQ(socket.sender.toDtString(), "10.0.0.2:4000");
    EXPECT_EQ(socket.receiveQueued(), "");
}

/// Both ways of receiving take turns on one queue.
TEST(DisSocketReceiving, CallbacksMayComeAndGoWhilePdusAreQueued) {
    NetworkReceiver receiver;
    const auto keep = [](DtInetSocket*, int size, DtInetSocketBufferChain&, DtInetEndpoint&,
                         void*) { return size; };
    sendText(*receiver.network, joined(ofSize(32, 'a'), "", ofSize(24, 'b')) + ofSize(16, 'c'),
             receiver.socket.localEndpoint());
    EXPECT_EQ(receiver.receive(), std::string(ofSize(32, 'a')));
    receiver.socket.addProcessingCallback(DtInetSockAfterReceive, keep, nullptr, 0);
    receiver.sender = DtInetEndpoint();
    EXPECT_EQ(receiver.receive(), std::string(ofSize(24, 'b')));
    EXPECT_TRUE(receiver.sender == receiver.network->localEndpoint());
    receiver.socket.removeProcessingCallback(DtInetSockAfterReceive, keep);
    EXPECT_EQ(receiver.receive(15), "(-4)");
    EXPECT_EQ(receiver.socket.disCounters().queuedPdusLost, 1u);
    EXPECT_THAT(receiver.receiveAll(std::string(11, 'x')), ElementsAre("(-2)"));
    EXPECT_EQ(receiver.receive(0), "(-4)");
    receiver.socket.removeProcessingCallback(DtInetSockAfterReceive, &DtDisSocket::unbundle);
    EXPECT_THAT(receiver.receiveAll(joined(ofSize(32), "", ofSize(32))),
                ElementsAre(std::string(ofSize(32))))
        << "nobody queues the second";
}

TEST(DisSocketReceiving, AQueuedPduTooLargeForTheBuffersIsLostAndTold) {
    Receiver socket;
    socket.receive(joined(ofSize(32), "", ofSize(40)) + ofSize(24));
    socket.buffers = Buffers({10, 29});
    EXPECT_EQ(socket.receiveQueued(), "(-4)");
    EXPECT_EQ(socket.buffers.front(39), std::string(39, '#'));
    EXPECT_EQ(socket.receiveQueued(), std::string(ofSize(24)));
    EXPECT_EQ(socket.disCounters().queuedPdusLost, 1u);
}

TEST(DisSocketReceiving, AStatusOfAnEarlierStepIsLeftAlone) {
    Receiver socket;
    socket.receive(joined(ofSize(32), "", ofSize(32)));
    int status = DtInetSockFiltered;
    EXPECT_EQ(socket.getNextBundle(5, socket.buffers.chain, socket.sender, &status), 5);
    EXPECT_EQ(status, DtInetSockFiltered);
    status = DtInetSockFromQueue;
    EXPECT_EQ(socket.unbundle(64, socket.buffers.chain, socket.sender, &status), 64);
}

// -------------------------------------------------------------------------------------------
// Filters

TEST(DisSocketReceiving, FiltersSeeEveryPduOfABundle) {
    Receiver onChains;
    NetworkReceiver direct;
    unsigned int kinds[] = {2, 4};
    onChains.pduKind().setTest(DtPduRejectListed, 2, kinds);
    direct.socket.pduKind() = onChains.pduKind();
    const std::string bundle =
        joined(ofKind(2), padding(4), ofKind(3)) + padding(4) + ofKind(4) + padding(4) + ofKind(5);
    const Results expected{"(-2)", ofKind(3), "(-2)", ofKind(5)};
    EXPECT_EQ(onChains.receiveAll(bundle), expected);
    EXPECT_EQ(onChains.disCounters().filteredByKind, 2u);
    EXPECT_EQ(direct.receiveAll(bundle), expected);
    EXPECT_EQ(direct.socket.disCounters().filteredByKind, 2u);
}

TEST(DisSocketReceiving, TheFirstFilterThatFailsIsCounted) {
    Receiver socket;
    unsigned int one = 1;
    unsigned int seven = 7;
    socket.pduKind().setTest(DtPduAcceptListed, 0, nullptr);
    EXPECT_EQ(socket.receive(ofSize(28)), "(-2)");
    socket.exerciseId().setTest(DtPduRejectListed, 1, &one);
    EXPECT_EQ(socket.receive(ofSize(28)), "(-2)");
    socket.protocolVersion().setTest(DtPduRejectListed, 1, &seven);
    EXPECT_EQ(socket.receive(ofSize(28)), "(-2)");
    const DtDisSocket::DisCounters counters = socket.disCounters();
    EXPECT_EQ(counters.filteredByKind, 1u);
    EXPECT_EQ(counters.filteredByExercise, 1u);
    EXPECT_EQ(counters.filteredByVersion, 1u);
}

TEST(DisSocketReceiving, TheAddressFilterKnowsOnlyAllOrNothing) {
    Receiver socket;
    unsigned int sender = 0x0A000001;
    socket.ipAddr().setTest(DtPduRejectListed, 1, &sender);
    EXPECT_EQ(socket.receive(ofSize(28)), std::string(ofSize(28)));
    socket.ipAddr().setTest(DtPduAcceptListed, 1, &sender);
    EXPECT_EQ(socket.receive(ofSize(28)), "(-2)");
    EXPECT_EQ(socket.disCounters().filteredByAddress, 1u);
}

TEST(DisSocketReceiving, DropsWhatComesFromTheSendSocketBeforeSplittingIt) {
    Receiver socket(true);
    socket.localSenderEndpoint() = udpEndpoint("10.0.0.1", 5000);
    const std::string bundle = joined(ofSize(32), "", ofSize(32));
    EXPECT_EQ(socket.receiveAll(bundle).size(), 2u);
    socket.from.setPort(5000);
    EXPECT_THAT(socket.receiveAll(bundle), ElementsAre("(-3)"));
    EXPECT_EQ(socket.disCounters().ownDatagrams, 1u);
    socket.from = udpEndpoint("10.0.0.2", 5000);
    EXPECT_EQ(socket.receiveAll(bundle).size(), 2u);
}

// -------------------------------------------------------------------------------------------
// Sizes, asked for directly

TEST(DisSocketReceiving, TellsSizesAndStatusOfPdus) {
    Receiver socket;
    socket.buffers = Buffers({30, 6, 24});
    socket.buffers.fill(joined(coupled(), padding(4), attributes(28)));
    DtDisSocket::DtDisSocketPduHeader header;
    bool isCoupled = false;
    int status = 0;
    const auto begin = socket.buffers.chain.cbegin();
    const auto end = socket.buffers.chain.cend();
    EXPECT_EQ(socket.getPduSize(header, 0, begin, end, &status, isCoupled, false), 28);
    EXPECT_TRUE(isCoupled);
    EXPECT_EQ(header.protocolVersion, 7);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(socket.getPduSize(header, 0, begin, end, &status, isCoupled, true), 28);
    EXPECT_EQ(status, DtInetSockStatusError);

    status = 0;
    EXPECT_EQ(socket.getCoupledAttributePduSize(header, 0, begin, end, &status, 32, 60), 28);
    EXPECT_EQ(header.pduType, theAttributeKind);
    EXPECT_EQ(socket.getCoupledAttributePduSize(header, 0, begin, end, &status, 32, 43), 0);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(socket.getCoupledAttributePduSize(header, 0, begin, end, &status, 32, 59), 0);
    EXPECT_EQ(status, DtInetSockIncomplete);
    EXPECT_EQ(socket.getCoupledAttributePduSize(header, 0, begin, end, &status, 0, 60), 0);
    EXPECT_EQ(status, DtInetSockStatusError);
    EXPECT_EQ(socket.getCoupledAttributePduSize(header, 0, begin, end, &status, 60, 99), 0);
    EXPECT_EQ(status, DtInetSockIncomplete);

    auto buffer = begin;
    int offset = 36;
    socket.advanceToOffset(buffer, end, offset);
    EXPECT_EQ(buffer - begin, 2);
    EXPECT_EQ(offset, 0);
    offset = 24;
    socket.advanceToOffset(buffer, end, offset);
    EXPECT_TRUE(buffer == end);
}

}  // namespace
}  // namespace OrynRti::Tests
