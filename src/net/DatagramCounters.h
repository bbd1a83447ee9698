#ifndef RTIQNUTIL_SRC_NET_DATAGRAMCOUNTERS_H
#define RTIQNUTIL_SRC_NET_DATAGRAMCOUNTERS_H

#include <atomic>
#include <cstdint>

#include "InetUdpSocket.h"
#include "net/SharedCounter.h"

namespace OrynRti {

/// What DtInetUdpSocket::Counters tells, while it is being counted by several threads.
struct DatagramCounters {
    using Counter = std::atomic<std::uint64_t>;

    SharedCounter datagramsOnWire;  ///< The gate is that of the UDP socket.
    SharedCounter bytesOnWire;
    Counter sendsRefused{0};
    Counter asyncSendsFailed{0};
    Counter portUnreachable{0};
    Counter kernelDrops{0};
    Counter receiveQueueDrops{0};
    Counter truncatedDatagrams{0};
    Counter emptyDatagrams{0};

    static void add(Counter& counter, std::uint64_t amount = 1) {
        counter.fetch_add(amount, std::memory_order_relaxed);
    }

    void countOnWire(const DescriptorGate::Use& use, std::uint64_t bytes) {
        datagramsOnWire.add(use, 1);
        bytesOnWire.add(use, bytes);
    }
    void countOnWire(std::uint64_t datagrams, std::uint64_t bytes) {
        datagramsOnWire.add(datagrams);
        bytesOnWire.add(bytes);
    }

    /// Takes the kernel's own count for the open descriptor, which wraps around. Threads may bring
    /// older counts after newer ones.
    void noteKernelDrops(std::uint32_t count) {
        std::uint32_t known = kernelCount_.load(std::memory_order_relaxed);
        do {
            if (static_cast<std::int32_t>(count - known) <= 0)
                return;
        } while (!kernelCount_.compare_exchange_weak(known, count, std::memory_order_relaxed));
        add(kernelDrops, count - known);
    }

    /// The kernel begins anew with each descriptor.
    void forgetKernelCount() { kernelCount_ = 0; }

    void clear() {
        for (Counter* counter : {&sendsRefused, &asyncSendsFailed, &portUnreachable, &kernelDrops,
                                 &receiveQueueDrops, &truncatedDatagrams, &emptyDatagrams})
            counter->store(0, std::memory_order_relaxed);
        datagramsOnWire.clear();
        bytesOnWire.clear();
    }

    DtInetUdpSocket::Counters snapshot() const {
        return {datagramsOnWire.total(), bytesOnWire.total(), sendsRefused,
                asyncSendsFailed,        portUnreachable,     kernelDrops,
                receiveQueueDrops,       truncatedDatagrams,  emptyDatagrams};
    }

private:
    std::atomic<std::uint32_t> kernelCount_{0};
};

}  // namespace OrynRti

#endif
