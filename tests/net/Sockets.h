#ifndef TESTS_NET_SOCKETS_H
#define TESTS_NET_SOCKETS_H

#include <cerrno>
#include <gtest/gtest.h>
#include <poll.h>
#include <string>
#include <sys/socket.h>

#include "InetSocket.h"

// What the tests of all sockets have in common.
namespace OrynRti::Tests {

constexpr unsigned int theBlocking = theDtInetSockDefaultOptions;
constexpr unsigned int theNonBlocking = theBlocking | DtInetSockNonBlocking;
constexpr unsigned int theAsyncReceive = theBlocking | DtInetSockAsyncReceive;
constexpr unsigned int theAsyncSend = theBlocking | DtInetSockAsyncSend;
constexpr unsigned int theAsync = theAsyncReceive | DtInetSockAsyncSend;

/// Longer than anything takes that a test waits for.
constexpr int theLongWait_ms = 30000;

inline bool awaitEvent(int descriptor, short events, int timeout_ms = theLongWait_ms) {
    pollfd waited{descriptor, events, 0};
    int ready = -1;
    while ((ready = poll(&waited, 1, timeout_ms)) < 0 && errno == EINTR) {
    }
    return ready == 1;
}

inline bool isReadable(int descriptor, int timeout_ms = 0) {
    return awaitEvent(descriptor, POLLIN, timeout_ms);
}

/// What a receiving call brought: the text, or its result in parentheses, "(0)" for nothing.
inline std::string textOrResult(const std::string& buffer, int size) {
    return size > 0 ? buffer.substr(0, static_cast<std::size_t>(size))
                    : "(" + std::to_string(size) + ")";
}

/// Number and text of the last error, "0 " for none.
inline std::string lastError(const DtInetSocket& socket) {
    return std::to_string(socket.getLastError()) + " " + socket.getLastErrorString().c_str();
}

/// What a getter says, which has to be able to.
template <typename Socket, typename Base, typename Value>
Value asked(Socket& socket, bool (Base::*getter)(Value&)) {
    Value value{};
    EXPECT_TRUE((socket.*getter)(value));
    return value;
}

/// What the system says of an option of a descriptor.
inline int optionOf(int descriptor, int level, int name) {
    int value = -1;
    socklen_t size = sizeof value;
    getsockopt(descriptor, level, name, &value, &size);
    return value;
}

}  // namespace OrynRti::Tests

#endif
