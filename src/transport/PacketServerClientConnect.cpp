#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <system_error>
#include <unistd.h>

#include "CliServer.h"
#include "Exceptions.h"
#include "transport/PacketServerClientPimpl.h"

namespace OrynRti {

namespace {

constexpr double theFarewell_s = 0.1;  ///< How long leaving may wait for room.
constexpr double theLongestWait_s = 3600;
constexpr int theLargestRecord = int{sizeof(DtCsServerPacketRecord)} + 65536;
constexpr int theSmallestQueue = 1024;
constexpr int theLargestQueue = 67108864;

std::string textOf(double seconds) {
    char text[32];
    std::snprintf(text, sizeof text, "%g s", seconds);
    return text;
}

}  // namespace

DtPacketServerClientPimpl::DtPacketServerClientPimpl() : record_(theLargestRecord) {}

DtPacketServerClientPimpl::~DtPacketServerClientPimpl() {
    close();
}

bool DtPacketServerClientPimpl::fail(const std::string& text) {
    lastError = DtString(text);
    return false;
}

// -------------------------------------------------------------------------------------------
// Connecting

bool DtPacketServerClientPimpl::connect(int key, const DtPacketServerClientOptions& options) {
    close();
    process_ = getpid();
    server_ = "the packet server with key " + std::to_string(key);
    timeout_s_ = options.timeout_s > 0 ? std::min(options.timeout_s, theLongestWait_s) : 0;
    readCount_ = missedCount_ = 0;
    nextSequence_ = 0;
    isEnding_ = false;
    if (reach(key) && makeMemory(key, options) && addSelf() && waitForNumber() && askForWishes() &&
        sendAck(DtCsReady, timeout_s_))
        return true;
    close();
    return false;
}

bool DtPacketServerClientPimpl::reach(int key) {
    if (key < 0 || key > 99999)
        return fail("the key of a packet server is 0 to 99999, not " + std::to_string(key));
    char path[theDtRequestPathSize];
    DtPacketServerRequestPath(key, path, DtRequestPathPackets);
    if (socket_.emplace().connect(path))
        return true;
    if (errno == ENOENT && DtPacketServerIsAlive(key) == -1)
        return fail(server_ + " is internal: it serves no packet clients now");
    if (errno == ENOENT || errno == ECONNREFUSED)
        return fail("there is no packet server with key " + std::to_string(key));
    return fail(server_ + " cannot be reached: " + std::generic_category().message(errno));
}

bool DtPacketServerClientPimpl::makeMemory(int key, const DtPacketServerClientOptions& options) {
    if (options.queueSize_bytes < theSmallestQueue || options.queueSize_bytes > theLargestQueue)
        return fail("a queue has 1024 to 67108864 bytes, not " +
                    std::to_string(options.queueSize_bytes));
    queueSize_bytes_ = (options.queueSize_bytes + 7) / 8 * 8;
    try {
        memory_.emplace(key, queueSize_bytes_, options.allowOthers);
    } catch (const DtException& problem) {
        return fail(std::string("no shared memory for a queue: ") + problem.message());
    }
    // The first answer may wake us.
    memory_->reader().setNotifyReader(1);
    return true;
}

bool DtPacketServerClientPimpl::addSelf() {
    DtCsAddClientRecord request;
    request.modeBits = DtCsRead | DtCsNotify;
    request.processId = getpid();
    request.queueSize = queueSize_bytes_;
    request.clientType = DtCsPacketClient;
    std::strncpy(request.poolName, memory_->poolName().c_str(), sizeof request.poolName - 1);
    return report(socket_->send(&request, sizeof request, timeout_s_));
}

/// Until the server has told this client's number.
bool DtPacketServerClientPimpl::waitForNumber() {
    constexpr double slice_s = 0.02;  // for a server that does not grant to be woken
    const uint64_t warningsBefore = statistics.warnings;
    Deadline deadline(timeout_s_);
    for (;;) {
        const bool isLast = deadline.isOver();
        const Found found = look();
        if (isConnected())
            return true;
        if (found == Found::Broken || statistics.warnings != warningsBefore)
            return false;
        if (isEnding_ || isRefused())
            return fail(server_ +
                        " takes no client now: it has as many as it may have, or is "
                        "internal");
        if (isLast)
            return fail(server_ + " does not answer within " + textOf(timeout_s_) +
                        ": it is stopped, or not there for this user");
        if (found != Found::Other)
            socket_->wait(std::min(deadline.left_s(), slice_s));
    }
}

bool DtPacketServerClientPimpl::isRefused() {
    char bytes[16];
    int length = 0;
    bool refused = false;
    while (!refused && (length = socket_->receive(bytes, sizeof bytes)) >= 0)
        refused = DtCsKindOf(bytes, length) == DtCsCliQuota;
    return refused;
}

bool DtPacketServerClientPimpl::askForWishes() {
    for (const DtCsFilterTest test :
         {DtCsTestProtocolVersion, DtCsTestExerciseId, DtCsTestPduKind, DtCsTestSender})
        if (wishes.filters[test].isSet() && !askForFilter(test))
            return false;
    return std::all_of(wishes.groups.begin(), wishes.groups.end(),
                       [&](uint32_t group) { return sendGroup(DtCsJoinGroup, group); });
}

/// A child of fork() leaves without a word: the connection is its parent's.
void DtPacketServerClientPimpl::close() {
    if (isConnected() && !isEnding_ && process_ == getpid()) {
        DtCsControlReqRecord request;
        request.request = DtCsLeave;
        request.clientId = clientId_;
        socket_->send(&request, sizeof request, theFarewell_s);
    }
    clientId_ = 0;
    memory_.reset();
    socket_.reset();
    ending_ = DtPacketServerGone;
}

// -------------------------------------------------------------------------------------------
// Requests

/// Whether the request is on its way; if not, says why.
bool DtPacketServerClientPimpl::report(PacketClientSocket::Sent sent) {
    switch (sent) {
        case PacketClientSocket::Sent::Done:
            return true;
        case PacketClientSocket::Sent::NoRoom:
            ++statistics.requestsFailed;
            return fail(server_ + " has no room for a request within " + textOf(timeout_s_));
        case PacketClientSocket::Sent::Gone:
            startEnd(DtPacketServerGone);
            return fail(server_ + " is gone");
        default:
            ++statistics.requestsFailed;
            return fail("a request to " + server_ +
                        " cannot be sent: " + std::generic_category().message(errno));
    }
}

template <typename Record>
bool DtPacketServerClientPimpl::send(Record record) {
    record.clientId = clientId_;
    return report(socket_->send(&record, sizeof record, timeout_s_));
}

bool DtPacketServerClientPimpl::setFilter(DtCsFilterTest test, PacketFilterWish wish) {
    wishes.filters[test] = std::move(wish);
    return !isConnected() || askForFilter(test);
}

bool DtPacketServerClientPimpl::askForFilter(DtCsFilterTest test) {
    return wishes.filters[test].ask(
        test, [this](const DtCsFilterRecord& record) { return send(record); });
}

bool DtPacketServerClientPimpl::join(uint32_t group) {
    std::vector<uint32_t>& groups = wishes.groups;
    if (std::find(groups.begin(), groups.end(), group) != groups.end())
        return true;
    if (groups.size() >= PacketClientWishes::theMostGroups)
        return fail("a client has at most " + std::to_string(PacketClientWishes::theMostGroups) +
                    " groups");
    groups.push_back(group);
    return !isConnected() || sendGroup(DtCsJoinGroup, group);
}

bool DtPacketServerClientPimpl::leave(uint32_t group) {
    std::vector<uint32_t>& groups = wishes.groups;
    const auto found = std::find(groups.begin(), groups.end(), group);
    if (found == groups.end())
        return fail("this group was not joined");
    groups.erase(found);
    return !isConnected() || sendGroup(DtCsLeaveGroup, group);
}

bool DtPacketServerClientPimpl::sendGroup(DtCsGroupRequest request, uint32_t group) {
    DtCsMulticastReqRecord record;
    record.request = request;
    record.address = group;
    return send(record);
}

bool DtPacketServerClientPimpl::requestState() {
    if (!isConnected())
        return fail("not connected to a packet server");
    DtCsControlReqRecord record;
    record.request = DtCsAskState;
    return send(record);
}

}  // namespace OrynRti
