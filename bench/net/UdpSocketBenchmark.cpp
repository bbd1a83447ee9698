// The UDP socket beside the bare system calls and beside plain Asio, with datagrams of the size
// of a small PDU over loopback.
#include <array>
#include <atomic>
#include <benchmark/benchmark.h>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/udp.hpp>
#include <functional>
#include <memory>
#include <thread>

#include "InetUdpSocket.h"
#include "support/Bursts.h"
#include "support/Percentiles.h"
#include "support/Pinning.h"

using namespace OrynRti;
using bench::require;

namespace {

constexpr int theSize_bytes = 144;
constexpr int theBurst = 100;

// -------------------------------------------------------------------------------------------
// One way each to send to a port of loopback and to receive with the sender's address.

class Limit {
public:
    unsigned short port() const { return socket_.port(); }
    void sendTo(unsigned short port, int size) {
        socket_.sendTo(port, bytes_.data(), static_cast<std::size_t>(size));
    }
    int receive() { return socket_.receive(bytes_.data(), bytes_.size()); }
    unsigned short senderPort() const { return socket_.senderPort(); }

private:
    bench::BareUdpSocket socket_;
    std::array<char, 2048> bytes_{};
};

/// The kernel tells with each datagram when it came.
class LimitWithTime {
public:
    LimitWithTime() { socket_.askForTime(); }
    unsigned short port() const { return socket_.port(); }
    int receiveWithTime() { return socket_.receiveWithTime(bytes_.data(), bytes_.size()); }

private:
    bench::BareUdpSocket socket_;
    std::array<char, 2048> bytes_{};
};

class Ours {
public:
    unsigned short port() const { return socket_.localPort(); }
    void sendTo(unsigned short port, int size) {
        if (destination_.port() != port)
            destination_.setEndpoint(DtInetUdp, DtInetAddr("127.0.0.1"), port);
        require(socket_.sendTo(bytes_.data(), size, destination_, 0) == size);
    }
    int receive() {
        return socket_.recvFrom(bytes_.data(), static_cast<int>(bytes_.size()), sender_, 0);
    }
    int receiveWithTime() {
        const int size = receive();
        require(socket_.receiveTime() > 0);
        return size;
    }
    unsigned short senderPort() const { return sender_.port(); }

private:
    DtInetUdpSocket socket_{bench::anyLoopbackPort(), 0, nullptr, theDtInetSockDefaultOptions,
                            true};
    DtInetEndpoint destination_;
    DtInetEndpoint sender_;
    std::array<char, 2048> bytes_{};
};

class Asio {
public:
    using udp = boost::asio::ip::udp;

    unsigned short port() const { return socket_.local_endpoint().port(); }
    void sendTo(unsigned short port, int size) {
        destination_ = {boost::asio::ip::address_v4::loopback(), port};
        const boost::asio::const_buffer bytes(bytes_.data(), static_cast<std::size_t>(size));
        require(socket_.send_to(bytes, destination_) == bytes.size());
    }
    int receive() {
        return static_cast<int>(socket_.receive_from(boost::asio::buffer(bytes_), sender_));
    }
    unsigned short senderPort() const { return sender_.port(); }

private:
    boost::asio::io_context context_;
    udp::socket socket_{context_, udp::endpoint(boost::asio::ip::address_v4::loopback(), 0)};
    udp::endpoint destination_;
    udp::endpoint sender_;
    std::array<char, 2048> bytes_{};
};

// -------------------------------------------------------------------------------------------

// -------------------------------------------------------------------------------------------
// One direction

template <typename End>
void send(benchmark::State& state) {
    End sender;
    bench::BareUdpSocket receiver;
    bench::measureBursts(
        state, theBurst, [&] { receiver.drain(); },
        [&] {
            for (int i = 0; i < theBurst; ++i)
                sender.sendTo(receiver.port(), theSize_bytes);
        });
}
BENCHMARK(send<Ours>)->Name("UdpSend/Ours")->UseManualTime();
BENCHMARK(send<Limit>)->Name("UdpSend/Limit")->UseManualTime();
BENCHMARK(send<Asio>)->Name("UdpSend/Asio")->UseManualTime();

template <typename End, typename Receive>
void receiveWith(benchmark::State& state, Receive receive) {
    const std::array<char, theSize_bytes> bytes{};
    bench::BareUdpSocket sender;
    End receiver;
    bench::measureBursts(
        state, theBurst,
        [&] {
            for (int i = 0; i < theBurst; ++i)
                sender.sendTo(receiver.port(), bytes.data(), bytes.size());
        },
        [&] {
            for (int i = 0; i < theBurst; ++i)
                require(receive(receiver) == theSize_bytes);
        });
}

template <typename End>
void receive(benchmark::State& state) {
    receiveWith<End>(state, [](End& end) { return end.receive(); });
}
BENCHMARK(receive<Ours>)->Name("UdpReceive/Ours")->UseManualTime();
BENCHMARK(receive<Limit>)->Name("UdpReceive/Limit")->UseManualTime();
BENCHMARK(receive<Asio>)->Name("UdpReceive/Asio")->UseManualTime();

/// For callers who want to know of each datagram when it came.
template <typename End>
void receiveWithTime(benchmark::State& state) {
    receiveWith<End>(state, [](End& end) { return end.receiveWithTime(); });
}
BENCHMARK(receiveWithTime<Ours>)->Name("UdpReceiveWithTime/Ours")->UseManualTime();
BENCHMARK(receiveWithTime<LimitWithTime>)->Name("UdpReceiveWithTime/Limit")->UseManualTime();

// -------------------------------------------------------------------------------------------
// There and back

/// A datagram goes to a peer of the same kind, which sends it back; both share one CPU. A shorter
/// one ends it.
template <typename End>
void pingPong(benchmark::State& state) {
    const bench::PinnedTo here(0);
    End near;
    End far;
    std::thread peer([&far] {
        while (far.receive() == theSize_bytes)
            far.sendTo(far.senderPort(), theSize_bytes);
    });
    const unsigned short farPort = far.port();
    bench::Percentiles latency;
    for (auto _ : state) {
        const auto begin = bench::Percentiles::Clock::now();
        near.sendTo(farPort, theSize_bytes);
        require(near.receive() == theSize_bytes);
        latency.add(bench::Percentiles::Clock::now() - begin);
    }
    near.sendTo(farPort, 1);
    peer.join();
    latency.report(state);
}
BENCHMARK(pingPong<Ours>)->Name("UdpPingPong/Ours")->UseRealTime();
BENCHMARK(pingPong<Limit>)->Name("UdpPingPong/Limit")->UseRealTime();
BENCHMARK(pingPong<Asio>)->Name("UdpPingPong/Asio")->UseRealTime();

// -------------------------------------------------------------------------------------------
// A thread that receives: processor time of all threads but this one, which sends bursts and waits
// until each has come. On one CPU with the sender the thread finds each burst waiting; on another
// it takes datagrams as they come, one or a few at a time, and sleeps in between.

double othersTime_s() {
    return bench::processorTime_s(CLOCK_PROCESS_CPUTIME_ID) -
           bench::processorTime_s(CLOCK_THREAD_CPUTIME_ID);
}

void timeOthers(benchmark::State& state, const std::atomic<long>& received, unsigned short port) {
    const bench::PinnedTo here(0);
    const std::array<char, theSize_bytes> bytes{};
    bench::BareUdpSocket sender;
    const bench::CountedAllocations allocations;
    long sent = 0;
    for (auto _ : state) {
        const double begin = othersTime_s();
        for (int i = 0; i < theBurst; ++i)
            sender.sendTo(port, bytes.data(), bytes.size());
        sent += theBurst;
        while (received.load(std::memory_order_acquire) < sent)
            std::this_thread::yield();
        state.SetIterationTime(othersTime_s() - begin);
    }
    state.SetItemsProcessed(sent);
    state.counters["allocations"] =
        static_cast<double>(allocations.count()) / static_cast<double>(sent);
}

void asioAsyncReceive(benchmark::State& state, std::size_t cpu) {
    using boost::asio::ip::udp;
    boost::asio::io_context context;
    udp::socket receiver(context, udp::endpoint(boost::asio::ip::address_v4::loopback(), 0));
    std::array<char, 2048> buffer;
    udp::endpoint from;
    std::atomic<long> received{0};
    std::function<void()> arm = [&] {
        receiver.async_receive_from(boost::asio::buffer(buffer), from,
                                    [&](const boost::system::error_code&, std::size_t) {
                                        received.fetch_add(1, std::memory_order_release);
                                        arm();
                                    });
    };
    arm();
    std::thread thread([&] {
        const bench::PinnedTo there(cpu);
        context.run();
    });
    timeOthers(state, received, receiver.local_endpoint().port());
    context.stop();
    thread.join();
}
BENCHMARK_CAPTURE(asioAsyncReceive, bursts, 0)->Name("UdpAsyncReceive/Asio")->UseManualTime();
BENCHMARK_CAPTURE(asioAsyncReceive, flow, 1)->Name("UdpAsyncReceiveFlow/Asio")->UseManualTime();

void ourAsyncReceive(benchmark::State& state, std::size_t cpu) {
    auto there = std::make_unique<bench::PinnedTo>(cpu);
    DtInetUdpSocket receiver(bench::anyLoopbackPort(), 0, nullptr,
                             theDtInetSockDefaultOptions | DtInetSockAsyncReceive, true);
    std::atomic<long> received{0};
    std::thread consumer([&] {
        std::array<char, 2048> buffer;
        DtInetEndpoint from;
        while (receiver.recvFrom(buffer.data(), int(buffer.size()), from, 0) > 0)
            received.fetch_add(1, std::memory_order_release);
    });
    there.reset();
    timeOthers(state, received, receiver.localPort());
    receiver.closeSocket();
    consumer.join();
}
BENCHMARK_CAPTURE(ourAsyncReceive, bursts, 0)->Name("UdpAsyncReceive/Ours")->UseManualTime();
BENCHMARK_CAPTURE(ourAsyncReceive, flow, 1)->Name("UdpAsyncReceiveFlow/Ours")->UseManualTime();

}  // namespace
