#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <random>

#include "CaptureDatagrams.h"
#include "Errors.h"
#include "support/Files.h"
#include "tools-dis/Packets.h"

namespace RtiqnDis {
namespace {

using namespace Tests;
using namespace OrynRti::Tests;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Pair;
using testing::SizeIs;

/// What came out of a capture: "sender size" of each datagram, and the losses.
struct Contents {
    std::vector<std::string> datagrams;
    std::vector<double> times;
    std::map<Loss, std::uint64_t> losses;
    std::uint64_t others = 0;
    std::string damage;
};

Contents readCapture(const std::string& file) {
    const TemporaryFolder folder;
    writeFile(folder.path("test.pcap"), file);
    TrafficStatistics statistics;
    CaptureDatagrams source(folder.path("test.pcap"), 3000, statistics);
    Contents contents;
    CapturedDatagram datagram;
    while (source.next(datagram)) {
        contents.datagrams.push_back(endpointText(datagram.source, datagram.sourcePort) + " " +
                                     std::to_string(datagram.payload.size()));
        contents.times.push_back(datagram.time_s);
    }
    for (const auto& [key, count] : statistics.losses())
        contents.losses[key.first] += count;
    contents.others = source.others();
    contents.damage = source.damage();
    return contents;
}

Contents readPackets(const std::vector<TestPacket>& packets) {
    return readCapture(capture(1, packets));
}

constexpr const char* theIpv4Sender = "192.0.2.10:3001";
constexpr const char* theIpv6Sender = "[2001:db8::1]:3001";

TEST(CaptureDatagrams, ReadsEveryLinkType) {
    const std::string four = ipv4(udp(pdu(44)));
    const std::string six = ipv6(udp(pdu(44)));
    const struct {
        unsigned int linkType;
        std::string frame;
        const char* sender;
    } cases[] = {
        {1, ethernet(four), theIpv4Sender},
        {1, ethernet(six, 0x86DD), theIpv6Sender},
        {1, ethernet(four + zeros(40)), theIpv4Sender},
        {1, ethernet(u16(7) + u16(0x0800) + four, 0x8100), theIpv4Sender},
        {1, ethernet(u16(7) + u16(0x8100) + u16(8) + u16(0x86DD) + six, 0x88A8), theIpv6Sender},
        {113, zeros(14) + u16(0x0800) + four, theIpv4Sender},
        {113, zeros(14) + u16(0x8100) + u16(7) + u16(0x86DD) + six, theIpv6Sender},
        {276, u16(0x0800) + zeros(18) + four, theIpv4Sender},
        {0, u32(2) + four, theIpv4Sender},
        {0, u32(0x02000000) + four, theIpv4Sender},
        {0, u32(0x1E000000) + six, theIpv6Sender},
        {108, u32(24) + six, theIpv6Sender},
        {101, four, theIpv4Sender},
        {101, six, theIpv6Sender},
    };
    for (const auto& test : cases) {
        const Contents contents = readCapture(capture(test.linkType, {{test.frame}}));
        EXPECT_THAT(contents.datagrams, ElementsAre(test.sender + std::string(" 44")))
            << test.linkType;
        EXPECT_THAT(contents.losses, IsEmpty()) << test.linkType;
    }
}

TEST(CaptureDatagrams, ReadsEveryFileForm) {
    const TestPacket packet{ethernet(ipv4(udp(pdu(44)))), 0, 1700000001, 250000};
    for (const CaptureForm form : {CaptureForm::Microseconds, CaptureForm::Pcapng}) {
        const Contents contents = readCapture(capture(1, {packet, packet}, form));
        EXPECT_THAT(contents.datagrams, SizeIs(2));
        EXPECT_THAT(contents.times, ElementsAre(1700000001.25, 1700000001.25));
    }
    const Contents contents = readCapture(capture(1, {packet}, CaptureForm::Nanoseconds));
    EXPECT_THAT(contents.times, ElementsAre(testing::DoubleNear(1700000001.00025, 1e-6)));
}

TEST(CaptureDatagrams, ReadsOverExtensionHeadersAndOptions) {
    const std::string options = u8(17) + u8(0) + zeros(6);
    EXPECT_THAT(readPackets({{ethernet(ipv6(options + udp(pdu(44)), 60), 0x86DD)}}).datagrams,
                SizeIs(1));
    const std::string atomicFragment = u8(17) + u8(0) + u16(0) + u32(1);
    EXPECT_THAT(
        readPackets({{ethernet(ipv6(atomicFragment + udp(pdu(44)), 44), 0x86DD)}}).datagrams,
        SizeIs(1));
    std::string packet = ipv4(zeros(4) + udp(pdu(44)));
    packet[0] = 0x46;
    EXPECT_THAT(readPackets({{ethernet(packet)}}).datagrams, SizeIs(1));
}

TEST(CaptureDatagrams, LeavesOtherTrafficAloneAndCountsOtherPorts) {
    std::string tcp = ipv4(udp(pdu(44)));
    tcp[9] = 6;
    const Contents contents = readPackets({{ethernet(tcp)},
                                           {ethernet(zeros(28), 0x0806)},
                                           {ethernet(ipv4(udp(pdu(44), 53)))},
                                           {ethernet(ipv4(udp(pdu(44), 53))).substr(0, 60), 86}});
    EXPECT_THAT(contents.datagrams, IsEmpty());
    EXPECT_THAT(contents.losses, IsEmpty());
    EXPECT_EQ(contents.others, 2U);
}

// -------------------------------------------------------------------------------------------------

/// A datagram of 152 bytes in fragments of 64, 64 and 24.
std::vector<std::string> ipv4Fragments() {
    const std::string whole = udp(pdu(144));
    return {ethernet(ipv4(whole.substr(0, 64), 0x2000)),
            ethernet(ipv4(whole.substr(64, 64), 0x2000 | 8)),
            ethernet(ipv4(whole.substr(128), 16))};
}

std::vector<std::string> ipv6Fragments() {
    const std::string whole = udp(pdu(144));
    const auto fragment = [](unsigned int field, const std::string& bytes) {
        return ethernet(ipv6(u8(17) + u8(0) + u16(field) + u32(9) + bytes, 44), 0x86DD);
    };
    return {fragment(1, whole.substr(0, 64)), fragment(64 | 1, whole.substr(64, 64)),
            fragment(128, whole.substr(128))};
}

TEST(CaptureDatagrams, PutsFragmentsTogetherInAnyOrder) {
    for (std::vector<std::string> parts : {ipv4Fragments(), ipv6Fragments()}) {
        std::sort(parts.begin(), parts.end());
        do {
            const Contents contents = readPackets(
                {{parts[0]}, {parts[1]}, {parts[1]}, {ethernet(ipv4(udp(pdu(20))))}, {parts[2]}});
            EXPECT_THAT(contents.datagrams,
                        ElementsAre(HasSubstr(":3001 20"), HasSubstr(":3001 144")));
            EXPECT_THAT(contents.losses, IsEmpty());
        } while (std::next_permutation(parts.begin(), parts.end()));
    }
}

TEST(CaptureDatagrams, ReportsDatagramsWithoutAllTheirFragments) {
    for (const std::vector<std::string>& parts : {ipv4Fragments(), ipv6Fragments()}) {
        for (std::size_t missing = 0; missing < parts.size(); ++missing) {
            std::vector<TestPacket> packets;
            for (std::size_t i = 0; i < parts.size(); ++i)
                if (i != missing)
                    packets.push_back({parts[i]});
            EXPECT_THAT(readPackets(packets).losses, ElementsAre(Pair(Loss::FragmentsMissing, 1U)));
        }
        const Contents late =
            readPackets({{parts[0]}, {parts[1], 0, 1700000061}, {parts[2], 0, 1700000061}});
        EXPECT_THAT(late.datagrams, IsEmpty());
        EXPECT_THAT(late.losses, ElementsAre(Pair(Loss::FragmentsMissing, 2U)));
    }
}

TEST(CaptureDatagrams, LeavesOutFragmentsThatContradictEachOther) {
    const std::vector<std::string> parts = ipv4Fragments();
    const std::string whole = udp(pdu(144));
    const std::string overlap = ethernet(ipv4(whole.substr(56, 64), 0x2000 | 7));
    const std::string tooFar = ethernet(ipv4(zeros(64), 0x1FFF));
    const std::string uneven = ethernet(ipv4(whole.substr(64, 63), 0x2000 | 8));
    const std::string endsBefore = ethernet(ipv4(whole.substr(0, 8), 4));
    for (const std::string& odd : {overlap, tooFar, uneven, endsBefore}) {
        const Contents contents = readPackets({{parts[0]}, {parts[1]}, {odd}, {parts[2]}});
        EXPECT_THAT(contents.datagrams, IsEmpty());
        EXPECT_THAT(contents.losses, ElementsAre(Pair(Loss::FragmentsOverlap, 1U)));
    }
}

TEST(CaptureDatagrams, WaitsForABoundedNumberOfFragmentedDatagrams) {
    const std::string part = udp(pdu(144)).substr(0, 64);
    std::vector<TestPacket> packets;
    for (unsigned int i = 0; i < 10000; ++i)
        packets.push_back({ethernet(ipv4(part, 0x2000, i))});
    EXPECT_THAT(readPackets(packets).losses, ElementsAre(Pair(Loss::FragmentsMissing, 10000U)));
}

// -------------------------------------------------------------------------------------------------

TEST(CaptureDatagrams, TellsCutOffFromBroken) {
    const std::string frame = ethernet(ipv4(udp(pdu(44))));
    for (std::size_t kept = 0; kept < frame.size(); ++kept) {
        EXPECT_THAT(readPackets({{frame.substr(0, kept), frame.size()}}).losses,
                    ElementsAre(Pair(Loss::CutOff, 1U)))
            << kept;
        EXPECT_THAT(readPackets({{frame.substr(0, kept)}}).losses,
                    ElementsAre(Pair(Loss::BrokenPacket, 1U)))
            << kept;
    }
    // Only padding behind the datagram was cut.
    EXPECT_THAT(readPackets({{frame, frame.size() + 4}}).datagrams, SizeIs(1));

    std::string lying = frame;
    lying[14 + 20 + 5] = 9;  // the length in the UDP header, too small now
    EXPECT_THAT(readPackets({{lying}}).datagrams, ElementsAre("192.0.2.10:3001 1"));
    lying[14 + 20 + 5] = 7;
    EXPECT_THAT(readPackets({{lying}}).losses, ElementsAre(Pair(Loss::BrokenPacket, 1U)));
    lying[14 + 20 + 4] = 1;  // too large
    EXPECT_THAT(readPackets({{lying}}).losses, ElementsAre(Pair(Loss::BrokenPacket, 1U)));
}

TEST(CaptureDatagrams, ReadsADamagedFileAsFarAsItGoes) {
    const std::string file =
        capture(1, {{ethernet(ipv4(udp(pdu(44))))}, {ethernet(ipv4(udp(pdu(44))))}});
    const Contents contents = readCapture(file.substr(0, file.size() - 1));
    EXPECT_THAT(contents.datagrams, SizeIs(1));
    EXPECT_THAT(contents.losses, ElementsAre(Pair(Loss::CaptureDamaged, 1U)));
    EXPECT_THAT(contents.damage, HasSubstr("truncated"));
}

TEST(CaptureDatagrams, RefusesWhatIsNoCaptureOfANetwork) {
    EXPECT_THROW(readCapture(""), FileError);
    EXPECT_THROW(readCapture("not a capture at all, but long enough to be one"), FileError);
    EXPECT_THROW(readCapture(capture(105, {})), FileError);  // wireless frames
}

/// Nothing but a FileError may come of it, whatever is in the file; the sanitizers watch.
TEST(CaptureDatagrams, StandsAnyBytes) {
    std::vector<TestPacket> packets;
    for (const auto& parts : {ipv4Fragments(), ipv6Fragments()})
        for (const std::string& part : parts)
            packets.push_back({part});
    packets.push_back({ethernet(u16(7) + u16(0x0800) + ipv4(udp(pdu(44))), 0x8100)});
    std::mt19937 random(1);
    for (int round = 0; round < 300; ++round) {
        for (const CaptureForm form : {CaptureForm::Microseconds, CaptureForm::Pcapng}) {
            std::string file = capture(1, packets, form);
            for (int i = 0; i < 5; ++i)
                file[24 + random() % (file.size() - 24)] = static_cast<char>(random());
            try {
                readCapture(file);
            } catch (const FileError&) {
            }
        }
    }
}

}  // namespace
}  // namespace RtiqnDis
