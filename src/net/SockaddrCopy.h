#ifndef RTIQNUTIL_SRC_NET_SOCKADDRCOPY_H
#define RTIQNUTIL_SRC_NET_SOCKADDRCOPY_H

#include <cstring>

namespace OrynRti {

/// Reads a socket address as the type that its family says. The system hands out one type in
/// the storage of another, which only a copy may look into. The caller owes storage of at least
/// that size.
template <typename Sockaddr>
Sockaddr readSockaddr(const void* storage) {
    Sockaddr addr;
    std::memcpy(&addr, storage, sizeof addr);
    return addr;
}

}  // namespace OrynRti

#endif
