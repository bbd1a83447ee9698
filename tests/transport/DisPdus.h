#ifndef TESTS_TRANSPORT_DISPDUS_H
#define TESTS_TRANSPORT_DISPDUS_H

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "DisSocket.h"
#include "net/UdpSockets.h"

namespace OrynRti::Tests {

constexpr int theAttributeKind = 72;
constexpr int theCoupledStatus = 0x08;

/// A PDU whose bytes behind the header all are `fill`, and which may lie about its length.
struct Pdu {
    int size = 28;
    int version = 7;
    int kind = 1;
    int exercise = 1;
    int status = 0;
    char fill = 'x';
    int length = -1;  ///< As given in the header; -1 for the true one.

    operator std::string() const {
        const int given = length < 0 ? size : length;
        std::string bytes(static_cast<std::size_t>(size), fill);
        const std::string header{char(version),    char(exercise), char(kind),   1, 0, 0, 0, 0,
                                 char(given >> 8), char(given),    char(status), 0};
        return bytes.replace(0, std::min(bytes.size(), header.size()), header, 0,
                             std::min(bytes.size(), header.size()));
    }
};

inline Pdu ofVersion(int version, int size = 28) {
    return {size, version};
}

inline Pdu ofKind(int kind) {
    return {28, 7, kind};
}

inline Pdu ofSize(int size, char fill = 'x') {
    return {size, 7, 1, 1, 0, fill};
}

inline Pdu claiming(int length, int size = 28) {
    return {size, 7, 1, 1, 0, 'x', length};
}

/// One that says that an Attribute PDU follows.
inline Pdu coupled(int size = 28, int version = 7) {
    return {size, version, 1, 1, theCoupledStatus};
}

inline Pdu attributes(int size = 20, int version = 7) {
    return {size, version, theAttributeKind, 1, 0, 'a'};
}

inline std::string padding(int size) {
    return std::string(static_cast<std::size_t>(size), '\0');
}

/// Buffers of given sizes, as received into; a size of -1 stands for a null buffer.
class Buffers {
public:
    explicit Buffers(const std::vector<int>& sizes) {
        for (const int size : sizes) {
            if (size >= 0)
                owned_.push_back(
                    std::make_unique<std::vector<char>>(static_cast<std::size_t>(size), '#'));
            chain.push_back(size >= 0 ? owned_.back().get() : nullptr);
        }
    }

    void fill(const std::string& bytes) {
        std::size_t done = 0;
        for (std::vector<char>* buffer : chain)
            for (std::size_t i = 0; buffer != nullptr && i < buffer->size(); ++i)
                (*buffer)[i] = done < bytes.size() ? bytes[done++] : '#';
    }

    std::string front(int size) const {
        std::string bytes;
        for (const std::vector<char>* buffer : chain)
            if (buffer != nullptr)
                bytes.append(buffer->data(), buffer->size());
        return bytes.substr(0, static_cast<std::size_t>(size));
    }

    DtInetSocketBufferChain chain;

private:
    std::vector<std::unique_ptr<std::vector<char>>> owned_;
};

/// The receiving side of a DIS socket without a network: its chains run on given datagrams.
class Receiver : public DtDisSocket {
public:
    explicit Receiver(bool suppressSelfReflect = false)
        : DtDisSocket(udpEndpoint("127.0.0.1", 3000), 0, nullptr, theDtInetSockDefaultOptions,
                      false, suppressSelfReflect) {}

    /// What a receiving call answers that reads this datagram: the PDU, or "(-2)" and the like.
    std::string receive(const std::string& datagram) {
        int status = 0;
        buffers.fill(datagram);
        sender = from;
        const int size = runReceive(int(datagram.size()), buffers.chain, sender, status);
        return result(size, status);
    }

    /// What a receiving call answers that reads no datagram; "" when the queue is empty.
    std::string receiveQueued() {
        int status = 0;
        int size = runBeforeRead(buffers.chain, sender, status);
        if (status == 0)
            return "";
        size = runReceive(size, buffers.chain, sender, status);
        return result(size, status);
    }

    /// All that one datagram brings.
    std::vector<std::string> receiveAll(const std::string& datagram) {
        std::vector<std::string> results{receive(datagram)};
        for (std::string next = receiveQueued(); !next.empty(); next = receiveQueued())
            results.push_back(next);
        return results;
    }

    Buffers buffers{{2000}};
    DtInetEndpoint from = udpEndpoint("10.0.0.1", 3000);  ///< Where the datagrams come from.
    DtInetEndpoint sender;                                ///< As the last call told.

private:
    std::string result(int size, int status) {
        const int answer = receiveResult(size, status);
        return textOrResult(buffers.front(std::max(answer, 0)), answer);
    }
};

/// A DIS socket on the network, which receives into one buffer: without walking over its chains.
struct NetworkReceiver {
    std::string receive(std::size_t room = 2000) {
        std::string text(room, '#');
        return textOrResult(text, socket.recvFrom(text.data(), int(room), sender, 0));
    }

    std::vector<std::string> receiveAll(const std::string& datagram) {
        sendText(*network, datagram, socket.localEndpoint());
        std::vector<std::string> results;
        for (std::string next; (next = receive()) != "(0)";)
            results.push_back(next);
        return results;
    }

    std::unique_ptr<DtInetUdpSocket> network = loopbackSocket();
    DtDisSocket socket{udpEndpoint("127.0.0.1"), 0, nullptr, theNonBlocking, true, false};
    DtInetEndpoint sender;
};

}  // namespace OrynRti::Tests

#endif
