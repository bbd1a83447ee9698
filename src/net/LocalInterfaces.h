#ifndef RTIQNUTIL_SRC_NET_LOCALINTERFACES_H
#define RTIQNUTIL_SRC_NET_LOCALINTERFACES_H

#include <string>
#include <vector>

#include "InetAddr.h"

namespace OrynRti {

/// One network interface as the system describes it.
struct LocalInterface {
    std::string name;
    unsigned int index = 0;
    unsigned int mtu = 0;
    unsigned int flags = 0;  ///< IFF_UP and its relatives.
    std::vector<DtInetAddr> addresses;
    std::vector<DtInetAddr> broadcastAddresses;
};

/// All interfaces of this host, those without addresses too. When the system cannot tell, there
/// is a warning and none.
std::vector<LocalInterface> localInterfaces();

}  // namespace OrynRti

#endif
