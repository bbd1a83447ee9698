#include "IpAddress.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cstring>
#include <sys/socket.h>

#include "InetEndpoint.h"

namespace RtiqnDis {

using namespace OrynRti;

namespace {

sockaddr_storage socketAddress(const IpAddress& address, std::uint16_t port) {
    sockaddr_storage storage{};
    if (address.family == 4) {
        sockaddr_in out{};
        out.sin_family = AF_INET;
        out.sin_port = htons(port);
        std::memcpy(&out.sin_addr, address.bytes.data(), sizeof out.sin_addr);
        std::memcpy(&storage, &out, sizeof out);
    } else {
        sockaddr_in6 out{};
        out.sin6_family = AF_INET6;
        out.sin6_port = htons(port);
        std::memcpy(&out.sin6_addr, address.bytes.data(), sizeof out.sin6_addr);
        std::memcpy(&storage, &out, sizeof out);
    }
    return storage;
}

std::string toStandard(const DtString& text) {
    return text.c_str() ? text.c_str() : "";
}

}  // namespace

IpAddress IpAddress::read(ByteView view) {
    IpAddress address;
    address.family = view.size() == 4 ? 4 : 6;
    std::copy_n(view.data(), std::min(view.size(), address.bytes.size()), address.bytes.begin());
    return address;
}

std::string IpAddress::text() const {
    return toStandard(DtInetAddr(socketAddress(*this, 0)).toDtString());
}

std::string endpointText(const IpAddress& address, std::uint16_t port) {
    DtInetEndpoint endpoint;
    endpoint.fromAddrStorage(DtInetUdp, socketAddress(address, port));
    return toStandard(endpoint.toDtString(false));
}

}  // namespace RtiqnDis
