#ifndef RTIQNUTIL_SRC_TRANSPORT_PDUQUEUE_H
#define RTIQNUTIL_SRC_TRANSPORT_PDUQUEUE_H

#include <cstddef>
#include <cstdint>
#include <list>
#include <vector>

#include "InetEndpoint.h"

namespace OrynRti {

/// PDUs that came behind the first one of their datagram, until they are read. Those of one
/// datagram share their memory and their sender, and the memory is used again.
///
///     Datagram& rest = queue.prepare(sender);
///     rest.addPdu(begin, size);  // for each
///     rest.bytes = ...;          // of all
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

    /// Where a PDU is in the bytes of its datagram.
    struct Place {
        Place(int first, int count)
            : begin(static_cast<std::uint32_t>(first)), size(static_cast<std::uint32_t>(count)) {}

        std::uint32_t begin;
        std::uint32_t size;
    };

    struct Datagram {
        std::vector<char> bytes;  ///< Its PDUs and what is between them.
        std::vector<Place> places;
        std::size_t next = 0;  ///< The first PDU not read yet.
        DtInetEndpoint sender;

        void addPdu(int begin, int size) { places.emplace_back(begin, size); }

        /// From the first PDU to the end of the last one.
        int size() const {
            return places.empty() ? 0 : static_cast<int>(places.back().begin + places.back().size);
        }
    };

    /// Room for the PDUs of a datagram, valid until add().
    Datagram& prepare(const DtInetEndpoint& sender);

    /// Takes what has been prepared, unless it holds no PDU.
    void add();

    bool isEmpty() const { return datagrams_.empty(); }

    /// The oldest, when there is one; valid until pop().
    Pdu front() const {
        const Datagram& datagram = datagrams_.front();
        const Place& place = datagram.places[datagram.next];
        return {datagram.bytes.data() + place.begin, place.size, datagram.sender};
    }
    void pop() {
        Datagram& datagram = datagrams_.front();
        if (++datagram.next == datagram.places.size())
            popDatagram();
    }

private:
    void popDatagram();

    std::list<Datagram> datagrams_;  ///< Each has PDUs left to read.
    std::list<Datagram> spare_;      ///< At most one.
};

}  // namespace OrynRti

#endif
