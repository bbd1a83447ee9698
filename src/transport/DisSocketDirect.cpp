// Receiving PDUs straight into the caller's buffer, while nobody takes part in it but the socket's
// own steps. Walking over the chains and handing buffers on costs several times what the steps do.
#include <algorithm>
#include <cstring>
#include <initializer_list>
#include <typeinfo>

#include "DisSocket.h"
#include "transport/DisSocketSplitting.h"

namespace OrynRti {

namespace {

/// Whether the bytes are as many as the PDU at their beginning says. No other can follow then.
bool isOnePdu(const char* bytes, int size) {
    if (size < thePduHeaderSize_bytes)
        return false;
    PduHeader header;
    std::memcpy(&header, bytes, sizeof header);
    return lengthOf(header) == size;
}

}  // namespace

int DtDisSocket::recvFrom(char* buffer, int size, DtInetEndpoint& sender, int flags) {
    const bool hasRoom = buffer != nullptr && size > 0;
    if (hasRoom && receivesDirectly(flags))
        return receiveDirectly(buffer, size, sender, flags, "recvToChainFrom");
    return receiveThroughChain(buffer, hasRoom ? size : 0, sender, flags);
}

int DtDisSocket::recvToChainFrom(DtInetSocketBufferChain& chain, DtInetEndpoint& sender,
                                 int flags) {
    const bool inOnePiece = chain.size() == 1 && bufferSize(chain.front()) > 0;
    if (!inOnePiece || !receivesDirectly(flags))
        return DtInetUdpSocket::recvToChainFrom(chain, sender, flags);
    return receiveDirectly(chain.front()->data(), bufferSize(chain.front()), sender, flags,
                           "recvToChainFrom");
}

bool DtDisSocket::receivesDirectly(int callFlags) const {
    return onlyOwnSteps_ && (callFlags & DtInetSockSkipFirstChain) == 0 && isNotDerived();
}

/// Derived sockets may have put something of their own in the place of a step.
bool DtDisSocket::isNotDerived() const {
    return typeid(*this) == typeid(DtDisSocket);
}

/// Whether the receiving chains hold the steps that the constructor has put there, and nothing
/// else.
bool DtDisSocket::takesOwnStepsOnly() const {
    const auto holds = [this](DtInetSockProcessingType type,
                              std::initializer_list<DtInetSocketProcessingCallback> steps) {
        const DtInetSocketCallbackChain& chain = chains_[type];
        return std::equal(chain.begin(), chain.end(), steps.begin(), steps.end(),
                          [](const auto& entry, DtInetSocketProcessingCallback step) {
                              return entry.second->callback == step &&
                                     entry.second->userData == nullptr;
                          });
    };
    const bool receives =
        selfReflectSuppression_
            ? holds(DtInetSockAfterReceive,
                    {&DtDisSocket::minSizeFilter, &DtDisSocket::suppressSelfReflect,
                     &DtDisSocket::unbundle, &DtDisSocket::filterExercisePdus})
            : holds(DtInetSockAfterReceive, {&DtDisSocket::minSizeFilter, &DtDisSocket::unbundle,
                                             &DtDisSocket::filterExercisePdus});
    return receives && holds(DtInetSockBeforeRead, {&DtDisSocket::getNextBundle});
}

// -------------------------------------------------------------------------------------------

int DtDisSocket::receiveDirectly(char* buffer, int size, DtInetEndpoint& sender, int callFlags,
                                 const char* name) {
    if (!readyToReceive(name))
        return -1;
    const auto room = static_cast<std::size_t>(size);
    int received = takeQueued(room, sender, [buffer](const char* bytes, std::size_t count) {
        std::memcpy(buffer, bytes, count);
    });
    if (received < 0)
        return received;
    int status = 0;
    if (received == 0) {
        const iovec part{buffer, room};
        received = readDatagram(&part, 1, &sender, callFlags, name);
        if (received <= 0)
            return received;
        received = takeDatagram(buffer, received, sender, status);
    }
    if (received > 0 && !passesUnseen(buffer, received))
        received = filterPdu(FlatPdus(buffer, attributePduStrategy_), received, sender, status);
    return received > 0 ? received : endReception(received, status, name);
}

/// The steps up to the filters. What is left is the first PDU.
int DtDisSocket::takeDatagram(const char* bytes, int size, const DtInetEndpoint& sender,
                              int& status) {
    if (size < minPacketSize_)
        return dropSmall(size, status);
    if (selfReflectSuppression_)
        size = dropOwn(size, sender, status);
    if (size <= 0)
        return size;
    return isOnePdu(bytes, size)
               ? size
               : splitDatagram(FlatPdus(bytes, attributePduStrategy_), size, sender, status);
}

/// Whether filterPdu() would hand on all of it: no filter is set, and it is as long as it says.
bool DtDisSocket::passesUnseen(const char* bytes, int size) const {
    return isOnePdu(bytes, size) && protocolVersion_.passesAll() && exerciseId_.passesAll() &&
           pduKind_.passesAll() && ipAddr_.passesAll();
}

}  // namespace OrynRti
