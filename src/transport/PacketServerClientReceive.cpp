#include <algorithm>
#include <atomic>
#include <cstring>
#include <ctime>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include "Print.h"
#include "transport/PacketServerClientPimpl.h"

namespace OrynRti {

namespace {

constexpr double theAliveInterval_s = 1.0;

/// Cheap, and right to some milliseconds.
double coarseTime_s() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

void pause_us(long microseconds) {
    const timespec time{0, microseconds * 1000};
    nanosleep(&time, nullptr);
}

void setSender(DtInetEndpoint& sender, const DtCsServerPacketRecord& packet) {
    sockaddr_storage storage{};
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = packet.senderAddress;
    address.sin_port = htons(static_cast<uint16_t>(packet.portAndSequence));
    std::memcpy(&storage, &address, sizeof address);
    sender.fromAddrStorage(DtInetUdp, storage);
}

}  // namespace

double DtPacketServerClientPimpl::Deadline::left_s() {
    constexpr double never_s = 1e9;
    if (timeout_s_ < 0)
        return never_s;
    if (!(timeout_s_ > 0))
        return 0;
    const auto now = std::chrono::steady_clock::now();
    if (!started_) {
        start_ = now;
        started_ = true;
    }
    return timeout_s_ - std::chrono::duration<double>(now - start_).count();
}

// -------------------------------------------------------------------------------------------
// Receiving

DtPacketOutcome DtPacketServerClientPimpl::receive(char* buffer, int size, int& length,
                                                   double timeout_s, DtInetEndpoint* sender) {
    constexpr int patience = 10;  // for a lock that is held
    constexpr int stretch = 256;  // records that are no packets, before the time is looked at
    length = 0;
    if (!isConnected())
        return ending_;
    keepAlive();
    Deadline deadline(timeout_s);
    bool armed = !socket_->hasPollDescriptor();
    for (int round = 1;; ++round) {
        const Found found = look();
        if (found == Found::Packet) {
            handOver(buffer, size, length, sender);
            return DtPacketReceived;
        }
        if (found == Found::Broken)
            return end(DtPacketFailed);
        if (found == Found::Nothing && isEnding_)
            return end(ending_);
        if (found == Found::Other && round % stretch != 0)
            continue;
        if (found == Found::Locked && round < patience) {
            pause_us(100);
            continue;
        }
        if (deadline.isOver()) {
            if (armed)
                return DtPacketNone;
            armed = true;
            armPoll();
            continue;
        }
        waitForPacket(found, deadline);
        keepAlive();
    }
}

void DtPacketServerClientPimpl::handOver(char* buffer, int size, int& length,
                                         DtInetEndpoint* sender) {
    length = static_cast<int>(packet_.packetLength);
    const int copied = buffer == nullptr ? 0 : std::clamp(size, 0, length);
    if (copied > 0)
        std::memcpy(buffer, record_.data() + sizeof packet_, static_cast<size_t>(copied));
    if (sender != nullptr)
        setSender(*sender, packet_);
    const auto sequence = static_cast<uint16_t>(packet_.portAndSequence >> 16);
    const auto missed = static_cast<uint16_t>(sequence - nextSequence_);
    nextSequence_ = static_cast<uint16_t>(sequence + 1);
    ++readCount_;
    missedCount_ += missed;
    ++statistics.read;
    statistics.missed += missed;
}

/// Not longer than until the server is to be told of our being there.
void DtPacketServerClientPimpl::waitForPacket(Found found, Deadline& deadline) {
    if (found == Found::Locked)
        pause_us(1000);
    else if (found == Found::Nothing)
        memory_->reader().waitForPacket(std::min(deadline.left_s(), aliveIn_s()));
}

/// From now on the server tells of the next record over the socket. What it writes before it
/// knows is there when one looks once more: the fence pairs with the server's, between its
/// record and its look at the word.
void DtPacketServerClientPimpl::armPoll() {
    char bytes[16];
    for (int i = 0; i < 64 && socket_->receive(bytes, sizeof bytes) >= 0; ++i) {
    }
    socket_->wakeAfter(aliveIn_s());
    memory_->reader().setNotifyReader(1);
    std::atomic_thread_fence(std::memory_order_seq_cst);
}

int DtPacketServerClientPimpl::pollDescriptor() {
    if (!isConnected())
        return -1;
    const bool isNew = !socket_->hasPollDescriptor();
    const int descriptor = socket_->pollDescriptor();
    if (isNew)
        socket_->wakeAfter(1e-6);  // there may be packets that nobody tells of
    return descriptor;
}

// -------------------------------------------------------------------------------------------
// Records

/// Takes the next record from the queue. Whatever lies there, at most `record_` is filled.
DtPacketServerClientPimpl::Found DtPacketServerClientPimpl::look() {
    int status = 0;
    const int length =
        memory_->reader().Read(record_.data(), static_cast<int>(record_.size()), &status);
    switch (status) {
        case DtShmReadDone:
            return take(length);
        case DtShmReadEmpty:
            return Found::Nothing;
        case DtShmReadLocked:
            return Found::Locked;
        case DtShmReadCorrupt:
            fail("the queue from " + server_ + " makes no sense");
            return Found::Broken;
        default:
            return goAway();
    }
}

DtPacketServerClientPimpl::Found DtPacketServerClientPimpl::take(int length) {
    const char* const bytes = record_.data();
    DtCsStateReturnRecord server;
    DtCsCStateReturnRecord client;
    DtCsNoticeRecord notice;
    DtCsWarningRecord warning;
    if (DtCsReadRecord(bytes, length, packet_))
        return Found::Packet;
    if (DtCsReadRecord(bytes, length, server))
        serverState = server;
    else if (DtCsReadRecord(bytes, length, client))
        takeState(client);
    else if (DtCsReadRecord(bytes, length, notice))
        takeNotice(notice.code);
    else if (DtCsReadRecord(bytes, length, warning))
        takeWarning(warning);
    else
        ++statistics.unreadable;
    return Found::Other;
}

void DtPacketServerClientPimpl::takeState(const DtCsCStateReturnRecord& state) {
    const bool isOurs = state.processId == getpid() && state.clientId != 0;
    if (!isOurs || (isConnected() && state.clientId != clientId_)) {
        ++statistics.unreadable;
        return;
    }
    clientState = state;
    statistics.stateAnswers += isConnected() ? 1 : 0;
    clientId_ = state.clientId;
}

/// The reason counts more than that the server has been found gone, or has set go-away.
void DtPacketServerClientPimpl::takeNotice(uint16_t code) {
    if (code == DtCsNowInternal)
        startEnd(DtPacketLetGoInternal);
    else if (code == DtCsQuotaExceeded)
        startEnd(DtPacketLetGoQuota);
    else if (code == DtCsClosing)
        startEnd(DtPacketLetGoClosing);
}

void DtPacketServerClientPimpl::takeWarning(const DtCsWarningRecord& warning) {
    ++statistics.warnings;
    std::string text(warning.text, strnlen(warning.text, sizeof warning.text));
    std::replace_if(
        text.begin(), text.end(), [](unsigned char letter) { return letter < ' '; }, '?');
    fail(server_ + " warns: " + text);
    if (isConnected())
        DtWarn << lastError << std::endl;
}

/// The byte is set back, so that what lies before it in the queue can be read.
DtPacketServerClientPimpl::Found DtPacketServerClientPimpl::goAway() {
    DtShmMsgQueueReader& reader = memory_->reader();
    if (reader.goAway() == 0) {
        fail("the semaphores of the queue from " + server_ + " are gone");
        return Found::Broken;
    }
    reader.setGoAway(0);
    if (!isEnding_)
        startEnd(DtPacketLetGoClosing);
    return Found::Other;
}

// -------------------------------------------------------------------------------------------
// Life and end of the connection

double DtPacketServerClientPimpl::aliveIn_s() const {
    constexpr double slack_s = 0.01;  // more than the clock is wrong
    return std::max(lastAlive_s_ + theAliveInterval_s - coarseTime_s(), 0.0) + slack_s;
}

/// A server that has no room just now is told the next time.
void DtPacketServerClientPimpl::keepAlive() {
    if (!isEnding_ && coarseTime_s() - lastAlive_s_ >= theAliveInterval_s)
        sendAck(DtCsAlive, 0);
}

bool DtPacketServerClientPimpl::sendAck(DtCsAckCode code, double timeout_s) {
    lastAlive_s_ = coarseTime_s();
    DtCsAckRecord ack;
    ack.code = code;
    ack.clientId = clientId_;
    ack.readCount = readCount_;
    ack.missedCount = missedCount_;
    ack.processId = getpid();
    ack.queueSize = queueSize_bytes_;
    return report(socket_->send(&ack, sizeof ack, timeout_s));
}

void DtPacketServerClientPimpl::startEnd(DtPacketOutcome outcome) {
    isEnding_ = true;
    ending_ = outcome;
}

DtPacketOutcome DtPacketServerClientPimpl::end(DtPacketOutcome outcome) {
    if (outcome == DtPacketServerGone)
        fail(server_ + " is gone");
    else if (outcome == DtPacketLetGoInternal)
        fail(server_ + " has turned internal and serves no packet clients any more");
    else if (outcome == DtPacketLetGoQuota)
        fail(server_ + " has let this client go: it has more clients than it may have");
    else if (outcome == DtPacketLetGoClosing)
        fail(server_ + " has closed");
    close();
    ending_ = outcome;
    return outcome;
}

}  // namespace OrynRti
