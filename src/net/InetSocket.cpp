#include "InetSocket.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <memory>

#include "InetDevice.h"
#include "ScopedLock.h"
#include "text/ForkLocks.h"

namespace OrynRti {

namespace {

constexpr int theChainCount = 4;

bool isChain(DtInetSockProcessingType type) {
    return type >= 0 && type < theChainCount;
}

}  // namespace

DtInetSocket::DtInetSocket() {
    DtKeepForForks(mutex_, DtForkRank::Socket);
}

DtInetSocket::~DtInetSocket() {
    DtForgetForForks(mutex_);
    delete hostIf_;
    for (DtInetSocketCallbackChain& chain : chains_)
        for (const auto& entry : chain)
            delete entry.second;
}

// -------------------------------------------------------------------------------------------
// Endpoints, state, options

const DtInetEndpoint& DtInetSocket::destination() const {
    return destination_;
}

const DtInetEndpoint& DtInetSocket::localEndpoint() const {
    return localEndpoint_;
}

bool DtInetSocket::setLocalPort(int port) {
    localEndpoint_.setPort(static_cast<unsigned short>(port));
    return true;
}

unsigned short DtInetSocket::localPort() const {
    return localEndpoint_.port();
}

DtInetDevice* DtInetSocket::hostIf() const {
    return hostIf_;
}

int DtInetSocket::state() const {
    return state_;
}

bool DtInetSocket::isOk() const {
    return state() > 0;
}

DtInetProtocol DtInetSocket::protocol() const {
    return localEndpoint_.protocol();
}

DtInetUtils::DtInetAddrFamily DtInetSocket::family() const {
    return localEndpoint_.family();
}

unsigned int DtInetSocket::flags() const {
    return flags_;
}

bool DtInetSocket::isNonBlocking() const {
    return nonBlocking_;
}

bool DtInetSocket::isNoDelay() const {
    return noDelay_;
}

bool DtInetSocket::isIPv4() const {
    return localEndpoint_.isIPv4();
}

bool DtInetSocket::isIPv6() const {
    return localEndpoint_.isIPv6();
}

bool DtInetSocket::isTcp() const {
    return localEndpoint_.isTcp();
}

bool DtInetSocket::isUdp() const {
    return localEndpoint_.isUdp();
}

// -------------------------------------------------------------------------------------------
// Error and termination

int DtInetSocket::getLastError() const {
    return lastError_;
}

DtString DtInetSocket::getLastErrorString() const {
    const DtScopedLock lock(mutex_);
    return lastErrorText_;
}

bool DtInetSocket::isErrorWouldBlockOrTryAgain() const {
    return lastError_ == EAGAIN;
}

void DtInetSocket::clearError() {
    const DtScopedLock lock(mutex_);
    lastError_ = 0;
    lastErrorText_ = "";
}

int DtInetSocket::getTerminationCode() const {
    return terminationCode_;
}

DtString DtInetSocket::getTerminationString() const {
    const DtScopedLock lock(mutex_);
    return terminationText_;
}

void DtInetSocket::setState(int state, int stateAfterSuccess) {
    const DtScopedLock lock(mutex_);
    state_ = state;
    stateAfterSuccess_ = stateAfterSuccess;
}

bool DtInetSocket::recordError(int number, const DtString& text) {
    const DtScopedLock lock(mutex_);
    state_ = DtInetSockError;
    return recordRefusal(number, text);
}

bool DtInetSocket::recordRefusal(int number, const DtString& text) {
    const DtScopedLock lock(mutex_);
    lastError_ = number;
    lastErrorText_ = text;
    return false;
}

void DtInetSocket::recordWouldBlock() {
    const DtScopedLock lock(mutex_);
    lastError_ = EAGAIN;
    lastErrorText_ = "";
}

void DtInetSocket::restoreState() {
    const DtScopedLock lock(mutex_);
    if (state_ == DtInetSockError && stateAfterSuccess_ > 0)
        state_ = stateAfterSuccess_;
}

void DtInetSocket::setTermination(int code, const DtString& text) {
    const DtScopedLock lock(mutex_);
    terminationCode_ = code;
    terminationText_ = text;
}

// -------------------------------------------------------------------------------------------
// Counters

std::uint64_t DtInetSocket::totalBytesSent() const {
    return bytesSent_;
}

std::uint64_t DtInetSocket::totalPacketsSent() const {
    return packetsSent_;
}

std::uint64_t DtInetSocket::totalBytesReceived() const {
    return bytesReceived_;
}

std::uint64_t DtInetSocket::totalPacketsReceived() const {
    return packetsReceived_;
}

void DtInetSocket::clearStats() {
    bytesSent_ = packetsSent_ = bytesReceived_ = packetsReceived_ = 0;
}

void DtInetSocket::countSent(std::uint64_t bytes) {
    bytesSent_.fetch_add(bytes, std::memory_order_relaxed);
    packetsSent_.fetch_add(1, std::memory_order_relaxed);
}

std::uint64_t DtInetSocket::countReceived(std::uint64_t bytes) {
    bytesReceived_.fetch_add(bytes, std::memory_order_relaxed);
    return packetsReceived_.fetch_add(1, std::memory_order_relaxed) + 1;
}

double DtInetSocket::receiveTime() const {
    return receiveTime_;
}

// -------------------------------------------------------------------------------------------
// Callbacks

bool DtInetSocket::addProcessingCallback(DtInetSockProcessingType type,
                                         DtInetSocketProcessingCallback callback, void* userData,
                                         int order) {
    if (!isChain(type))
        return false;
    const DtScopedLock lock(mutex_);
    DtInetSocketCallbackChain& chain = chains_[type];
    if (order < 0) {
        const int last = chain.empty() ? -1 : chain.rbegin()->first;
        order = last == INT_MAX ? last : last + 1;
    }
    auto info = std::make_unique<DtInetSocketProcessingCbInfo>();
    *info = {callback, userData, order, nextSequence_++};
    chain.emplace(order, info.get());
    static_cast<void>(info.release());  // of the chain from now on
    chainSizes_[type].store(chain.size(), std::memory_order_relaxed);
    return true;
}

bool DtInetSocket::removeProcessingCallback(DtInetSockProcessingType type,
                                            DtInetSocketProcessingCallback callback) {
    if (!isChain(type))
        return false;
    const DtScopedLock lock(mutex_);
    const bool removed = findAndRemoveCallback(chains_[type], callback);
    chainSizes_[type].store(chains_[type].size(), std::memory_order_relaxed);
    chainVersion_.fetch_add(1, std::memory_order_release);  // pairs with ChainRun::next()
    return removed;
}

bool DtInetSocket::findAndRemoveCallback(DtInetSocketCallbackChain& chain,
                                         DtInetSocketProcessingCallback callback) {
    const DtScopedLock lock(mutex_);
    const auto entry = std::find_if(chain.begin(), chain.end(), [callback](const auto& step) {
        return step.second->callback == callback;
    });
    if (entry == chain.end())
        return false;
    delete entry->second;
    chain.erase(entry);
    return true;
}

}  // namespace OrynRti
