#ifndef RTIQNUTIL_SRC_TRANSPORT_PDUQUEUE_H
#define RTIQNUTIL_SRC_TRANSPORT_PDUQUEUE_H

#include <cstddef>
#include <list>
#include <vector>

#include "InetEndpoint.h"

namespace OrynRti {

/// PDUs that came behind the first one of their datagram, until they are read. Those of one
/// datagram share their memory and their sender, and the memory is used again.
///
///     Datagram& rest = queue.prepare(sender);
///     rest.bytes.insert(...); rest.endPdu();  // for each
///     queue.add();
///
/// Threads: the owner's lock guards it
class PduQueue {
public:
    struct Pdu {
        const char* bytes;
        std::size_t size;
        const DtInetEndpoint& sender;
    };

    struct Datagram {
        std::vector<char> bytes;        ///< Of its PDUs, one behind the other.
        std::vector<std::size_t> ends;  ///< Of each PDU in the bytes.
        std::size_t next = 0;           ///< The first PDU not read yet.
        DtInetEndpoint sender;

        void endPdu() { ends.push_back(bytes.size()); }
    };

    /// Room for the PDUs of a datagram, valid until add().
    Datagram& prepare(const DtInetEndpoint& sender);

    /// Takes what has been prepared, unless it holds no PDU.
    void add();

    bool isEmpty() const { return datagrams_.empty(); }

    /// The oldest, when there is one; valid until pop().
    Pdu front() const {
        const Datagram& datagram = datagrams_.front();
        const std::size_t begin = datagram.next != 0 ? datagram.ends[datagram.next - 1] : 0;
        return {datagram.bytes.data() + begin, datagram.ends[datagram.next] - begin,
                datagram.sender};
    }
    void pop() {
        Datagram& datagram = datagrams_.front();
        if (++datagram.next == datagram.ends.size())
            popDatagram();
    }

private:
    void popDatagram();

    std::list<Datagram> datagrams_;  ///< Each has PDUs left to read.
    std::list<Datagram> spare_;      ///< At most one.
};

}  // namespace OrynRti

#endif
