// Arbitrary datagrams through the whole receiving path of a DIS socket, in buffers of several
// shapes. The first byte chooses shape and settings, the second and third the size of the
// datagram in front, so that two of them come one after the other.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <vector>

#include "DisSocket.h"
#include "Print.h"

using namespace OrynRti;

namespace {

void require(bool holds) {
    if (!holds)
        std::abort();
}

const std::vector<std::vector<int>>& shapes() {
    static const std::vector<std::vector<int>> shapes = {
        {5000}, std::vector<int>(500, 1), {13, 0, 1, 12, 5000}, {11, 31, 5, 64}};
    return shapes;
}

/// Runs the chains of a receiving call on given datagrams.
class Receiver : public DtDisSocket {
public:
    explicit Receiver(unsigned char settings)
        : DtDisSocket(DtInetEndpoint(DtInetAddr("127.0.0.1"), 3000, DtInetUdp), 0, nullptr,
                      theDtInetSockDefaultOptions, false, false) {
        for (const int size : shapes()[settings & 3])
            buffers_.emplace_back(static_cast<std::size_t>(size));
        for (std::vector<char>& buffer : buffers_) {
            chain_.push_back(&buffer);
            room_ += static_cast<int>(buffer.size());
        }
        if ((settings & 4) != 0)
            setAttributePduStrategy(DtAttributePduSince7);
        unsigned int kind = 72;
        if ((settings & 8) != 0)
            pduKind().setTest(DtPduRejectListed, 1, &kind);
        setMinPacketSize((settings & 16) != 0 ? -5 : (settings & 32) != 0 ? 40 : 12);
    }

    /// A datagram larger than the buffers never gets to the chains.
    void receive(const std::uint8_t* data, std::size_t size) {
        const int received = std::min(static_cast<int>(size), room_);
        fill(data, received);
        int status = 0;
        check(runReceive(received, chain_, sender_, status), status, received);
    }

    /// Empties the queue, which may hold no more than `most` bytes could.
    void receiveQueued(int most) {
        for (int count = 0;; ++count) {
            int status = 0;
            const int size = runBeforeRead(chain_, sender_, status);
            if (status == 0)
                return;
            require(count * 12 < most);
            if (status == DtInetSockFromQueue)
                check(runReceive(size, chain_, sender_, status), status, size);
            else
                require(status == DtInetSockIncomplete && size == 0);
        }
    }

private:
    void fill(const std::uint8_t* data, int size) {
        for (std::vector<char>& buffer : buffers_) {
            const int count = std::min(size, static_cast<int>(buffer.size()));
            std::copy_n(data, count, buffer.begin());
            data += count;
            size -= count;
        }
    }

    char byteAt(std::size_t index) const {
        for (const std::vector<char>& buffer : buffers_) {
            if (index < buffer.size())
                return buffer[index];
            index -= buffer.size();
        }
        std::abort();
    }

    /// What is delivered is within what was received and as long as it says of itself, or longer
    /// by an Attribute PDU.
    void check(int size, int status, int received) {
        if (size <= 0) {
            require(size == 0 && (received == 0 || (status <= -1 && status >= -4)));
            return;
        }
        require(status == 0 || status == DtInetSockFromQueue);
        require(size >= 12 && size <= received);
        const int length =
            static_cast<unsigned char>(byteAt(8)) << 8 | static_cast<unsigned char>(byteAt(9));
        require(length >= 12 && (size == length || (size >= length + 12 && (byteAt(10) & 8))));
    }

    std::vector<std::vector<char>> buffers_;
    DtInetSocketBufferChain chain_;
    int room_ = 0;
    DtInetEndpoint sender_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool quiet = [] {
        DtNotifyLevel = -1;
        return true;
    }();
    if (!quiet || size < 3)
        return 0;
    Receiver receiver(data[0]);
    const std::size_t split = std::min<std::size_t>(size - 3, data[1] << 8 | data[2]);
    receiver.receive(data + 3, split);
    receiver.receive(data + 3 + split, size - 3 - split);
    receiver.receiveQueued(static_cast<int>(size));
    return 0;
}
