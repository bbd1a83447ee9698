#ifndef RTIQN_DIS_SEND_COMMAND_H
#define RTIQN_DIS_SEND_COMMAND_H

#include <cstdint>

#include "DatagramSender.h"

namespace RtiqnDis {

struct SendOptions {
    SendingOptions sending;
    unsigned int entities = 1;
    double rate_hz = 1;     ///< Entity State PDUs of each entity per second
    double duration_s = 0;  ///< 0 for no end
    std::uint8_t exercise = 1;
    std::uint8_t version = 7;
};

/// Sends the Entity State PDUs of moving ships. The exit status; throws NetworkError, UsageError.
int runSend(const SendOptions& options);

}  // namespace RtiqnDis

#endif
