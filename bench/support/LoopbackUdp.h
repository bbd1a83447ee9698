#ifndef RTIQNUTIL_BENCH_LOOPBACKUDP_H
#define RTIQNUTIL_BENCH_LOOPBACKUDP_H

#include <array>
#include <benchmark/benchmark.h>
#include <cstddef>
#include <cstdlib>
#include <ctime>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include "InetUdpSocket.h"

namespace bench {

inline void require(bool held) {
    if (!held)
        std::abort();
}

/// On loopback, with a port of the system's choice.
inline OrynRti::DtInetEndpoint anyLoopbackPort() {
    return OrynRti::DtInetEndpoint(OrynRti::DtInetAddr("127.0.0.1"), 0, OrynRti::DtInetUdp);
}

/// The bare system calls: a socket on loopback.
class BareUdpSocket {
public:
    BareUdpSocket() : number_(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
        address_.sin_family = AF_INET;
        address_.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        auto* const address = reinterpret_cast<sockaddr*>(&address_);
        socklen_t size = sizeof address_;
        require(bind(number_, address, size) == 0);
        require(getsockname(number_, address, &size) == 0);
    }
    BareUdpSocket(const BareUdpSocket&) = delete;
    BareUdpSocket& operator=(const BareUdpSocket&) = delete;
    ~BareUdpSocket() { close(number_); }

    unsigned short port() const { return ntohs(address_.sin_port); }
    OrynRti::DtInetEndpoint endpoint() const {
        return {OrynRti::DtInetAddr(address_), port(), OrynRti::DtInetUdp};
    }

    /// To a port of loopback.
    void sendTo(unsigned short port, const char* bytes, std::size_t size) {
        sockaddr_in to = address_;
        to.sin_port = htons(port);
        require(sendto(number_, bytes, size, 0, reinterpret_cast<const sockaddr*>(&to),
                       sizeof to) == static_cast<ssize_t>(size));
    }

    /// The size of the next datagram, after waiting for it.
    int receive(char* buffer, std::size_t room) {
        socklen_t size = sizeof sender_;
        return static_cast<int>(
            recvfrom(number_, buffer, room, 0, reinterpret_cast<sockaddr*>(&sender_), &size));
    }
    unsigned short senderPort() const { return ntohs(sender_.sin_port); }

    /// The kernel is to tell with each datagram when it came.
    void askForTime() {
        const int on = 1;
        require(setsockopt(number_, SOL_SOCKET, SO_TIMESTAMPNS, &on, sizeof on) == 0);
    }

    /// As receive(), and takes the time.
    int receiveWithTime(char* buffer, std::size_t room) {
        alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(timespec))> control;
        iovec part{buffer, room};
        msghdr message{};
        message.msg_name = &sender_;
        message.msg_namelen = sizeof sender_;
        message.msg_iov = &part;
        message.msg_iovlen = 1;
        message.msg_control = control.data();
        message.msg_controllen = control.size();
        const auto size = static_cast<int>(recvmsg(number_, &message, 0));
        const cmsghdr* const header = CMSG_FIRSTHDR(&message);
        require(header != nullptr && header->cmsg_type == SCM_TIMESTAMPNS);
        return size;
    }

    /// What is there is thrown away.
    void drain() {
        char byte;
        while (recv(number_, &byte, 1, MSG_DONTWAIT) >= 0) {
        }
    }

private:
    int number_;
    sockaddr_in address_{};
    sockaddr_in sender_{};
};

inline double processorTime_s(clockid_t clock) {
    timespec time;
    clock_gettime(clock, &time);
    return double(time.tv_sec) + 1e-9 * double(time.tv_nsec);
}

/// Times `work` on `items` items; `prepare` goes before each time and does not count. What counts
/// is the processor time of this thread, in which the loopback interface works as well: other load
/// on the machine does not. The seconds in all.
template <typename Prepare, typename Work>
double timeBursts(benchmark::State& state, int items, Prepare prepare, Work work) {
    double total_s = 0;
    for (auto _ : state) {
        prepare();
        const double begin = processorTime_s(CLOCK_THREAD_CPUTIME_ID);
        work();
        const double time_s = processorTime_s(CLOCK_THREAD_CPUTIME_ID) - begin;
        state.SetIterationTime(time_s);
        total_s += time_s;
    }
    state.SetItemsProcessed(state.iterations() * items);
    return total_s;
}

}  // namespace bench

#endif
