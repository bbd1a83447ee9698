// An echo server with many clients, and with peers that misbehave, while signals arrive.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <dirent.h>
#include <future>
#include <random>
#include <sys/time.h>
#include <thread>

#include "net/TcpSockets.h"

namespace OrynRti::Tests {
namespace {

constexpr std::size_t theClients = 200;
constexpr std::size_t theTotal_bytes = std::size_t(theBuildIsSanitized ? 4 : 64) << 20;
constexpr std::size_t theShare_bytes = theTotal_bytes / theClients;

/// Interrupts system calls of any thread a thousand times per second.
class Signals {
public:
    Signals() {
        struct sigaction action {};
        action.sa_handler = [](int) {};
        sigaction(SIGALRM, &action, &earlier_);
        const itimerval often{{0, 1000}, {0, 1000}};
        setitimer(ITIMER_REAL, &often, nullptr);
    }
    Signals(const Signals&) = delete;
    Signals& operator=(const Signals&) = delete;
    ~Signals() {
        const itimerval never{};
        setitimer(ITIMER_REAL, &never, nullptr);
        sigaction(SIGALRM, &earlier_, nullptr);
    }

private:
    struct sigaction earlier_ {};
};

/// Open descriptors and threads of this process.
std::pair<long, long> resources() {
    const auto entries = [](const char* path) {
        long count = 0;
        DIR* const directory = opendir(path);
        while (readdir(directory) != nullptr)  // the directory itself included, each time
            ++count;
        closedir(directory);
        return count;
    };
    return {entries("/proc/self/fd"), entries("/proc/self/task")};
}

/// A thread that has been joined may be listed for a moment longer.
void expectResources(const std::pair<long, long>& expected) {
    const auto late = std::chrono::steady_clock::now() + std::chrono::milliseconds(theLongWait_ms);
    while (resources() != expected && std::chrono::steady_clock::now() < late)
        std::this_thread::yield();
    EXPECT_EQ(resources(), expected);
}

// -------------------------------------------------------------------------------------------
// The server

/// Sends all of it, in as many parts as it takes. False when the connection has failed.
bool sendAll(DtInetTcpSocket& socket, const std::string& text) {
    for (std::size_t sent = 0; sent < text.size();) {
        const int part = sendText(socket, text.substr(sent));
        if (part < 0 || (part == 0 && !awaitEvent(socket.descriptor(), POLLOUT)))
            return false;
        sent += static_cast<std::size_t>(part);
    }
    return true;
}

/// Sends back what it receives until the peer ends its stream or the connection fails.
void echo(DtInetTcpSocket& socket) {
    std::string text;
    while ((text = receiveText(socket)) != "(-1)" && sendAll(socket, text)) {
    }
}

void serve(DtInetTcpSocket& server, std::size_t connections, unsigned int options) {
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < connections; ++i) {
        auto socket = std::make_unique<DtInetTcpSocket>();
        ASSERT_TRUE(server.acceptConnection(socket.get(), options)) << server.getLastErrorString();
        socket->setReceiveQueueLimit(65536);
        socket->setCloseWait(0.1);
        threads.emplace_back([socket = std::move(socket)] { echo(*socket); });
    }
    for (std::thread& thread : threads)
        thread.join();
}

// -------------------------------------------------------------------------------------------
// Well-behaved clients

/// Lets clients begin when all are connected.
class Start {
public:
    void wait() {
        if (++arrived_ == theClients)
            all_.set_value();
        go_.wait();
    }

private:
    std::atomic<std::size_t> arrived_{0};
    std::promise<void> all_;
    const std::shared_future<void> go_{all_.get_future()};
};

/// Sends chunks of random size and wants each back. Whether it got everything.
bool exchange(const DtInetEndpoint& server, unsigned int seed, unsigned int options, Start& start) {
    DtInetTcpSocket client(server, 0, nullptr, options, true);
    const bool begun = client.connectToDestination();
    start.wait();
    if (!begun)
        return false;
    std::mt19937 random(seed);
    const std::string all = noise(seed, theShare_bytes);
    for (std::size_t begin = 0; begin < all.size();) {
        const std::size_t size = std::min<std::size_t>(1 + random() % 65536, all.size() - begin);
        if (!sendAll(client, all.substr(begin, size)))
            return false;
        std::string back;
        while (back.size() < size && client.isOk())
            back += receiveText(client);
        if (all.compare(begin, size, back) != 0)
            return false;
        begin += size;
    }
    return true;
}

class EchoServer : public testing::TestWithParam<unsigned int> {};

TEST_P(EchoServer, GivesEachOfManyClientsItsBytesBack) {
    { Connection first(theAsync); }  // what is made once for the process
    const auto before = resources();
    {
        const Signals signals;
        ListeningServer server;
        std::thread serving([&] { serve(server.socket, theClients, GetParam()); });
        std::atomic<std::size_t> served{0};
        Start start;
        std::vector<std::thread> clients;
        for (unsigned int i = 0; i < theClients; ++i)
            clients.emplace_back(
                [&, i] { served += exchange(server.endpoint, i, GetParam(), start); });
        for (std::thread& client : clients)
            client.join();
        serving.join();
        EXPECT_EQ(served, theClients);
    }
    expectResources(before);
}

// -------------------------------------------------------------------------------------------
// Peers that close, reset, half-close and stall

enum Manner { Closes, Resets, HalfCloses, Stalls };

/// A peer that sends some bytes, reads what comes back unless it stalls, and ends in its manner.
void misbehave(int number, Manner manner, unsigned int seed, std::shared_future<void> othersDone) {
    std::mt19937 random(seed);
    const std::string sent = noise(seed, random() % 300000);
    std::string back;
    const auto read = [&](int flags) {
        char bytes[30000];
        const ssize_t size = recv(number, bytes, sizeof bytes, flags);
        if (size > 0)
            back.append(bytes, static_cast<std::size_t>(size));
        return size > 0 || (size < 0 && errno == EINTR);
    };
    for (std::size_t begin = 0; begin < sent.size();) {
        if (!awaitEvent(number, POLLOUT, manner == Stalls ? 100 : 10) && manner == Stalls)
            break;
        const std::size_t size = std::min<std::size_t>(sent.size() - begin, 1 + random() % 30000);
        const ssize_t part = send(number, &sent[begin], size, MSG_NOSIGNAL | MSG_DONTWAIT);
        begin += part > 0 ? static_cast<std::size_t>(part) : 0;
        if (manner != Stalls)
            read(MSG_DONTWAIT);
    }
    if (manner == Stalls)
        othersDone.wait();
    if (manner == HalfCloses) {
        shutdown(number, SHUT_WR);
        while (read(0)) {
        }
        EXPECT_TRUE(back == sent) << back.size() << " of " << sent.size();
    }
    if (manner == Resets)
        resetAndClose(number);
    else
        close(number);
}

TEST_P(EchoServer, OutlivesPeersThatMisbehave) {
    constexpr unsigned int peers = 80;
    { Connection first(theAsync); }
    const auto before = resources();
    {
        const Signals signals;
        ListeningServer server;
        std::thread serving([&] { serve(server.socket, peers, GetParam()); });
        std::promise<void> othersDone;
        const std::shared_future<void> done(othersDone.get_future());
        std::vector<std::thread> threads[2];  // of those that stall, of the others
        for (unsigned int i = 0; i < peers; ++i)
            threads[i % 4 != Stalls].emplace_back(misbehave, server.rawClient(), Manner(i % 4), i,
                                                  done);
        for (std::thread& thread : threads[1])
            thread.join();
        othersDone.set_value();
        for (std::thread& thread : threads[0])
            thread.join();
        serving.join();
    }
    expectResources(before);
}

INSTANTIATE_TEST_SUITE_P(InetTcpSocket, EchoServer,
                         testing::Values(theBlocking, theNonBlocking, theAsync),
                         [](const auto& variant) {
                             return variant.param == theBlocking      ? "Blocking"
                                    : variant.param == theNonBlocking ? "NonBlocking"
                                                                      : "Asynchronous";
                         });

}  // namespace
}  // namespace OrynRti::Tests
