#include "ControlClient.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <thread>

#include "Errors.h"
#include "Exceptions.h"
#include "PoolName.h"
#include "Print.h"

namespace RtiqnPacketServer {

using namespace OrynRti;

namespace {

constexpr int theQueue_bytes = 1 << 17;
constexpr int theLargestRecord_bytes = theQueue_bytes;  // figures of as many clients as may be

std::string pathOf(int key) {
    char path[theDtRequestPathSize];
    DtPacketServerRequestPath(key, path, DtRequestPathControl);
    return path;
}

/// Not open when nobody is there.
Descriptor connectTo(int key) {
    const int level = std::exchange(DtNotifyLevel, 0);  // that there is no server is an answer
    Descriptor socket(DtOpenUnixDgram(pathOf(key).c_str(), DtUnixDgramConnect));
    DtNotifyLevel = level;
    if (socket.isOpen())
        ::fcntl(socket.number(), F_SETFL, O_NONBLOCK);
    return socket;
}

Descriptor reach(int key) {
    Descriptor socket = connectTo(key);
    if (!socket.isOpen())
        throw ProgramError(theOtherwise, "there is no packet server with key " +
                                             std::to_string(key) +
                                             "; 'rtiqn-packetserver run' starts one");
    return socket;
}

/// The user whose server it is, in words, when that is not the one who asks.
std::string otherUser(int key) {
    struct stat found {};
    if (::stat(pathOf(key).c_str(), &found) != 0 || found.st_uid == ::geteuid())
        return "";
    const passwd* const user = ::getpwuid(found.st_uid);
    return user != nullptr ? user->pw_name : std::to_string(found.st_uid);
}

/// Of this process alone: a segment that somebody else has joined is not taken.
const DtSharedMemoryPoolManager& narrowed(DtSharedMemoryPoolManager& pool) {
    if (!pool.restrictToOwner() || pool.creatorPid() != ::getpid() || pool.attachCount() != 1)
        throw NetworkError("there is no shared memory to be had for the answers");
    return pool;
}

}  // namespace

bool isServerThere(int key) {
    return connectTo(key).isOpen();
}

ControlClient::ControlClient(int key, double timeout_s) try
    : key_(key),
      timeout_s_(timeout_s),
      socket_(reach(key)),
      pool_(DtString(PoolName::make(key, ::getpid(), 0).c_str()),
            DtShmMsgQueueManager::segmentSize(theQueue_bytes)),
      semaphores_(narrowed(pool_)),
      reader_(static_cast<Dt_Shm_Msg_Queue*>(pool_.address()), theQueue_bytes, semaphores_.id(), 0,
              false, true, true),
      record_(theLargestRecord_bytes) {
    add();
    await(state_.server);
    await(state_.client);
} catch (const DtException& problem) {
    throw NetworkError(std::string("there is no shared memory to be had: ") + problem.message());
}

ControlClient::~ControlClient() {
    DtCsControlReqMsg leave(socket_.number());
    leave.setRequest(DtCsLeave);
    leave.setClientId(state_.client.clientId);
    const int level = std::exchange(DtNotifyLevel, 0);  // it may be gone
    leave.send();
    DtNotifyLevel = level;
}

void ControlClient::add() {
    DtCsAddClientMsg message(socket_.number());
    message.setModeBits(DtCsRead);
    message.setProcessId(::getpid());
    message.setQueueSize(theQueue_bytes);
    message.setClientType(DtCsControlClient);
    message.setPoolName(pool_.name());
    check(message.send());
}

void ControlClient::ask() {
    send(DtCsAskState, state_.client.clientId);
    await(state_.server);
    await(state_.client);
}

std::string ControlClient::askFigures() {
    send(DtCsAskFigures, state_.client.clientId);
    DtCsServerPacketRecord record;
    await(record);
    return {record_.data() + sizeof record, record.packetLength};
}

void ControlClient::send(DtCsRequest what, std::uint32_t client) {
    DtCsControlReqMsg message(socket_.number());
    message.setRequest(what);
    message.setClientId(client);
    check(message.send());
}

/// A server that is stopped has no room some time.
void ControlClient::check(int sent) const {
    if (sent <= 0)
        noAnswer();
}

void ControlClient::noAnswer() const {
    const std::string user = otherUser(key_);
    throw ProgramError(theNoAnswer,
                       "the packet server with key " + std::to_string(key_) + " does not answer" +
                           (user.empty() ? "; it may be stopped" : "; it is user " + user + "'s"));
}

// -------------------------------------------------------------------------------------------

void ControlClient::awaitClosing() {
    DtCsNoticeRecord notice;
    do
        await(notice);
    while (notice.code != DtCsClosing);
}

template <typename Record>
void ControlClient::await(Record& record) {
    const Clock::time_point end = Clock::now() + std::chrono::duration_cast<Clock::duration>(
                                                     std::chrono::duration<double>(timeout_s_));
    int length = 0;
    for (;;) {
        if (!take(length))
            wait(end);
        else if (DtCsReadRecord(record_.data(), length, record))
            return;
    }
}

/// False when there is nothing. The byte that tells readers to go hides what was said before.
bool ControlClient::take(int& length) {
    int status = 0;
    length = reader_.Read(record_.data(), theLargestRecord_bytes, &status);
    if (status == DtShmReadGoAway && reader_.goAway() != 0) {
        reader_.setGoAway(0);
        length = reader_.Read(record_.data(), theLargestRecord_bytes, &status);
    }
    return length >= 0;
}

void ControlClient::wait(Clock::time_point end) {
    const double left_s = std::chrono::duration<double>(end - Clock::now()).count();
    if (left_s <= 0 || reader_.waitForPacket(std::min(left_s, 0.1)) < 0)
        noAnswer();
    // A server that was stopped may hold the lock: there is a packet then, but no record.
    std::this_thread::sleep_for(std::chrono::microseconds(100));
}

}  // namespace RtiqnPacketServer
