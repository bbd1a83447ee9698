#include "PduReport.h"

#include "Errors.h"

namespace RtiqnDis {

const Bundle& PduReport::datagram(ByteView bytes, const std::string& sender, double time_s) {
    statistics_.addDatagram(bytes.size(), time_s);
    unbundle(bytes, bundle_);
    for (const Loss loss : bundle_.losses)
        statistics_.addLoss(loss, sender);
    return bundle_;
}

void PduReport::pdu(const ReceivedPdu& received) {
    if (const auto loss = options_.selection.rejects(received.pdu.header)) {
        statistics_.addLoss(*loss, received.sender);
        return;
    }
    statistics_.addPdu(received.pdu, received.sender);
    writer_->pdu(received);
}

bool PduReport::isFull() const {
    return options_.count > 0 && statistics_.total().pdus >= options_.count;
}

int PduReport::finish() {
    writer_->finish(statistics_);
    return options_.strict && statistics_.hasDataProblems() ? theDataProblem : theSuccess;
}

}  // namespace RtiqnDis
