// The DIS socket beside the bare system calls, over loopback with PDUs the size of an Entity State
// PDU. The items of every benchmark are PDUs, so that the bundled ones show what bundling gains.
#include <array>
#include <benchmark/benchmark.h>
#include <vector>

#include "DisSocket.h"
#include "support/Bursts.h"

using namespace OrynRti;
using bench::require;

namespace {

constexpr int thePdu_bytes = 144;
constexpr int theHeader_bytes = 12;
constexpr int theBurst_pdus = 90;

/// PDUs of one size one behind the other, as they stand in a datagram.
std::vector<char> pdus(int count, int version, int size_bytes) {
    std::vector<char> bytes(static_cast<std::size_t>(count * size_bytes));
    for (int i = 0; i < count; ++i) {
        char* pdu = bytes.data() + i * size_bytes;
        pdu[0] = char(version);
        pdu[1] = 1;
        pdu[2] = 1;
        pdu[9] = char(size_bytes);
    }
    return bytes;
}

// -------------------------------------------------------------------------------------------
// Sending: as many PDUs per datagram as the argument says

void sendBare(benchmark::State& state) {
    bench::BareUdpSocket sender;
    bench::BareUdpSocket receiver;
    const auto perDatagram = static_cast<int>(state.range(0));
    const std::vector<char> datagram = pdus(perDatagram, 7, thePdu_bytes);
    bench::measureBursts(
        state, theBurst_pdus, [&] { receiver.drain(); },
        [&] {
            for (int i = 0; i < theBurst_pdus; i += perDatagram)
                sender.sendTo(receiver.port(), datagram.data(), datagram.size());
        });
}

void sendOurs(benchmark::State& state, bool suppressSelfReflect) {
    DtDisSocket sender(bench::anyLoopbackPort(), 0, nullptr, theDtInetSockDefaultOptions, true,
                       suppressSelfReflect);
    bench::BareUdpSocket receiver;
    const auto perDatagram = static_cast<int>(state.range(0));
    sender.setDestination(receiver.endpoint());
    sender.setBundling(perDatagram > 1 ? perDatagram * thePdu_bytes : 0, 0, 0, false);
    std::vector<char> pdu = pdus(1, 7, thePdu_bytes);
    bench::measureBursts(
        state, theBurst_pdus, [&] { receiver.drain(); },
        [&] {
            for (int i = 0; i < theBurst_pdus; ++i)
                require(sender.send(pdu.data(), thePdu_bytes, 0) == thePdu_bytes);
            require(sender.flush() == 1);
        });
}

#define BUNDLE_SIZES Arg(1)->Arg(2)->Arg(3)->Arg(5)->Arg(9)->UseManualTime()
BENCHMARK_CAPTURE(sendOurs, plain, false)->Name("DisSend/Ours")->BUNDLE_SIZES;
BENCHMARK(sendBare)->Name("DisSend/Limit")->BUNDLE_SIZES;
BENCHMARK_CAPTURE(sendOurs, own, true)->Name("DisSendThroughOwnSocket/Ours")->BUNDLE_SIZES;

// -------------------------------------------------------------------------------------------
// Sending one PDU to as many destinations as the argument says; the items are datagrams

void sendToManyBare(benchmark::State& state) {
    bench::BareUdpSocket sender;
    std::vector<bench::BareUdpSocket> receivers(static_cast<std::size_t>(state.range(0)));
    const std::vector<char> pdu = pdus(1, 7, thePdu_bytes);
    bench::timeBursts(
        state, static_cast<int>(receivers.size()),
        [&] {
            for (bench::BareUdpSocket& receiver : receivers)
                receiver.drain();
        },
        [&] {
            for (const bench::BareUdpSocket& receiver : receivers)
                sender.sendTo(receiver.port(), pdu.data(), pdu.size());
        });
}
BENCHMARK(sendToManyBare)
    ->Name("DisSendToMany/Limit")
    ->RangeMultiplier(4)
    ->Range(1, 64)
    ->UseManualTime();

void sendToManyOurs(benchmark::State& state) {
    DtDisSocket sender(bench::anyLoopbackPort(), 0, nullptr, theDtInetSockDefaultOptions, true,
                       false);
    std::vector<bench::BareUdpSocket> receivers(static_cast<std::size_t>(state.range(0)));
    sender.setDestination(receivers.front().endpoint());
    for (std::size_t i = 1; i < receivers.size(); ++i)
        require(sender.addDestination(receivers[i].endpoint()));
    std::vector<char> pdu = pdus(1, 7, thePdu_bytes);
    bench::timeBursts(
        state, static_cast<int>(receivers.size()),
        [&] {
            for (bench::BareUdpSocket& receiver : receivers)
                receiver.drain();
        },
        [&] { require(sender.send(pdu.data(), thePdu_bytes, 0) == thePdu_bytes); });
}
BENCHMARK(sendToManyOurs)
    ->Name("DisSendToMany/Ours")
    ->RangeMultiplier(4)
    ->Range(1, 64)
    ->UseManualTime();

// -------------------------------------------------------------------------------------------
// Receiving: as many PDUs per datagram as the argument says, one per call

template <typename Receive>
void receive(benchmark::State& state, unsigned short port, int perDatagram, Receive receiveOne) {
    bench::BareUdpSocket sender;
    const std::vector<char> datagram = pdus(perDatagram, 7, thePdu_bytes);
    bench::measureBursts(
        state, theBurst_pdus,
        [&] {
            for (int i = 0; i < theBurst_pdus; i += perDatagram)
                sender.sendTo(port, datagram.data(), datagram.size());
        },
        [&] {
            for (int i = 0; i < theBurst_pdus; ++i)
                require(receiveOne() == thePdu_bytes);
        });
}

/// Calls that receive one datagram of one PDU each.
void receiveBare(benchmark::State& state) {
    bench::BareUdpSocket receiver;
    std::array<char, 2048> buffer;
    receive(state, receiver.port(), 1,
            [&] { return receiver.receive(buffer.data(), buffer.size()); });
}

void receiveOurs(benchmark::State& state) {
    DtDisSocket receiver(bench::anyLoopbackPort(), 0, nullptr, theDtInetSockDefaultOptions, true,
                         false);
    std::array<char, 2048> buffer;
    DtInetEndpoint from;
    receive(state, receiver.localPort(), static_cast<int>(state.range(0)),
            [&] { return receiver.recvFrom(buffer.data(), int(buffer.size()), from, 0); });
}
BENCHMARK(receiveOurs)->Name("DisReceive/Ours")->BUNDLE_SIZES;
BENCHMARK(receiveBare)->Name("DisReceive/Limit")->Arg(1)->UseManualTime();

// -------------------------------------------------------------------------------------------
// The datagram that takes the most work for its bytes: PDUs of nothing but their headers

class HeadersOnly {
public:
    explicit HeadersOnly(int bytes)
        : count(bytes / theHeader_bytes), datagram_(pdus(count, 6, theHeader_bytes)) {}

    void send() { sender_.sendTo(receiver_.localPort(), datagram_.data(), datagram_.size()); }
    void receive(int pduCount) {
        for (int i = 0; i < pduCount; ++i)
            require(receiver_.recvFrom(buffer_.data(), int(buffer_.size()), from_, 0) ==
                    theHeader_bytes);
    }
    double bytes() const { return static_cast<double>(datagram_.size()); }

    const int count;

private:
    const std::vector<char> datagram_;
    bench::BareUdpSocket sender_;
    DtDisSocket receiver_{bench::anyLoopbackPort(),    0,    nullptr,
                          theDtInetSockDefaultOptions, true, false};
    std::vector<char> buffer_ = std::vector<char>(DtInetUtils::getMaxPacketBufferSize());
    DtInetEndpoint from_;
};

/// What the socket holds while all but the first PDU wait to be read.
double heldPerByte(int bytes) {
    HeadersOnly headers(bytes);
    headers.send();
    const bench::CountedAllocations counted;
    headers.receive(1);
    return static_cast<double>(counted.heldBytes()) / headers.bytes();
}

void receiveHeaders(benchmark::State& state) {
    HeadersOnly headers(static_cast<int>(state.range(0)));
    const double total_s = bench::timeBursts(
        state, headers.count, [&] { headers.send(); }, [&] { headers.receive(headers.count); });
    state.counters["ns_per_byte"] =
        1e9 * total_s / (headers.bytes() * static_cast<double>(state.iterations()));
    state.counters["held_per_byte"] = heldPerByte(static_cast<int>(state.range(0)));
}
BENCHMARK(receiveHeaders)
    ->Name("DisAllHeaders/Ours")
    ->Arg(1024)
    ->Arg(4096)
    ->Arg(16384)
    ->Arg(65507)
    ->UseManualTime();

}  // namespace
