#ifndef RTIQN_PACKETSERVER_REQUEST_SOCKET_H
#define RTIQN_PACKETSERVER_REQUEST_SOCKET_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>

#include "CliServerRecords.h"
#include "common/Descriptor.h"

namespace RtiqnPacketServer {

/// Where a request came from, and answers go to.
struct ClientAddress {
    sockaddr_un address{};
    socklen_t size = 0;
};

/// A record from a client. The system vouches for the sender.
struct Request {
    /// One byte more than the largest record, so that what is too large is told.
    char bytes[sizeof(OrynRti::DtCsAddClientRecord) + 1];
    int length = 0;
    ucred sender{};
    ClientAddress address;
};

/// One of the server's two sockets, at a path that goes with the object. No operation waits.
class RequestSocket {
public:
    /// `which` is a DtRequestPath. Replaces what a server has left there that was killed. Throws
    /// NetworkError.
    RequestSocket(int key, int which);
    ~RequestSocket();
    RequestSocket(const RequestSocket&) = delete;
    RequestSocket& operator=(const RequestSocket&) = delete;

    int descriptor() const { return socket_.number(); }

    /// Takes one record. False when there is none. The process of a sender that the system does
    /// not vouch for is 0.
    bool receive(Request& request);

    /// False when it cannot be sent just now, or ever.
    template <typename Record>
    bool answer(const ClientAddress& to, const Record& record) {
        return send(to, &record, sizeof record);
    }

private:
    bool send(const ClientAddress& to, const void* bytes, std::size_t size);

    std::string path_;
    RtiqnTools::Descriptor socket_;
};

}  // namespace RtiqnPacketServer

#endif
