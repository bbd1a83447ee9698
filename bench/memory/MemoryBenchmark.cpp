// What objects take: their size, the heap that an idle socket of each kind and a table of many rows
// hold, and by how much the process grows. The counters are the result; no time is of interest.
#include <benchmark/benchmark.h>
#include <cstdio>
#include <cstdlib>
#include <malloc.h>
#include <memory>
#include <netinet/in.h>
#include <string>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

#include "DisSocket.h"
#include "FedTarget.h"
#include "Hashlist.h"
#include "InetTcpSocket.h"
#include "InetUdpSocket.h"
#include "List.h"
#include "LockfreeQueue.h"
#include "Mutex.h"
#include "PerformanceStats.h"
#include "Print.h"
#include "ShmReader.h"
#include "ShmWriter.h"
#include "ThreadedObject.h"
#include "fom/TestTarget.h"
#include "support/Allocations.h"

using namespace OrynRti;

namespace {

void sizes(benchmark::State& state) {
    for (auto _ : state) {
    }
    auto& counters = state.counters;
    counters["DtString"] = sizeof(DtString);
    counters["DtOutputStream"] = sizeof(DtOutputStream);
    counters["DtMutex"] = sizeof(DtMutex);
    counters["DtList"] = sizeof(DtList);
    counters["DtHashlist"] = sizeof(DtHashlist);
    counters["DtStringHashKey"] = sizeof(DtStringHashKey);
    counters["DtThreadedObject"] = sizeof(DtThreadedObject);
    counters["DtPerformanceStats"] = sizeof(DtPerformanceStats);
    counters["DtInetAddr"] = sizeof(DtInetAddr);
    counters["DtInetEndpoint"] = sizeof(DtInetEndpoint);
    counters["DtInetUdpSocket"] = sizeof(DtInetUdpSocket);
    counters["DtInetTcpSocket"] = sizeof(DtInetTcpSocket);
    counters["DtDisSocket"] = sizeof(DtDisSocket);
    counters["DtShmMsgQueueReader"] = sizeof(DtShmMsgQueueReader);
    counters["DtShmMsgQueueWriter"] = sizeof(DtShmMsgQueueWriter);
    counters["DtSimpleDatatypeType"] = sizeof(DtSimpleDatatypeType);
    counters["DtFedTarget"] = sizeof(DtFedTarget);
}
BENCHMARK(sizes)->Name("SizeOf/Ours")->Iterations(1);

// ------------------------------------------------------------------------------------------------
// Sockets

constexpr unsigned int theSynchronous = theDtInetSockDefaultOptions;
constexpr unsigned int theAsynchronous =
    theDtInetSockDefaultOptions | DtInetSockAsyncReceive | DtInetSockAsyncSend;

/// Main memory that the process has, in bytes.
double resident_bytes() {
    long pages = 0;
    if (std::FILE* const file = std::fopen("/proc/self/statm", "r")) {
        if (std::fscanf(file, "%*d %ld", &pages) != 1)
            pages = 0;
        std::fclose(file);
    }
    return static_cast<double>(pages) * static_cast<double>(sysconf(_SC_PAGESIZE));
}

double heap_bytes(const bench::CountedAllocations& counted) {
    return static_cast<double>(counted.heldBytes());
}

/// Which of the two to report.
enum class Bytes { ofHeap, resident };

/// What one more object takes that `make` makes; the first one may set up what all share.
template <typename Make>
double bytesOfOne(Bytes bytes, Make make) {
    constexpr int count = 32;
    const auto first = make();
    std::vector<decltype(make())> objects;
    objects.reserve(count);
    malloc_trim(0);
    const bench::CountedAllocations counted;
    const double before = resident_bytes();
    const double heapBefore = heap_bytes(counted);
    for (int i = 0; i < count; ++i)
        objects.push_back(make());
    return (bytes == Bytes::ofHeap ? heap_bytes(counted) - heapBefore : resident_bytes() - before) /
           count;
}

DtInetEndpoint loopback(DtInetProtocol protocol) {
    return {DtInetAddr("127.0.0.1"), 0, protocol};
}

auto udpSocket(unsigned int options) {
    return [options] {
        return std::make_unique<DtInetUdpSocket>(loopback(DtInetUdp), 0, nullptr, options, true);
    };
}

auto disSocket(unsigned int options) {
    return [options] {
        return std::make_unique<DtDisSocket>(loopback(DtInetUdp), 0, nullptr, options, true, false);
    };
}

/// A client connected to a bare socket that only listens.
auto tcpClient(unsigned int options) {
    static const sockaddr_in address = [] {
        sockaddr_in bound{};
        bound.sin_family = AF_INET;
        bound.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof bound;
        const int number = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        if (bind(number, reinterpret_cast<sockaddr*>(&bound), size) != 0 ||
            listen(number, 4096) != 0 ||
            getsockname(number, reinterpret_cast<sockaddr*>(&bound), &size) != 0)
            std::abort();
        return bound;
    }();
    return [options] {
        const DtInetEndpoint server(DtInetAddr(address), ntohs(address.sin_port), DtInetTcp);
        auto client = std::make_unique<DtInetTcpSocket>(server, 0, nullptr, options, true);
        if (!client->connectToDestination())
            std::abort();
        return client;
    };
}

void idleSockets(benchmark::State& state, Bytes bytes) {
    for (auto _ : state) {
    }
    auto& counters = state.counters;
    counters["UDP"] = bytesOfOne(bytes, udpSocket(theSynchronous));
    counters["UDP, asynchronous"] = bytesOfOne(bytes, udpSocket(theAsynchronous));
    counters["TCP, connected"] = bytesOfOne(bytes, tcpClient(theSynchronous));
    counters["TCP, connected, asynchronous"] = bytesOfOne(bytes, tcpClient(theAsynchronous));
    counters["DIS"] = bytesOfOne(bytes, disSocket(theSynchronous));
    counters["DIS, asynchronous"] = bytesOfOne(bytes, disSocket(theAsynchronous));
}
BENCHMARK_CAPTURE(idleSockets, heap, Bytes::ofHeap)->Name("IdleSocket/Heap")->Iterations(1);
BENCHMARK_CAPTURE(idleSockets, resident, Bytes::resident)
    ->Name("IdleSocket/Resident")
    ->Iterations(1);

// ------------------------------------------------------------------------------------------------
// Rows

constexpr int theRows = 100000;

std::string numbered(const char* text, int i) {
    return text + std::to_string(i);
}

void oursOfRows(benchmark::State& state) {
    for (auto _ : state) {
        const bench::CountedAllocations counted;
        Tests::TestTarget target("Generated");
        for (int i = 0; i < theRows; ++i) {
            auto row = std::make_unique<DtSimpleDatatypeType>();
            row->name = numbered("Length", i).c_str();
            row->representation = "HLAfloat64BE";
            row->units = "metre";
            row->resolution = "0.1";
            row->accuracy = "perfect";
            row->semantics = "A length along one axis of the local frame";
            target.addSimpleDataType(row.release());
        }
        const double target_bytes = heap_bytes(counted);
        const Tests::TestTarget copy(target);
        state.counters["100,000 simple datatypes"] = target_bytes;
        state.counters["a copy that shares the rows"] = heap_bytes(counted) - target_bytes;
    }
}
BENCHMARK(oursOfRows)->Name("Rows/Ours")->Iterations(1);

struct StandardRow {
    std::string name, representation, units, resolution, accuracy, semantics;
};

struct ByName {
    bool operator()(const std::shared_ptr<StandardRow>& left,
                    const std::shared_ptr<StandardRow>& right) const {
        return left->name < right->name;
    }
};

void standardOfRows(benchmark::State& state) {
    for (auto _ : state) {
        const bench::CountedAllocations counted;
        std::set<std::shared_ptr<StandardRow>, ByName> rows;
        for (int i = 0; i < theRows; ++i)
            rows.insert(std::make_shared<StandardRow>(
                StandardRow{numbered("Length", i), "HLAfloat64BE", "metre", "0.1", "perfect",
                            "A length along one axis of the local frame"}));
        const double rows_bytes = heap_bytes(counted);
        const auto copy = rows;
        state.counters["100,000 simple datatypes"] = rows_bytes;
        state.counters["a copy that shares the rows"] = heap_bytes(counted) - rows_bytes;
    }
}
BENCHMARK(standardOfRows)->Name("Rows/Std")->Iterations(1);

}  // namespace
