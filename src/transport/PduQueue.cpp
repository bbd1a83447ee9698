#include "transport/PduQueue.h"

namespace OrynRti {

PduQueue::Datagram& PduQueue::prepare(const DtInetEndpoint& sender) {
    if (spare_.empty())
        spare_.emplace_back();
    Datagram& datagram = spare_.front();
    datagram.places.clear();
    datagram.next = 0;
    datagram.sender = sender;
    return datagram;
}

void PduQueue::add() {
    if (!spare_.front().places.empty())
        datagrams_.splice(datagrams_.end(), spare_);
}

void PduQueue::popDatagram() {
    spare_.clear();
    spare_.splice(spare_.end(), datagrams_, datagrams_.begin());
}

}  // namespace OrynRti
