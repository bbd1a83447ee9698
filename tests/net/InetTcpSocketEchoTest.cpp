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

/// One connection: what has been received and not been sent back yet.
class Echo {
public:
    bool accept(DtInetTcpSocket& server, unsigned int options) {
        return server.acceptConnection(&socket, options);
    }

    /// Does what can be done without waiting. False when the connection has ended and everything
    /// has been sent back, or it has failed.
    bool advance() {
        bool moved = true;
        while (moved) {
            moved = receive();
            moved = sendBack() || moved;
        }
        return !(failed_ || (ended_ && pending_.empty()));
    }

    /// Until what has been received is sent back, nothing more is asked for.
    pollfd toWaitFor() {
        if (!pending_.empty())
            return {socket.descriptor(), POLLOUT, 0};
        return {socket.pollDescriptor(), POLLIN, 0};
    }

    DtInetTcpSocket socket;

private:
    bool receive() {
        if (failed_ || ended_ || pending_.size() > 65536)
            return false;
        char bytes[65536];
        const int size = socket.recv(bytes, sizeof bytes, 0);
        if (size > 0)
            pending_.append(bytes, static_cast<std::size_t>(size));
        ended_ = size == -1 && socket.state() == DtInetSockTerminated;
        failed_ = size == -1 && !ended_;
        return size > 0;
    }

    bool sendBack() {
        if (failed_ || pending_.empty())
            return false;
        const int size = socket.send(pending_.data(), static_cast<int>(pending_.size()), 0);
        if (size > 0)
            pending_.erase(0, static_cast<std::size_t>(size));
        failed_ = size < 0;
        return size > 0;
    }

    std::string pending_;
    bool ended_ = false;
    bool failed_ = false;
};

/// A thread per connection.
void serveBlocking(DtInetTcpSocket& server, std::size_t connections) {
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < connections; ++i) {
        auto socket = std::make_unique<DtInetTcpSocket>();
        ASSERT_TRUE(server.acceptConnection(socket.get(), theBlocking))
            << server.getLastErrorString();
        threads.emplace_back([socket = std::move(socket)] {
            char bytes[20000];
            int size = 0;
            while ((size = socket->recv(bytes, sizeof bytes, 0)) > 0 &&
                   socket->send(bytes, size, 0) == size) {
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
}

/// One thread for all.
void serveAll(DtInetTcpSocket& server, std::size_t connections, unsigned int options) {
    std::vector<std::unique_ptr<Echo>> echoes;
    for (std::size_t i = 0; i < connections; ++i) {
        echoes.push_back(std::make_unique<Echo>());
        ASSERT_TRUE(echoes.back()->accept(server, options)) << server.getLastErrorString();
        echoes.back()->socket.setCloseWait(0.1);
    }
    while (!echoes.empty()) {
        std::vector<pollfd> waited;
        for (const auto& echo : echoes)
            waited.push_back(echo->toWaitFor());
        while (poll(waited.data(), waited.size(), theLongWait_ms) < 0 && errno == EINTR) {
        }
        for (std::size_t i = echoes.size(); i-- > 0;)
            if (waited[i].revents != 0 && !echoes[i]->advance())
                echoes.erase(echoes.begin() + static_cast<std::ptrdiff_t>(i));
    }
}

void serve(DtInetTcpSocket& server, std::size_t connections, unsigned int options) {
    if (options == theBlocking)
        serveBlocking(server, connections);
    else
        serveAll(server, connections, options);
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
        const std::string chunk = all.substr(begin, size);
        for (std::size_t sent = 0; sent < size;) {
            const int part = sendText(client, chunk.substr(sent));
            if (part < 0 || (part == 0 && !awaitEvent(client.descriptor(), POLLOUT)))
                return false;
            sent += static_cast<std::size_t>(part);
        }
        std::string back;
        while (back.size() < size && client.isOk())
            back += receiveText(client);
        if (back != chunk)
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
