// Receiving with a UDP socket that has callbacks.
#include <algorithm>

#include "InetUdpSocket.h"
#include "net/BufferParts.h"
#include "net/ScratchChain.h"

namespace OrynRti {

/// Callbacks work on a chain, so the bytes go through one of our own.
int DtInetUdpSocket::receiveThroughCopy(char* buffer, int size, DtInetEndpoint* sender, int flags,
                                        const char* name) {
    ScratchChain copy(static_cast<std::size_t>(size));
    DtInetEndpoint& peer = sender != nullptr ? *sender : copy.endpoint();
    const int received = receiveWithCallbacks(copy.chain(), peer, flags, name);
    if (received <= 0)
        return received;
    const int delivered = std::min(received, size);
    std::copy_n(copy.front(), delivered, buffer);
    return delivered;
}

int DtInetUdpSocket::receiveWithCallbacks(DtInetSocketBufferChain& chain, DtInetEndpoint& sender,
                                          int flags, const char* name) {
    int status = 0;
    int size = 0;
    if ((flags & DtInetSockSkipFirstChain) == 0)
        size = runBeforeRead(chain, sender, status);
    if (!endsReading(status)) {
        status = 0;
        const BufferParts parts(chain);
        size = readDatagram(parts.data(), parts.count(), &sender, flags, name);
        if (size <= 0)
            return size;
    }
    size = runReceive(size, chain, sender, status);
    return endReception(size, status, name);
}

int DtInetUdpSocket::endReception(int size, int status, const char* name) {
    const int result = receiveResult(size, status);
    if (result == DtInetSockStatusError)
        recordError(-1, DtString("DtInetUdpSocket::") + name + "(): Receive callback failed.");
    return result;
}

}  // namespace OrynRti
