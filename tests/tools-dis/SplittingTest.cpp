#include <gtest/gtest.h>
#include <random>

#include "DisSocket.h"
#include "Unbundler.h"
#include "support/Notifications.h"
#include "tools-dis/Packets.h"

namespace RtiqnDis {
namespace {

using namespace OrynRti;
using namespace Tests;

/// PDUs as the library splits them off, as the bytes delivered.
class SplittingSocket : public DtDisSocket {
public:
    SplittingSocket()
        : DtDisSocket(DtInetEndpoint(), 0, nullptr, theDtInetSockDefaultOptions, false, false) {}

    std::vector<std::string> split(const std::string& datagram) {
        std::vector<char> buffer(datagram.begin(), datagram.end());
        buffer.resize(65536);
        DtInetSocketBufferChain chain{&buffer};
        std::vector<std::string> pdus;
        int status = 0;
        int size =
            DtDisSocket::minSizeFilter(static_cast<int>(datagram.size()), chain, sender_, &status);
        if (size > 0)
            size = DtDisSocket::unbundle(size, chain, sender_, &status);
        while (size > 0) {
            pdus.emplace_back(buffer.data(), static_cast<std::size_t>(size));
            status = 0;
            size = DtDisSocket::getNextBundle(0, chain, sender_, &status);
        }
        return pdus;
    }

private:
    DtInetEndpoint sender_;
};

std::string randomDatagram(std::mt19937& random) {
    static const unsigned int statuses[] = {0, 0, 8};
    std::string datagram;
    for (unsigned int i = 0, count = 1 + random() % 5; i < count; ++i) {
        const std::size_t size = 12 + random() % 20;
        const unsigned int saying = random() % 8 == 0 ? static_cast<unsigned int>(random() % 60)
                                                      : static_cast<unsigned int>(size);
        const unsigned int version = random() % 2 ? 7 : 6;
        datagram += pduSaying(saying, size, version, random() % 3 ? 1 : theAttributeKind,
                              statuses[random() % 3]);
        if (random() % 4)
            datagram += zeros(paddingAfter(size, static_cast<std::uint8_t>(version)));
    }
    return datagram.substr(0, datagram.size() - random() % 3);
}

/// What `read` shows is what a socket delivers, however odd the datagram.
TEST(Splitting, IsTheSameInTheProgramAndInTheLibrary) {
    const OrynRti::Tests::CapturedNotifications ignored;
    SplittingSocket socket;
    std::mt19937 random(7);
    std::size_t coupled = 0;
    for (int round = 0; round < 20000; ++round) {
        const std::string datagram = randomDatagram(random);
        Bundle bundle;
        unbundle(view(datagram), bundle);
        std::vector<std::string> expected;
        for (const BundledPdu& pdu : bundle.pdus) {
            expected.push_back(datagram.substr(pdu.offset, pdu.size_bytes));
            coupled += pdu.coupled ? 1 : 0;
        }
        ASSERT_EQ(socket.split(datagram), expected) << testing::PrintToString(datagram);
    }
    EXPECT_GT(coupled, 500U);
}

}  // namespace
}  // namespace RtiqnDis
