// The packet server between the network and its clients: how many datagrams reach 1, 4 and 16
// programs in a second, what a further client costs the server, how much later a datagram is there,
// and how much memory the server has. The limit is a socket of each program's own, or the bare
// write into a queue. Datagrams have 1400 bytes and are handed over whole.
#include <atomic>
#include <benchmark/benchmark.h>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <memory>
#include <netinet/in.h>
#include <optional>
#include <sched.h>
#include <string>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "CliServer.h"
#include "PacketServerClient.h"
#include "ShmPool.h"
#include "ShmSemaphores.h"
#include "ShmWriter.h"
#include "support/LoopbackUdp.h"
#include "support/Percentiles.h"
#include "support/Pinning.h"

using namespace OrynRti;
using bench::require;

namespace {

constexpr int theDatagram_bytes = 1400;
constexpr int theWindow = 64;  ///< Datagrams under way at most, in every flow.
constexpr int theMostClients = 16;

const std::vector<char>& datagram() {
    static const std::vector<char> bytes = [] {
        std::vector<char> pdu(theDatagram_bytes, 'd');
        const char header[] = {
            7, 1, 1, 1, 0, 0, 0, 0, char(theDatagram_bytes >> 8), char(theDatagram_bytes & 0xFF),
            0, 0};
        std::memcpy(pdu.data(), header, sizeof header);
        return pdu;
    }();
    return bytes;
}

/// Another process; killed when this object goes.
class Process {
public:
    template <typename Work>
    explicit Process(Work work) : pid_(fork()) {
        if (pid_ == 0) {
            work();
            _exit(1);
        }
    }
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;
    ~Process() {
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
    }

    pid_t pid() const { return pid_; }

    /// Until it has ended by itself.
    void awaitEnd() const {
        siginfo_t info;
        waitid(P_PID, static_cast<id_t>(pid_), &info, WEXITED | WNOWAIT);
    }

private:
    pid_t pid_;
};

/// The server program, on a port of 127.0.0.1 that the system has chosen.
class Server {
public:
    Server() {
        require(mkdtemp(folder_.data()) != nullptr);
        DtSetPacketServerDirectory(DtString(folder_));
        int ends[2];
        require(pipe2(ends, O_CLOEXEC) == 0);
        process_ = std::make_unique<Process>([&] { run(ends[1]); });
        close(ends[1]);
        FILE* const lines = fdopen(ends[0], "r");
        require(fscanf(lines, "%*[^,], reading 127.0.0.1:%hu", &port_) == 1);
        errors_ = lines;
    }
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;
    ~Server() {
        kill(pid(), SIGTERM);
        process_->awaitEnd();
        fclose(errors_);
        rmdir(folder_.c_str());
    }

    pid_t pid() const { return process_->pid(); }
    unsigned short port() const { return port_; }

    /// Processor time that it has used.
    double time_s() const {
        clockid_t clock;
        require(clock_getcpuclockid(pid(), &clock) == 0);
        return bench::processorTime_s(clock);
    }

    /// A figure of /proc/PID/status, in bytes.
    double memory_bytes(const std::string& name) const {
        std::ifstream status("/proc/" + std::to_string(pid()) + "/status");
        for (std::string line; std::getline(status, line);)
            if (line.compare(0, name.size(), name) == 0)
                return 1024 * std::stod(line.substr(name.size() + 1));
        return 0;
    }

    void connect(DtPacketServerClient& client) const {
        DtSetPacketServerDirectory(DtString(folder_));
        DtPacketServerClientOptions options;
        options.timeout_s = 20;
        require(client.connect(theKey, options));
    }

private:
    static constexpr int theKey = 1;

    void run(int errors) {
        dup2(errors, STDERR_FILENO);
        dup2(open("/dev/null", O_WRONLY), STDOUT_FILENO);
        execl(RTIQN_PACKETSERVER_PROGRAM, "rtiqn-packetserver", "run", "--key", "1", "--directory",
              folder_.c_str(), "--bind", "127.0.0.1", "--port", "0", "--no-unbundle", nullptr);
    }

    std::string folder_ = "/tmp/rtiqn-bench.XXXXXX";
    std::unique_ptr<Process> process_;
    unsigned short port_ = 0;
    FILE* errors_ = nullptr;
};

/// A program's own socket. Several programs on one host take the datagrams of a group, here over
/// the loopback interface.
class OwnSocket {
public:
    explicit OwnSocket(bool inGroup, unsigned short port = 0)
        : number_(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
        address_.sin_family = AF_INET;
        address_.sin_addr.s_addr = htonl(inGroup ? 0xEF4D0102 : INADDR_LOOPBACK);
        address_.sin_port = htons(port);
        const int on = 1;
        require(setsockopt(number_, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) == 0);
        auto* const address = reinterpret_cast<sockaddr*>(&address_);
        socklen_t size = sizeof address_;
        require(bind(number_, address, size) == 0 && getsockname(number_, address, &size) == 0);
        const ip_mreq group{address_.sin_addr, {htonl(INADDR_LOOPBACK)}};
        require(!inGroup ||
                setsockopt(number_, IPPROTO_IP, IP_ADD_MEMBERSHIP, &group, sizeof group) == 0);
    }
    OwnSocket(const OwnSocket&) = delete;
    OwnSocket& operator=(const OwnSocket&) = delete;
    ~OwnSocket() { close(number_); }

    void receive(char* buffer) const {
        require(recv(number_, buffer, theDatagram_bytes, 0) == theDatagram_bytes);
    }
    const sockaddr_in& address() const { return address_; }

private:
    int number_;
    sockaddr_in address_{};
};

/// Sends to one address.
class SendingSocket {
public:
    explicit SendingSocket(const sockaddr_in& to)
        : number_(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)), to_(to) {
        const in_addr loopback{htonl(INADDR_LOOPBACK)};
        require(setsockopt(number_, IPPROTO_IP, IP_MULTICAST_IF, &loopback, sizeof loopback) == 0);
    }
    explicit SendingSocket(unsigned short port) : SendingSocket(loopback(port)) {}
    SendingSocket(const SendingSocket&) = delete;
    SendingSocket& operator=(const SendingSocket&) = delete;
    ~SendingSocket() { close(number_); }

    void send() const {
        require(sendto(number_, datagram().data(), theDatagram_bytes, 0,
                       reinterpret_cast<const sockaddr*>(&to_), sizeof to_) == theDatagram_bytes);
    }

private:
    static sockaddr_in loopback(unsigned short port) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.sin_port = htons(port);
        return address;
    }

    int number_;
    sockaddr_in to_;
};

// -------------------------------------------------------------------------------------------
// Flow

/// How many datagrams each of the receiving processes has had.
class Progress {
public:
    Progress()
        : shared_(static_cast<Shared*>(mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE,
                                            MAP_SHARED | MAP_ANONYMOUS, -1, 0))) {
        require(shared_ != MAP_FAILED);
    }
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    ~Progress() { munmap(shared_, sizeof(Shared)); }

    void setReady() { shared_->ready.fetch_add(1, std::memory_order_release); }
    void awaitReady(int count) const {
        while (shared_->ready.load(std::memory_order_acquire) < count)
            sched_yield();
    }

    void set(int which, std::uint64_t count) {
        shared_->counts[which].count.store(count, std::memory_order_release);
    }
    void await(int receivers, std::uint64_t count) const {
        for (int i = 0; i < receivers; ++i)
            while (shared_->counts[i].count.load(std::memory_order_acquire) < count)
                sched_yield();
    }

private:
    struct alignas(64) Count {
        std::atomic<std::uint64_t> count;
    };
    struct Shared {
        std::atomic<int> ready;
        Count counts[theMostClients];
    };

    Shared* shared_;
};

/// The sender on one CPU, the receivers on the other; `receive` counts for its progress.
template <typename Receive>
void flow(benchmark::State& state, const SendingSocket& sender, Receive receive) {
    const int count = static_cast<int>(state.range(0));
    Progress progress;
    std::vector<std::unique_ptr<Process>> receivers;
    for (int i = 0; i < count; ++i)
        receivers.push_back(std::make_unique<Process>([&] {
            const bench::PinnedTo there(1);
            receive(i, progress);
        }));
    progress.awaitReady(count);
    const bench::PinnedTo here(0);
    std::uint64_t sent = 0;
    for (auto _ : state) {
        sender.send();
        if (++sent >= theWindow)
            progress.await(count, sent - theWindow + 1);
    }
    progress.await(count, sent);
    state.SetItemsProcessed(state.iterations());
}

void receiveAsClient(const Server& server, int which, Progress& progress) {
    DtPacketServerClient client;
    server.connect(client);
    progress.setReady();
    char buffer[theDatagram_bytes];
    int length = 0;
    while (client.receive(buffer, sizeof buffer, length, -1.0) == DtPacketReceived)
        progress.set(which, client.statistics().read + client.statistics().missed);
}

void flowThroughServer(benchmark::State& state) {
    std::unique_ptr<Server> server;
    {
        const bench::PinnedTo there(1);
        server = std::make_unique<Server>();
    }
    flow(state, SendingSocket(server->port()),
         [&](int which, Progress& progress) { receiveAsClient(*server, which, progress); });
}
BENCHMARK(flowThroughServer)->Name("PacketServerFlow/Ours")->Arg(1)->Arg(4)->Arg(16)->UseRealTime();

void flowThroughSockets(benchmark::State& state) {
    const bool inGroup = state.range(0) > 1;
    const auto first = std::make_unique<OwnSocket>(inGroup);
    flow(state, SendingSocket(first->address()), [&](int which, Progress& progress) {
        std::optional<OwnSocket> more;
        if (which > 0)
            more.emplace(inGroup, ntohs(first->address().sin_port));
        const OwnSocket& socket = more ? *more : *first;
        progress.setReady();
        char buffer[theDatagram_bytes];
        for (std::uint64_t count = 1;; ++count) {
            socket.receive(buffer);
            progress.set(which, count);
        }
    });
}
BENCHMARK(flowThroughSockets)
    ->Name("PacketServerFlow/Limit")
    ->Arg(1)
    ->Arg(4)
    ->Arg(16)
    ->UseRealTime();

// -------------------------------------------------------------------------------------------
// A further client

constexpr int theBurst = 256;
constexpr int theFill = 1024;  ///< More datagrams than a queue holds.
constexpr int theFurther = theMostClients - 1;

/// A server with one client that reads, and others that do not: their queues are full, and each
/// datagram takes the place of the oldest.
class LoadedServer {
public:
    explicit LoadedServer(int others) : sender_(server_.port()) {
        for (int i = 0; i <= others; ++i)
            server_.connect(*clients_.emplace_back(std::make_unique<DtPacketServerClient>()));
        for (int i = 0; i < theFill / theWindow; ++i)
            sendBurstOf(theWindow);
    }

    const Server& server() const { return server_; }

    /// The server's time for some datagrams, from the first to the last.
    double burst_s() {
        const double begin = server_.time_s();
        for (int i = 0; i < theBurst / theWindow; ++i)
            sendBurstOf(theWindow);
        return server_.time_s() - begin;
    }

private:
    void sendBurstOf(int count) {
        char buffer[theDatagram_bytes];
        int length = 0;
        for (int i = 0; i < count; ++i)
            sender_.send();
        for (int i = 0; i < count; ++i)
            require(clients_[0]->receive(buffer, sizeof buffer, length, 20) == DtPacketReceived);
    }

    Server server_;
    SendingSocket sender_;
    std::vector<std::unique_ptr<DtPacketServerClient>> clients_;
};

/// The server's processor time for a datagram, by the number of clients.
void fanOut(benchmark::State& state) {
    LoadedServer loaded(static_cast<int>(state.range(0)) - 1);
    for (auto _ : state)
        state.SetIterationTime(loaded.burst_s());
    state.SetItemsProcessed(state.iterations() * theBurst);
}
BENCHMARK(fanOut)->Name("PacketServerFanOut/Ours")->Arg(1)->Arg(4)->Arg(16)->UseManualTime();

/// What the server holds: of its own, or shared with its clients.
void memory(benchmark::State& state, const char* figure) {
    const Server idle;
    const LoadedServer loaded(theFurther);
    for (auto _ : state) {
        state.counters["Packet server without clients"] = idle.memory_bytes(figure);
        state.counters["Packet server with 16 clients"] = loaded.server().memory_bytes(figure);
    }
}
BENCHMARK_CAPTURE(memory, own, "RssAnon:")->Name("PacketServerMemory/Own")->Iterations(1);
BENCHMARK_CAPTURE(memory, shared, "RssShmem:")->Name("PacketServerMemory/Shared")->Iterations(1);

/// What 15 clients cost more than one.
void furtherClients(benchmark::State& state) {
    LoadedServer one(0);
    LoadedServer many(theFurther);
    for (auto _ : state) {
        const double alone_s = one.burst_s();
        state.SetIterationTime(std::max(many.burst_s() - alone_s, 1e-9));
    }
    state.SetItemsProcessed(state.iterations() * theBurst * theFurther);
}
BENCHMARK(furtherClients)->Name("PacketServerFurtherClients/Ours")->UseManualTime();

/// The bare write into a queue that is full, with nobody who reads.
struct FullQueue {
    explicit FullQueue(int number)
        : pool(DtString("rtiqn-bench-" + std::to_string(getpid()) + "-" + std::to_string(number)),
               DtShmMsgQueueManager::segmentSize(theSize)),
          semaphores(pool),
          writer(static_cast<Dt_Shm_Msg_Queue*>(pool.address()), theSize, semaphores.id(), 0, false,
                 true, true) {}

    static constexpr int theSize = 1 << 20;
    DtSharedMemoryPoolManager pool;
    DtShmSemaphores semaphores;
    DtShmMsgQueueWriter writer;
};

void bareWrites(benchmark::State& state) {
    std::vector<std::unique_ptr<FullQueue>> queues;
    for (int i = 0; i < theFurther; ++i)
        queues.push_back(std::make_unique<FullQueue>(i));
    const char header[sizeof(DtCsServerPacketRecord)] = {};
    const char* const pieces[] = {header, datagram().data()};
    const int lengths[] = {sizeof header, theDatagram_bytes};
    const auto write = [&] {
        for (const auto& queue : queues)
            require(queue->writer.Writev(pieces, lengths, 2) > 0);
    };
    for (int i = 0; i < theFill; ++i)
        write();
    for (auto _ : state) {
        const double begin = bench::processorTime_s(CLOCK_THREAD_CPUTIME_ID);
        for (int i = 0; i < theBurst; ++i)
            write();
        state.SetIterationTime(bench::processorTime_s(CLOCK_THREAD_CPUTIME_ID) - begin);
    }
    state.SetItemsProcessed(state.iterations() * theBurst * theFurther);
}
BENCHMARK(bareWrites)->Name("PacketServerFurtherClients/Limit")->UseManualTime();

// -------------------------------------------------------------------------------------------
// Latency

/// From sending a datagram to having it in the same program.
template <typename Receive>
void latency(benchmark::State& state, const SendingSocket& sender, Receive receive) {
    bench::Percentiles latency;
    for (auto _ : state) {
        const auto begin = bench::Percentiles::Clock::now();
        sender.send();
        receive();
        latency.add(bench::Percentiles::Clock::now() - begin);
    }
    latency.report(state);
}

void latencyThroughServer(benchmark::State& state) {
    const bench::PinnedTo here(0);
    const Server server;
    DtPacketServerClient client;
    server.connect(client);
    char buffer[theDatagram_bytes];
    latency(state, SendingSocket(server.port()), [&] {
        int length = 0;
        require(client.receive(buffer, sizeof buffer, length, -1.0) == DtPacketReceived);
    });
}
BENCHMARK(latencyThroughServer)->Name("PacketServerLatency/Ours")->UseRealTime();

void latencyThroughSocket(benchmark::State& state) {
    const bench::PinnedTo here(0);
    const OwnSocket socket(false);
    char buffer[theDatagram_bytes];
    latency(state, SendingSocket(socket.address()), [&] { socket.receive(buffer); });
}
BENCHMARK(latencyThroughSocket)->Name("PacketServerLatency/Limit")->UseRealTime();

}  // namespace
