#include "transport/PacketServerClientSocket.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <poll.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <sys/timerfd.h>
#include <sys/un.h>

namespace OrynRti {

namespace {

using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

/// One poll() of at most that many seconds; a signal may end it early.
void pollOnce(int descriptor, short events, double seconds) {
    pollfd waited{descriptor, events, 0};
    const double most = 3600.0;
    poll(&waited, 1, static_cast<int>(std::ceil(std::clamp(seconds, 0.0, most) * 1000)));
}

bool connectTo(int socket, const char* path) {
    sockaddr_un own{};
    own.sun_family = AF_UNIX;
    const socklen_t noName = sizeof own.sun_family;  // the system chooses the address
    if (bind(socket, reinterpret_cast<const sockaddr*>(&own), noName) != 0)
        return false;
    sockaddr_un server{};
    server.sun_family = AF_UNIX;
    const std::size_t length = std::strlen(path);
    if (length >= sizeof server.sun_path) {
        errno = ENAMETOOLONG;
        return false;
    }
    std::memcpy(server.sun_path, path, length);
    return repeatedCall([&] {
               return connect(socket, reinterpret_cast<const sockaddr*>(&server), sizeof server);
           }) == 0;
}

bool watch(int both, int descriptor) {
    epoll_event event{};
    event.events = EPOLLIN;
    return epoll_ctl(both, EPOLL_CTL_ADD, descriptor, &event) == 0;
}

}  // namespace

bool PacketClientSocket::connect(const char* path) {
    socket_ = Descriptor(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    return socket_.number() >= 0 && connectTo(socket_.number(), path);
}

// The system tells first that the peer is refused (ECONNREFUSED), and from then on that there
// is none (ENOTCONN).
PacketClientSocket::Sent PacketClientSocket::send(const void* record, std::size_t length,
                                                  double timeout_s) {
    const auto end = Clock::now() + std::chrono::duration_cast<Clock::duration>(Seconds(timeout_s));
    for (;;) {
        if (repeatedCall([&] { return ::send(socket_.number(), record, length, MSG_NOSIGNAL); }) >=
            0)
            return Sent::Done;
        const int error = errno;
        if (error == ECONNREFUSED || error == ENOTCONN || error == ECONNRESET || error == EPIPE)
            return Sent::Gone;
        if (error != EAGAIN && error != ENOBUFS)
            return Sent::Failed;
        const double left_s = Seconds(end - Clock::now()).count();
        if (left_s <= 0)
            return Sent::NoRoom;
        // Not all of the time in one: a server that dies need not end the wait. The socket does
        // not tell when the system has memory again (ENOBUFS).
        constexpr double slice_s = 0.1;
        pollOnce(error == EAGAIN ? socket_.number() : -1, POLLOUT, std::min(left_s, slice_s));
    }
}

int PacketClientSocket::receive(void* buffer, std::size_t size) {
    return static_cast<int>(
        repeatedCall([&] { return recv(socket_.number(), buffer, size, MSG_DONTWAIT); }));
}

void PacketClientSocket::wait(double seconds) {
    pollOnce(socket_.number(), POLLIN, seconds);
}

int PacketClientSocket::pollDescriptor() {
    if (hasPollDescriptor())
        return both_.number();
    Descriptor both(epoll_create1(EPOLL_CLOEXEC));
    Descriptor timer(timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK));
    if (both.number() < 0 || timer.number() < 0 || !watch(both.number(), socket_.number()) ||
        !watch(both.number(), timer.number()))
        return -1;
    both_ = std::move(both);
    timer_ = std::move(timer);
    return both_.number();
}

void PacketClientSocket::wakeAfter(double seconds) {
    if (!hasPollDescriptor())
        return;
    itimerspec when{};
    when.it_value.tv_sec = static_cast<time_t>(seconds);
    when.it_value.tv_nsec = static_cast<long>(std::fmod(seconds, 1.0) * 1e9);
    timerfd_settime(timer_.number(), 0, &when, nullptr);
}

}  // namespace OrynRti
