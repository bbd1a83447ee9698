// The UDP socket beside the bare system calls and beside plain Asio, with datagrams of the size
// of a small PDU over loopback.
#include <array>
#include <atomic>
#include <benchmark/benchmark.h>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/udp.hpp>
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <netinet/in.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

#include "InetUdpSocket.h"

using namespace OrynRti;

namespace {

constexpr int theSize_bytes = 144;
constexpr int theBurst = 100;

DtInetEndpoint loopback() {
    return DtInetEndpoint(DtInetAddr("127.0.0.1"), 0, DtInetUdp);
}

/// A bare socket on loopback.
class BareSocket {
public:
    BareSocket() : number_(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        if (bind(number_, reinterpret_cast<sockaddr*>(&address), size) != 0 ||
            getsockname(number_, reinterpret_cast<sockaddr*>(&address), &size) != 0)
            std::abort();
    }
    BareSocket(const BareSocket&) = delete;
    BareSocket& operator=(const BareSocket&) = delete;
    ~BareSocket() { close(number_); }

    void sendTo(const sockaddr_in& to) {
        const ssize_t sent = sendto(number_, buffer_.data(), theSize_bytes, 0,
                                    reinterpret_cast<const sockaddr*>(&to), sizeof to);
        if (sent != theSize_bytes)
            std::abort();
    }

    void receive() {
        sockaddr_in from;
        socklen_t size = sizeof from;
        if (recvfrom(number_, buffer_.data(), buffer_.size(), 0, reinterpret_cast<sockaddr*>(&from),
                     &size) != theSize_bytes)
            std::abort();
    }

    void askForTime() {
        const int on = 1;
        setsockopt(number_, SOL_SOCKET, SO_TIMESTAMPNS, &on, sizeof on);
    }

    void receiveMessage() {
        sockaddr_in from;
        alignas(cmsghdr) char control[128];
        iovec part{buffer_.data(), buffer_.size()};
        msghdr message{};
        message.msg_name = &from;
        message.msg_namelen = sizeof from;
        message.msg_iov = &part;
        message.msg_iovlen = 1;
        message.msg_control = control;
        message.msg_controllen = sizeof control;
        if (recvmsg(number_, &message, 0) != theSize_bytes)
            std::abort();
    }

    DtInetEndpoint endpoint() const {
        return {DtInetAddr(address), ntohs(address.sin_port), DtInetUdp};
    }

    sockaddr_in address{};

private:
    int number_;
    std::array<char, 2048> buffer_{};
};

sockaddr_in addressOf(const DtInetUdpSocket& socket) {
    sockaddr_in address{};
    DtInetEndpoint(socket.localEndpoint()).toSockaddr(&address);
    return address;
}

using Clock = std::chrono::steady_clock;

/// Times `receive`, called once for each datagram of bursts that `send` sends before.
template <typename Send, typename Receive>
void timeReceiving(benchmark::State& state, Send send, Receive receive) {
    for (auto _ : state) {
        for (int i = 0; i < theBurst; ++i)
            send();
        const Clock::time_point begin = Clock::now();
        for (int i = 0; i < theBurst; ++i)
            receive();
        state.SetIterationTime(std::chrono::duration<double>(Clock::now() - begin).count());
    }
    state.SetItemsProcessed(state.iterations() * theBurst);
}

// -------------------------------------------------------------------------------------------

void bareSend(benchmark::State& state) {
    BareSocket sender;
    BareSocket receiver;
    for (auto _ : state)
        sender.sendTo(receiver.address);
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(bareSend);

void socketSend(benchmark::State& state) {
    DtInetUdpSocket sender(loopback(), 0, nullptr, theDtInetSockDefaultOptions, true);
    BareSocket receiver;
    DtInetEndpoint to = receiver.endpoint();
    std::array<char, theSize_bytes> bytes{};
    for (auto _ : state)
        if (sender.sendTo(bytes.data(), theSize_bytes, to, 0) != theSize_bytes)
            state.SkipWithError("send");
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(socketSend);

void bareReceive(benchmark::State& state) {
    BareSocket sender;
    BareSocket receiver;
    timeReceiving(
        state, [&] { sender.sendTo(receiver.address); }, [&] { receiver.receive(); });
}
BENCHMARK(bareReceive)->UseManualTime();

/// What the kernel takes when it also tells when each datagram came, as the socket has it do.
void bareReceiveWithTime(benchmark::State& state) {
    BareSocket sender;
    BareSocket receiver;
    receiver.askForTime();
    timeReceiving(
        state, [&] { sender.sendTo(receiver.address); }, [&] { receiver.receiveMessage(); });
}
BENCHMARK(bareReceiveWithTime)->UseManualTime();

void socketReceive(benchmark::State& state) {
    BareSocket sender;
    DtInetUdpSocket receiver(loopback(), 0, nullptr, theDtInetSockDefaultOptions, true);
    const sockaddr_in to = addressOf(receiver);
    std::array<char, 2048> buffer;
    DtInetEndpoint from;
    timeReceiving(
        state, [&] { sender.sendTo(to); },
        [&] {
            if (receiver.recvFrom(buffer.data(), int(buffer.size()), from, 0) != theSize_bytes)
                std::abort();
        });
}
BENCHMARK(socketReceive)->UseManualTime();

// -------------------------------------------------------------------------------------------
// Processor time of all threads but this one, which sends bursts and waits until each has come.

double processorTime_s(clockid_t clock) {
    timespec time;
    clock_gettime(clock, &time);
    return double(time.tv_sec) + 1e-9 * double(time.tv_nsec);
}

double othersTime_s() {
    return processorTime_s(CLOCK_PROCESS_CPUTIME_ID) - processorTime_s(CLOCK_THREAD_CPUTIME_ID);
}

template <typename Send>
void timeOthers(benchmark::State& state, const std::atomic<long>& received, Send send) {
    long sent = 0;
    for (auto _ : state) {
        const double begin = othersTime_s();
        for (int i = 0; i < theBurst; ++i)
            send();
        sent += theBurst;
        while (received.load(std::memory_order_acquire) < sent)
            std::this_thread::yield();
        state.SetIterationTime(othersTime_s() - begin);
    }
    state.SetItemsProcessed(state.iterations() * theBurst);
}

void asioAsyncReceive(benchmark::State& state) {
    using boost::asio::ip::udp;
    boost::asio::io_context context;
    udp::socket receiver(context, udp::endpoint(boost::asio::ip::address_v4::loopback(), 0));
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    to.sin_port = htons(receiver.local_endpoint().port());
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
    std::thread thread([&] { context.run(); });
    BareSocket sender;
    timeOthers(state, received, [&] { sender.sendTo(to); });
    context.stop();
    thread.join();
}
BENCHMARK(asioAsyncReceive)->UseManualTime();

void socketAsyncReceive(benchmark::State& state) {
    DtInetUdpSocket receiver(loopback(), 0, nullptr,
                             theDtInetSockDefaultOptions | DtInetSockAsyncReceive, true);
    std::atomic<long> received{0};
    std::thread consumer([&] {
        std::array<char, 2048> buffer;
        DtInetEndpoint from;
        while (receiver.recvFrom(buffer.data(), int(buffer.size()), from, 0) > 0)
            received.fetch_add(1, std::memory_order_release);
    });
    BareSocket sender;
    const sockaddr_in to = addressOf(receiver);
    timeOthers(state, received, [&] { sender.sendTo(to); });
    receiver.closeSocket();
    consumer.join();
}
BENCHMARK(socketAsyncReceive)->UseManualTime();

}  // namespace
