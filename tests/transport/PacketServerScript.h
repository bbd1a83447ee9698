#ifndef TESTS_TRANSPORT_PACKETSERVERSCRIPT_H
#define TESTS_TRANSPORT_PACKETSERVERSCRIPT_H

#include <memory>
#include <stdexcept>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <vector>

#include "CliServer.h"
#include "ShmPool.h"
#include "ShmSemaphores.h"
#include "ShmWriter.h"
#include "support/Files.h"
#include "transport/ShmSupport.h"

namespace OrynRti::Tests {

/// The directory of the servers' sockets is one of the test's own.
class ServerDirectory {
public:
    ServerDirectory() {
        if (!DtSetPacketServerDirectory(folder_.path()))
            throw std::runtime_error("no directory for the test");
    }
    ~ServerDirectory() { DtSetPacketServerDirectory("/tmp"); }

    static constexpr int theKey = 7;
    static std::string pathOf(int which) {
        char path[theDtRequestPathSize];
        DtPacketServerRequestPath(theKey, path, which);
        return path;
    }

private:
    const TemporaryFolder folder_;
};

/// The server's side of one client, to play as a test needs it: in a process of its own, since
/// that is what a client counts on.
class ScriptedServer {
public:
    /// Listens at once. Call it in the process that becomes the server, or before that.
    explicit ScriptedServer(int which = 2)
        : socket_(DtOpenUnixDgram(ServerDirectory::pathOf(which).c_str(), DtUnixDgramServe)) {}
    ~ScriptedServer() { ::close(socket_); }

    /// The next request; waits for it.
    template <typename Record>
    Record next() {
        char bytes[256];
        socklen_t size = sizeof client_;
        const ssize_t length =
            recvfrom(socket_, bytes, sizeof bytes, 0, reinterpret_cast<sockaddr*>(&client_), &size);
        clientSize_ = size;
        Record record;
        if (!DtCsReadRecord(bytes, static_cast<int>(length), record))
            throw std::runtime_error("another request was expected");
        return record;
    }

    /// Attaches to the client's queue.
    void attach(const DtCsAddClientRecord& request) {
        processId_ = request.processId;
        size_ = request.queueSize;
        pool = std::make_unique<DtSharedMemoryPoolClient>(DtString(request.poolName));
        semaphores = std::make_unique<DtShmSemaphores>(*pool);
        writer = std::make_unique<DtShmMsgQueueWriter>(queue(), size_, semaphores->id(), 0, true,
                                                       false, false);
    }

    /// Serves a client up to the point from which it gets packets.
    void serve() {
        attach(next<DtCsAddClientRecord>());
        write(DtCsStateReturnRecord());
        write(stateOfClient());
        next<DtCsAckRecord>();
    }

    DtCsCStateReturnRecord stateOfClient() const {
        DtCsCStateReturnRecord state;
        state.clientId = 5;
        state.processId = processId_;
        return state;
    }

    template <typename Record>
    void write(const Record& record) {
        writer->Write(reinterpret_cast<const char*>(&record), sizeof record);
    }

    void writePacket(const std::string& bytes, uint16_t sequence) {
        DtCsServerPacketMsg message(writer.get());
        message.setPacket(bytes.data(), static_cast<int>(bytes.size()));
        message.setSender(htonl(0x7f000001), 4711);
        message.setSequenceNumber(sequence);
        message.send();
    }

    void answer(const void* bytes, size_t length) {
        sendto(socket_, bytes, length, 0, reinterpret_cast<sockaddr*>(&client_), clientSize_);
    }

    void writeNotice(uint16_t code) {
        DtCsNoticeRecord notice;
        notice.code = code;
        write(notice);
        writer->setGoAway(1);
    }

    Dt_Shm_Msg_Queue* queue() const { return static_cast<Dt_Shm_Msg_Queue*>(pool->address()); }
    char* records() const { return reinterpret_cast<char*>(queue() + 1); }

    std::unique_ptr<DtSharedMemoryPoolClient> pool;
    std::unique_ptr<DtShmSemaphores> semaphores;
    std::unique_ptr<DtShmMsgQueueWriter> writer;

private:
    int socket_;
    sockaddr_un client_{};
    socklen_t clientSize_ = 0;
    int processId_ = 0;
    int size_ = 0;
};

/// Two processes that wait for each other.
class Gate {
public:
    Gate() {
        if (pipe(ends_) != 0)
            throw std::runtime_error("no pipe");
    }
    ~Gate() {
        ::close(ends_[0]);
        ::close(ends_[1]);
    }
    void open() { [[maybe_unused]] const ssize_t done = ::write(ends_[1], "", 1); }
    void pass() {
        char byte;
        [[maybe_unused]] const ssize_t done = ::read(ends_[0], &byte, 1);
    }

private:
    int ends_[2];
};

}  // namespace OrynRti::Tests

#endif
