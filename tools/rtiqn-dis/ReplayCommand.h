#ifndef RTIQN_DIS_REPLAY_COMMAND_H
#define RTIQN_DIS_REPLAY_COMMAND_H

#include <cstdint>
#include <optional>
#include <string>

#include "DatagramSender.h"

namespace RtiqnDis {

struct ReplayOptions {
    std::string path;
    SendingOptions sending;
    double speed = 1;
    bool topSpeed = false;
    double datagramsPerSecond = 0;  ///< 0: as the capture and the speed say
    std::uint64_t loops = 1;        ///< 0 for no end
    std::optional<std::uint8_t> exercise;
};

/// Sends the datagrams of a capture file to the network. The exit status; throws FileError,
/// NetworkError, UsageError.
int runReplay(const ReplayOptions& options);

}  // namespace RtiqnDis

#endif
