#ifndef RTIQN_PACKETSERVER_CONTROL_CLIENT_H
#define RTIQN_PACKETSERVER_CONTROL_CLIENT_H

#include <chrono>
#include <string>
#include <vector>

#include "CliServer.h"
#include "ShmPool.h"
#include "ShmReader.h"
#include "ShmSemaphores.h"
#include "common/Descriptor.h"

namespace RtiqnPacketServer {

/// Whether there is a process behind the control path of a key. What a killed server has left does
/// not count.
bool isServerThere(int key);

/// What the server tells of itself and of the client that asks.
struct ServerState {
    OrynRti::DtCsStateReturnRecord server;
    OrynRti::DtCsCStateReturnRecord client;
};

/// Asks a server and tells it what to do, from another process. No call waits longer than the
/// timeout.
///
/// Errors:    all throw a ProgramError: with theOtherwise when there is no server, with
///            theNoAnswer when it does not answer in time
class ControlClient {
public:
    ControlClient(int key, double timeout_s);

    /// Leaves the server.
    ~ControlClient();
    ControlClient(const ControlClient&) = delete;
    ControlClient& operator=(const ControlClient&) = delete;

    /// As it was when the connection was made, or at the last ask().
    const ServerState& state() const { return state_; }

    /// Asks for the state anew.
    void ask();

    /// Asks what the server has counted: see Server::figures().
    std::string askFigures();

    /// A DtCsRequest that concerns the server as a whole.
    void request(OrynRti::DtCsRequest what) { send(what, 0); }

    /// Until the server has said that it ends.
    void awaitClosing();

private:
    using Clock = std::chrono::steady_clock;

    /// Takes records until there is one of the kind.
    template <typename Record>
    void await(Record& record);
    bool take(int& length);
    void wait(Clock::time_point end);
    void add();
    void send(OrynRti::DtCsRequest what, std::uint32_t client);
    void check(int sent) const;
    [[noreturn]] void noAnswer() const;

    int key_;
    double timeout_s_;
    RtiqnTools::Descriptor socket_;
    OrynRti::DtSharedMemoryPoolManager pool_;
    OrynRti::DtShmSemaphores semaphores_;
    OrynRti::DtShmMsgQueueReader reader_;
    std::vector<char> record_;  ///< The one that was read last.
    ServerState state_;
};

}  // namespace RtiqnPacketServer

#endif
