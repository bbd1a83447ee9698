#ifndef RTIQN_PACKETSERVER_SIGNALS_H
#define RTIQN_PACKETSERVER_SIGNALS_H

#include <csignal>

#include "common/Descriptor.h"

namespace RtiqnPacketServer {

/// SIGINT, SIGTERM and SIGUSR1 as something to wait for in poll(): they interrupt nothing any more,
/// from the making of the object to the end of the process.
///
/// Errors:    the constructor throws NetworkError
class Signals {
public:
    Signals();

    int descriptor() const { return descriptor_.number(); }

    /// The number of the next one that came; 0 when there is none.
    int next();

private:
    RtiqnTools::Descriptor descriptor_;
};

}  // namespace RtiqnPacketServer

#endif
