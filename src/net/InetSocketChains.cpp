// What a socket does around its system calls: the walks over its callback chains.
#include <algorithm>
#include <cerrno>
#include <climits>

#include "InetSocket.h"
#include "net/BufferParts.h"
#include "net/ChainRun.h"
#include "net/ScratchChain.h"

namespace OrynRti {

namespace {

bool endsReception(int status) {
    return status <= DtInetSockStatusError && status >= DtInetSockIncomplete;
}

void* argumentOf(const DtInetSocketProcessingCbInfo& step, int& status) {
    return step.userData != nullptr ? step.userData : &status;
}

int boundedSize(const DtInetSocketBufferChain& chain) {
    return static_cast<int>(std::min<std::size_t>(chainSize(chain), INT_MAX));
}

}  // namespace

// -------------------------------------------------------------------------------------------
// Receiving

int DtInetSocket::runBeforeRead(DtInetSocketBufferChain& chain, DtInetEndpoint& sender,
                                int& status) {
    int size = 0;
    ChainRun run(*this, DtInetSockBeforeRead);
    while (const DtInetSocketProcessingCbInfo* step = run.next()) {
        size = step->callback(this, size, chain, sender, argumentOf(*step, status));
        if (status != 0)
            break;
    }
    return size;
}

int DtInetSocket::runReceive(int size, DtInetSocketBufferChain& chain, DtInetEndpoint& sender,
                             int& status) {
    ChainRun run(*this, DtInetSockAfterReceive);
    while (size > 0 && !endsReception(status)) {
        const DtInetSocketProcessingCbInfo* step = run.next();
        if (step == nullptr)
            break;
        size = step->callback(this, size, chain, sender, argumentOf(*step, status));
    }
    return size;
}

int DtInetSocket::receiveResult(int size, int status) {
    if (endsReception(status))
        return status;
    if (size == 0)
        return DtInetSockFiltered;
    return size > 0 || endsReception(size) ? size : static_cast<int>(DtInetSockStatusError);
}

// -------------------------------------------------------------------------------------------
// Sending

int DtInetSocket::transmit(const iovec*, std::size_t, DtInetEndpoint&, int, const char* operation) {
    recordError(EOPNOTSUPP, DtString(operation) + ": Sending is not supported.");
    return -1;
}

bool DtInetSocket::runsChain(DtInetSockProcessingType type, int flags) const {
    const int skip = type == DtInetSockPreSend ? DtInetSockSkipFirstChain : DtInetSockSkipPostSend;
    return hasCallbacks(type) && (flags & skip) == 0;
}

int DtInetSocket::sendThroughChains(DtInetSocketBufferChain& chain, DtInetEndpoint& destination,
                                    int flags, const char* operation) {
    if (runsChain(DtInetSockPreSend, flags) || runsChain(DtInetSockPostSend, flags)) {
        ScratchChain copy(chain);
        return sendWithCallbacks(copy.chain(), destination, flags, operation);
    }
    const BufferParts parts(chain);
    int result = 0;
    sendAndCount(parts.data(), parts.count(), result, destination, flags, operation);
    return result;
}

int DtInetSocket::sendThroughChains(const char* bytes, int size, DtInetEndpoint& destination,
                                    int flags, const char* operation) {
    const std::size_t length = bytes != nullptr && size > 0 ? static_cast<std::size_t>(size) : 0;
    if (runsChain(DtInetSockPreSend, flags) || runsChain(DtInetSockPostSend, flags))
        return sendWithCallbacks(bytes, length, destination, flags, operation);
    const iovec part{const_cast<char*>(bytes), length};  // the system only reads them
    int result = 0;
    sendAndCount(&part, length != 0 ? 1 : 0, result, destination, flags, operation);
    return result;
}

int DtInetSocket::sendWithCallbacks(const char* bytes, std::size_t size,
                                    DtInetEndpoint& destination, int flags, const char* operation) {
    ScratchChain copy(bytes, size);
    return sendWithCallbacks(copy.chain(), destination, flags, operation);
}

/// The chain is a copy, which the callbacks may change as they like.
int DtInetSocket::sendWithCallbacks(DtInetSocketBufferChain& chain, DtInetEndpoint& destination,
                                    int flags, const char* operation) {
    const int size = boundedSize(chain);
    int sizeToSend = size;
    if (runsChain(DtInetSockPreSend, flags) &&
        !runPreSend(sizeToSend, chain, destination, operation))
        return -1;
    int result = size - sizeToSend;  // what the callbacks took away counts as sent
    const BufferParts parts(chain, static_cast<std::size_t>(sizeToSend));
    if (!sendAndCount(parts.data(), parts.count(), result, destination, flags, operation))
        return result;
    if (runsChain(DtInetSockPostSend, flags) && !runPostSend(result, chain, destination, operation))
        return -1;
    return result;
}

/// Adds what was sent to `result`. False when nothing could be: `result` is then 0 or -1.
bool DtInetSocket::sendAndCount(const iovec* parts, std::size_t count, int& result,
                                DtInetEndpoint& destination, int flags, const char* operation) {
    if (count > 0) {
        const int sent = transmit(parts, count, destination, flags, operation);
        if (sent <= 0) {
            result = sent;
            return false;
        }
        noteSuccess();
        result = std::max(0, result + sent);
    }
    countSent(static_cast<std::uint64_t>(result));
    return true;
}

/// At the end `size` is that of what goes out: no more than the chain then holds.
bool DtInetSocket::runPreSend(int& size, DtInetSocketBufferChain& chain,
                              DtInetEndpoint& destination, const char* operation) {
    ChainRun run(*this, DtInetSockPreSend);
    while (const DtInetSocketProcessingCbInfo* step = run.next()) {
        size = step->callback(this, size, chain, destination, step->userData);
        if (size < 0)
            return recordError(-1, DtString(operation) + ": Pre-send callback failed.");
    }
    size = std::min(size, boundedSize(chain));
    return true;
}

bool DtInetSocket::runPostSend(int& count, DtInetSocketBufferChain& chain,
                               DtInetEndpoint& destination, const char* operation) {
    ChainRun run(*this, DtInetSockPostSend);
    while (const DtInetSocketProcessingCbInfo* step = run.next()) {
        const int added = step->callback(this, count, chain, destination, step->userData);
        if (added < 0)
            return recordError(-1, DtString(operation) + ": Post-send callback failed.");
        count = added > INT_MAX - count ? INT_MAX : count + added;
    }
    return true;
}

}  // namespace OrynRti
