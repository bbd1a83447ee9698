#include "net/TcpOptions.h"

#include <cerrno>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

namespace OrynRti::TcpOptions {

namespace {

int setFlag(int descriptor, int level, int name, bool on) {
    const int value = on;
    return setsockopt(descriptor, level, name, &value, sizeof value) == 0 ? 0 : errno;
}

}  // namespace

int setNoDelay(int descriptor, bool on) {
    return setFlag(descriptor, IPPROTO_TCP, TCP_NODELAY, on);
}

int setKeepAlive(int descriptor, bool on) {
    return setFlag(descriptor, SOL_SOCKET, SO_KEEPALIVE, on);
}

int getKeepAlive(int descriptor, bool& on) {
    int value = 0;
    socklen_t size = sizeof value;
    if (getsockopt(descriptor, SOL_SOCKET, SO_KEEPALIVE, &value, &size) != 0)
        return errno;
    on = value != 0;
    return 0;
}

// To the system a time of 0 means to reset the connection, which is never asked for here.

int setLinger(int descriptor, unsigned short seconds) {
    const linger value{seconds != 0, seconds};
    return setsockopt(descriptor, SOL_SOCKET, SO_LINGER, &value, sizeof value) == 0 ? 0 : errno;
}

int getLinger(int descriptor, unsigned short& seconds) {
    linger value{};
    socklen_t size = sizeof value;
    if (getsockopt(descriptor, SOL_SOCKET, SO_LINGER, &value, &size) != 0)
        return errno;
    seconds = value.l_onoff != 0 ? static_cast<unsigned short>(value.l_linger) : 0;
    return 0;
}

}  // namespace OrynRti::TcpOptions
