// The TCP socket beside raw blocking sockets and beside plain Asio, over loopback: small messages
// to and fro, large ones in one direction, and many small ones, with and without the send queue.
#include <algorithm>
#include <benchmark/benchmark.h>
#include <boost/asio/buffer.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/read.hpp>
#include <boost/asio/write.hpp>
#include <cstdlib>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

#include "InetTcpSocket.h"
#include "support/Percentiles.h"
#include "support/Pinning.h"

using namespace OrynRti;

namespace {

constexpr int theMessage_bytes = 64;
constexpr int theBulk_bytes = 65536;

void require(bool held) {
    if (!held)
        std::abort();
}

/// Both ends of a connection over loopback, that of the caller and that of the peer.
std::pair<int, int> connectedPair() {
    const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const int client = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    auto* const generic = reinterpret_cast<sockaddr*>(&address);
    socklen_t size = sizeof address;
    require(bind(listener, generic, size) == 0 && listen(listener, 1) == 0 &&
            getsockname(listener, generic, &size) == 0 && connect(client, generic, size) == 0);
    const int accepted = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
    require(accepted >= 0);
    close(listener);
    const int on = 1;
    for (const int each : {client, accepted})
        setsockopt(each, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    return {client, accepted};
}

// One way each to send and receive exactly so many bytes; each closes its descriptor.

class Limit {
public:
    explicit Limit(int number) : number_(number) {}
    Limit(const Limit&) = delete;
    Limit& operator=(const Limit&) = delete;
    ~Limit() { close(number_); }

    bool send(char* bytes, int size) { return ::send(number_, bytes, size_t(size), 0) == size; }
    int receive(char* bytes, int size) { return int(recv(number_, bytes, size_t(size), 0)); }

private:
    int number_;
};

class Ours {
public:
    explicit Ours(int number, unsigned int options = 0) {
        socket_.initAcceptedConnection(DtInetAddr("127.0.0.1"), 0,
                                       theDtInetSockDefaultOptions | options);
        socket_.setTcpNoDelayOption(true);
        socket_.setSendQueueLimit(0);
        require(socket_.setSocket(number));
    }

    bool send(char* bytes, int size) { return socket_.send(bytes, size, 0) == size; }
    int receive(char* bytes, int size) { return socket_.recv(bytes, size, 0); }

private:
    DtInetTcpSocket socket_;
};

/// Sends through the queue.
class OursQueued : public Ours {
public:
    explicit OursQueued(int number) : Ours(number, DtInetSockAsyncSend) {}
};

class Asio {
public:
    explicit Asio(int number) : socket_(context_, boost::asio::ip::tcp::v4(), number) {}

    bool send(char* bytes, int size) {
        boost::asio::write(socket_, boost::asio::buffer(bytes, size_t(size)));
        return true;
    }
    int receive(char* bytes, int size) {
        boost::system::error_code error;
        const std::size_t received =
            socket_.read_some(boost::asio::buffer(bytes, size_t(size)), error);
        return error ? 0 : int(received);
    }

private:
    boost::asio::io_context context_;
    boost::asio::ip::tcp::socket socket_;
};

// -------------------------------------------------------------------------------------------

/// A message goes to a peer of the same kind, which answers with as much; both share one CPU.
template <typename Socket>
void pingPong(benchmark::State& state) {
    const bench::PinnedTo here(0);
    const auto [near, far] = connectedPair();
    std::thread peer([far = far] {
        Socket socket(far);
        char bytes[theMessage_bytes];
        while (socket.receive(bytes, sizeof bytes) == theMessage_bytes)
            require(socket.send(bytes, sizeof bytes));
    });
    bench::Percentiles latency;
    {
        Socket socket(near);
        char bytes[theMessage_bytes] = {};
        for (auto _ : state) {
            const auto begin = bench::Percentiles::Clock::now();
            require(socket.send(bytes, sizeof bytes) &&
                    socket.receive(bytes, sizeof bytes) == theMessage_bytes);
            latency.add(bench::Percentiles::Clock::now() - begin);
        }
    }
    peer.join();
    latency.report(state);
}
BENCHMARK(pingPong<Ours>)->Name("TcpPingPong/Ours")->UseRealTime();
BENCHMARK(pingPong<Limit>)->Name("TcpPingPong/Limit")->UseRealTime();
BENCHMARK(pingPong<Asio>)->Name("TcpPingPong/Asio")->UseRealTime();

/// Sends of one size to a peer of the same kind that reads as fast as it can, on another CPU; the
/// time until the peer has all of a burst counts.
template <typename Socket>
void oneWay(benchmark::State& state, int size, int burst) {
    const auto [near, far] = connectedPair();
    std::thread peer([far = far, burst_bytes = long(size) * burst] {
        const bench::PinnedTo there(1);
        Socket socket(far);
        std::vector<char> bytes(theBulk_bytes);
        long received = 0;
        for (int part = 0; (part = socket.receive(bytes.data(), theBulk_bytes)) > 0;) {
            received += part;
            if (received % burst_bytes == 0)
                require(socket.send(bytes.data(), 1));
        }
    });
    {
        const bench::PinnedTo here(0);
        Socket socket(near);
        std::vector<char> bytes(static_cast<std::size_t>(size));
        char acknowledged = 0;
        for (auto _ : state) {
            for (int i = 0; i < burst; ++i)
                require(socket.send(bytes.data(), size));
            require(socket.receive(&acknowledged, 1) == 1);
        }
    }
    peer.join();
    state.SetItemsProcessed(state.iterations() * burst);
}

template <typename Socket>
void bulk(benchmark::State& state) {
    oneWay<Socket>(state, theBulk_bytes, 100);
}
BENCHMARK(bulk<Ours>)->Name("TcpBulk/Ours")->UseRealTime();
BENCHMARK(bulk<Limit>)->Name("TcpBulk/Limit")->UseRealTime();
BENCHMARK(bulk<Asio>)->Name("TcpBulk/Asio")->UseRealTime();
BENCHMARK(bulk<OursQueued>)->Name("TcpBulkQueued/Ours")->UseRealTime();

template <typename Socket>
void small(benchmark::State& state) {
    oneWay<Socket>(state, theMessage_bytes, 1000);
}
BENCHMARK(small<Ours>)->Name("TcpSmall/Ours")->UseRealTime();
BENCHMARK(small<Limit>)->Name("TcpSmall/Limit")->UseRealTime();
BENCHMARK(small<Asio>)->Name("TcpSmall/Asio")->UseRealTime();
BENCHMARK(small<OursQueued>)->Name("TcpSmallQueued/Ours")->UseRealTime();

}  // namespace
