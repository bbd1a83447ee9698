// The TCP socket beside raw blocking sockets and beside plain Asio, over loopback: small messages
// to and fro, large ones in one direction, and many small ones through the send queue.
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
#include <sched.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

#include "InetTcpSocket.h"

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

class Raw {
public:
    explicit Raw(int number) : number_(number) {}
    Raw(const Raw&) = delete;
    Raw& operator=(const Raw&) = delete;
    ~Raw() { close(number_); }

    bool send(char* bytes, int size) { return ::send(number_, bytes, size_t(size), 0) == size; }
    int receive(char* bytes, int size) { return int(recv(number_, bytes, size_t(size), 0)); }

private:
    int number_;
};

class Library {
public:
    explicit Library(int number, unsigned int options = 0) {
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
class Queued : public Library {
public:
    explicit Queued(int number) : Library(number, DtInetSockAsyncSend) {}
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

/// All threads of this process from now on run on one processor.
class OneProcessor {
public:
    OneProcessor() {
        sched_getaffinity(0, sizeof earlier_, &earlier_);
        cpu_set_t one;
        CPU_ZERO(&one);
        CPU_SET(sched_getcpu(), &one);
        sched_setaffinity(0, sizeof one, &one);
    }
    OneProcessor(const OneProcessor&) = delete;
    OneProcessor& operator=(const OneProcessor&) = delete;
    ~OneProcessor() { sched_setaffinity(0, sizeof earlier_, &earlier_); }

private:
    cpu_set_t earlier_;
};

/// A message goes to a peer of the same kind, which answers with as much.
template <typename Socket>
void pingPong(benchmark::State& state) {
    const OneProcessor processor;
    const auto [near, far] = connectedPair();
    std::thread peer([far = far] {
        Socket socket(far);
        char bytes[theMessage_bytes];
        while (socket.receive(bytes, sizeof bytes) == theMessage_bytes)
            require(socket.send(bytes, sizeof bytes));
    });
    {
        Socket socket(near);
        char bytes[theMessage_bytes] = {};
        for (auto _ : state)
            require(socket.send(bytes, sizeof bytes) &&
                    socket.receive(bytes, sizeof bytes) == theMessage_bytes);
    }
    peer.join();
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(pingPong<Raw>)->UseRealTime();
BENCHMARK(pingPong<Library>)->UseRealTime();
BENCHMARK(pingPong<Asio>)->UseRealTime();

/// Sends of one size to a peer of the same kind that reads as fast as it can; the time until the
/// peer has all of them counts.
template <typename Socket>
void oneWay(benchmark::State& state, int size, int burst) {
    const auto [near, far] = connectedPair();
    std::thread peer([far = far, burst_bytes = long(size) * burst] {
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
    state.SetBytesProcessed(state.iterations() * size * burst);
    state.SetItemsProcessed(state.iterations() * burst);
}

template <typename Socket>
void bulk(benchmark::State& state) {
    oneWay<Socket>(state, theBulk_bytes, 100);
}
BENCHMARK(bulk<Raw>)->UseRealTime();
BENCHMARK(bulk<Library>)->UseRealTime();
BENCHMARK(bulk<Queued>)->UseRealTime();
BENCHMARK(bulk<Asio>)->UseRealTime();

template <typename Socket>
void small(benchmark::State& state) {
    oneWay<Socket>(state, theMessage_bytes, 1000);
}
BENCHMARK(small<Raw>)->UseRealTime();
BENCHMARK(small<Library>)->UseRealTime();
BENCHMARK(small<Queued>)->UseRealTime();
BENCHMARK(small<Asio>)->UseRealTime();

}  // namespace
