#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "CaptureDatagrams.h"
#include "CaptureWriter.h"
#include "Errors.h"
#include "support/Files.h"
#include "tools-dis/Packets.h"

namespace RtiqnDis {
namespace {

using namespace OrynRti;
using namespace Tests;
using namespace OrynRti::Tests;

/// The sum of 16-bit words that a right checksum brings to 0xFFFF.
std::uint32_t wordSum(const std::string& bytes) {
    std::uint32_t sum = 0;
    const std::string even = bytes + zeros(bytes.size() % 2);
    for (std::size_t i = 0; i < even.size(); i += 2)
        sum += view(even).u16(i);
    while (sum > 0xFFFF)
        sum = (sum & 0xFFFF) + (sum >> 16);
    return sum;
}

TEST(CaptureWriter, WritesWhatCanBeReadAgain) {
    const TemporaryFolder folder;
    const std::string path = folder.path("rec.pcap");
    const DtInetEndpoint here(DtInetAddr("::1"), 3000, DtInetUdp);
    const DtInetEndpoint there(DtInetAddr("2001:db8::77"), 4000, DtInetUdp);
    const std::string data = "An odd number of bytes.";
    CaptureWriter writer(path);
    writer.add(there, here, view(data), 1700000000.9999999);
    writer.add(DtInetEndpoint(DtInetAddr("192.0.2.7"), 4001, DtInetUdp),
               DtInetEndpoint(DtInetAddr("0.0.0.0"), 3000, DtInetUdp), view(zeros(65507)), 5.25);
    writer.flush();

    TrafficStatistics statistics;
    CaptureDatagrams source(path, 3000, statistics);
    CapturedDatagram datagram;
    ASSERT_TRUE(source.next(datagram));
    EXPECT_EQ(endpointText(datagram.source, datagram.sourcePort), "[2001:db8::77]:4000");
    EXPECT_EQ(endpointText(datagram.destination, datagram.destinationPort), "[::1]:3000");
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(datagram.payload.data()),
                          datagram.payload.size()),
              data);
    EXPECT_NEAR(datagram.time_s, 1700000001, 1e-6);
    ASSERT_TRUE(source.next(datagram));
    EXPECT_EQ(endpointText(datagram.source, datagram.sourcePort), "192.0.2.7:4001");
    EXPECT_EQ(datagram.payload.size(), 65507U);
    EXPECT_EQ(datagram.time_s, 5.25);
    EXPECT_FALSE(source.next(datagram));
    EXPECT_TRUE(statistics.losses().empty());

    // Behind the file's header of 24 and the packet's of 16 bytes: IPv6 (40), UDP.
    const std::string file = readFile(path);
    const std::string addresses = file.substr(40 + 8, 32), udp = file.substr(80, 8 + data.size());
    EXPECT_EQ(wordSum(addresses + u32(udp.size()) + u32(17) + udp), 0xFFFFU);
    const std::size_t second = 80 + udp.size() + 16;
    EXPECT_EQ(wordSum(file.substr(second, 20)), 0xFFFFU);
}

TEST(CaptureWriter, SaysWhyItCannotWrite) {
    EXPECT_THROW(CaptureWriter("/nonexistent/rec.pcap"), FileError);
    EXPECT_THROW(CaptureWriter("/dev/full"), FileError);
}

}  // namespace
}  // namespace RtiqnDis
