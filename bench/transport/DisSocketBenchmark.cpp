// The DIS socket beside the UDP socket and beside the bare system calls, over loopback with PDUs
// the size of an Entity State PDU. The items of every benchmark are PDUs, so that the bundled
// ones show what bundling gains.
#include <array>
#include <benchmark/benchmark.h>
#include <cstdlib>
#include <ctime>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

#include "DisSocket.h"

using namespace OrynRti;

namespace {

constexpr int thePdu_bytes = 144;
constexpr int theBundle_pdus = 9;
constexpr int theBundle_bytes = thePdu_bytes * theBundle_pdus;
constexpr int theBurst_pdus = 90;

DtInetEndpoint loopback() {
    return DtInetEndpoint(DtInetAddr("127.0.0.1"), 0, DtInetUdp);
}

/// As many PDUs of version 7 as asked for, one behind the other.
std::vector<char> pdus(int count) {
    std::vector<char> bytes(static_cast<std::size_t>(count * thePdu_bytes));
    for (int i = 0; i < count; ++i) {
        char* pdu = bytes.data() + i * thePdu_bytes;
        pdu[0] = 7;
        pdu[1] = 1;
        pdu[2] = 1;
        pdu[9] = char(thePdu_bytes);
    }
    return bytes;
}

void require(bool holds) {
    if (!holds)
        std::abort();
}

/// A socket of the system's on loopback.
class BareSocket {
public:
    BareSocket() : number_(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
        address_.sin_family = AF_INET;
        address_.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address_;
        require(bind(number_, asSockaddr(), size) == 0);
        require(getsockname(number_, asSockaddr(), &size) == 0);
    }
    BareSocket(const BareSocket&) = delete;
    BareSocket& operator=(const BareSocket&) = delete;
    ~BareSocket() { close(number_); }

    void sendTo(const DtInetEndpoint& to, const std::vector<char>& bytes) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.sin_port = htons(to.port());
        const ssize_t sent = sendto(number_, bytes.data(), bytes.size(), 0,
                                    reinterpret_cast<sockaddr*>(&address), sizeof address);
        require(sent == static_cast<ssize_t>(bytes.size()));
    }

    int receive(char* buffer, std::size_t room) {
        return static_cast<int>(recv(number_, buffer, room, 0));
    }

    /// What is there is thrown away.
    void drain() {
        char byte;
        while (recv(number_, &byte, 1, MSG_DONTWAIT) >= 0) {
        }
    }

    DtInetEndpoint endpoint() const {
        return {DtInetAddr(address_), ntohs(address_.sin_port), DtInetUdp};
    }

private:
    sockaddr* asSockaddr() { return reinterpret_cast<sockaddr*>(&address_); }

    int number_;
    sockaddr_in address_{};
};

/// Of this thread, in which the loopback interface works as well: other load does not count.
double processorTime_s() {
    timespec time;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return double(time.tv_sec) + 1e-9 * double(time.tv_nsec);
}

/// Times `work` on the PDUs of one burst; `prepare` goes before each.
template <typename Prepare, typename Work>
void timeBursts(benchmark::State& state, Prepare prepare, Work work) {
    for (auto _ : state) {
        prepare();
        const double begin = processorTime_s();
        work();
        state.SetIterationTime(processorTime_s() - begin);
    }
    state.SetItemsProcessed(state.iterations() * theBurst_pdus);
}

/// Times `send`, called once per PDU, and `finish`.
template <typename Send, typename Finish>
void timeSending(benchmark::State& state, BareSocket& receiver, Send send, Finish finish) {
    timeBursts(
        state, [&] { receiver.drain(); },
        [&] {
            for (int i = 0; i < theBurst_pdus; ++i)
                send();
            finish();
        });
}

/// Times `receive`, called once per PDU, after datagrams of `perDatagram` each.
template <typename Receive>
void timeReceiving(benchmark::State& state, const DtInetEndpoint& to, int perDatagram,
                   Receive receive) {
    BareSocket sender;
    const std::vector<char> datagram = pdus(perDatagram);
    timeBursts(
        state,
        [&] {
            for (int i = 0; i < theBurst_pdus; i += perDatagram)
                sender.sendTo(to, datagram);
        },
        [&] {
            for (int i = 0; i < theBurst_pdus; ++i)
                receive();
        });
}

// -------------------------------------------------------------------------------------------
// Sending

void bareSend(benchmark::State& state) {
    BareSocket sender;
    BareSocket receiver;
    const DtInetEndpoint to = receiver.endpoint();
    const std::vector<char> pdu = pdus(1);
    timeSending(
        state, receiver, [&] { sender.sendTo(to, pdu); }, [] {});
}
BENCHMARK(bareSend)->UseManualTime();

void udpSocketSend(benchmark::State& state) {
    DtInetUdpSocket sender(loopback(), 0, nullptr, theDtInetSockDefaultOptions, true);
    BareSocket receiver;
    sender.setDestination(receiver.endpoint());
    std::vector<char> pdu = pdus(1);
    timeSending(
        state, receiver, [&] { require(sender.send(pdu.data(), thePdu_bytes, 0) == thePdu_bytes); },
        [] {});
}
BENCHMARK(udpSocketSend)->UseManualTime();

void disSocketSend(benchmark::State& state) {
    const int bundle_bytes = static_cast<int>(state.range(0));
    const bool suppressSelfReflect = state.range(1) != 0;
    DtDisSocket sender(loopback(), 0, nullptr, theDtInetSockDefaultOptions, true,
                       suppressSelfReflect);
    BareSocket receiver;
    sender.setDestination(receiver.endpoint());
    sender.setBundling(bundle_bytes, 0, 0, false);
    std::vector<char> pdu = pdus(1);
    timeSending(
        state, receiver, [&] { require(sender.send(pdu.data(), thePdu_bytes, 0) == thePdu_bytes); },
        [&] { require(sender.flush() == 1); });
}
BENCHMARK(disSocketSend)
    ->ArgNames({"bundle", "sendSocket"})
    ->Args({0, 0})
    ->Args({0, 1})
    ->Args({theBundle_bytes, 0})
    ->Args({theBundle_bytes, 1})
    ->UseManualTime();

// -------------------------------------------------------------------------------------------
// Receiving

void bareReceive(benchmark::State& state) {
    BareSocket receiver;
    std::array<char, 2048> buffer;
    timeReceiving(state, receiver.endpoint(), 1,
                  [&] { require(receiver.receive(buffer.data(), buffer.size()) == thePdu_bytes); });
}
BENCHMARK(bareReceive)->UseManualTime();

template <typename Socket>
void receivePdu(Socket& socket, std::array<char, 2048>& buffer, DtInetEndpoint& sender) {
    require(socket.recvFrom(buffer.data(), int(buffer.size()), sender, 0) == thePdu_bytes);
}

void udpSocketReceive(benchmark::State& state) {
    DtInetUdpSocket receiver(loopback(), 0, nullptr, theDtInetSockDefaultOptions, true);
    std::array<char, 2048> buffer;
    DtInetEndpoint sender;
    timeReceiving(state, receiver.localEndpoint(), 1,
                  [&] { receivePdu(receiver, buffer, sender); });
}
BENCHMARK(udpSocketReceive)->UseManualTime();

void disSocketReceive(benchmark::State& state) {
    DtDisSocket receiver(loopback(), 0, nullptr, theDtInetSockDefaultOptions, true, false);
    std::array<char, 2048> buffer;
    DtInetEndpoint sender;
    timeReceiving(state, receiver.localEndpoint(), static_cast<int>(state.range(0)),
                  [&] { receivePdu(receiver, buffer, sender); });
}
BENCHMARK(disSocketReceive)->ArgName("pdus")->Arg(1)->Arg(theBundle_pdus)->UseManualTime();

// -------------------------------------------------------------------------------------------
// From one end to the other

void disSocketRoundTrip(benchmark::State& state) {
    DtDisSocket sender(loopback(), 0, nullptr, theDtInetSockDefaultOptions, true, false);
    DtDisSocket receiver(loopback(), 0, nullptr, theDtInetSockDefaultOptions, true, false);
    sender.setDestination(receiver.localEndpoint());
    sender.setBundling(static_cast<int>(state.range(0)), 0, 0, false);
    std::vector<char> pdu = pdus(1);
    std::array<char, 2048> buffer;
    DtInetEndpoint from;
    timeBursts(
        state, [] {},
        [&] {
            for (int i = 0; i < theBurst_pdus; ++i)
                require(sender.send(pdu.data(), thePdu_bytes, 0) == thePdu_bytes);
            require(sender.flush() == 1);
            for (int i = 0; i < theBurst_pdus; ++i)
                receivePdu(receiver, buffer, from);
        });
}
BENCHMARK(disSocketRoundTrip)->ArgName("bundle")->Arg(0)->Arg(theBundle_bytes)->UseManualTime();

}  // namespace
