#ifndef RTIQNUTIL_SRC_NET_TCPOPTIONS_H
#define RTIQNUTIL_SRC_NET_TCPOPTIONS_H

/// The settings that a stream socket has beside those that it shares with datagram sockets. Each
/// returns 0 or the system's error number.
namespace OrynRti::TcpOptions {

int setNoDelay(int descriptor, bool on);
int setKeepAlive(int descriptor, bool on);
int getKeepAlive(int descriptor, bool& on);

/// How long close() waits; 0 for not at all, with what was sent going out all the same.
int setLinger(int descriptor, unsigned short seconds);
int getLinger(int descriptor, unsigned short& seconds);

}  // namespace OrynRti::TcpOptions

#endif
