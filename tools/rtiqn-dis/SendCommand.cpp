#include "SendCommand.h"

#include "EntityStatePdu.h"
#include "Errors.h"
#include "Pacer.h"
#include "Time.h"
#include "common/Console.h"
#include "common/StopSignals.h"

namespace RtiqnDis {

using namespace OrynRti;

namespace {

/// Numbers of entities begin at 1.
void sendEntity(const SendOptions& options, unsigned int index, DatagramSender& sender) {
    EntityIdentity identity;
    identity.version = options.version;
    identity.exercise = options.exercise;
    identity.entity = static_cast<std::uint16_t>(index + 1);
    const double now_s = DtAbsRealTime();
    EntityStateBytes pdu = entityStatePdu(identity, motionOf(index, now_s), now_s);
    sender.sendPdu(pdu.data(), pdu.size(), options.version);
}

}  // namespace

int runSend(const SendOptions& options) {
    const StopSignals signals;
    DatagramSender sender(options.sending);
    Pacer pacer;
    ProgressLine progress;
    std::uint64_t pdus = 0;
    for (std::uint64_t round = 0; !StopSignals::requested(); ++round) {
        const double moment_s = static_cast<double>(round) / options.rate_hz;
        if (options.duration_s > 0 && moment_s >= options.duration_s)
            break;
        pacer.waitUntil(moment_s);
        for (unsigned int i = 0; i < options.entities && !StopSignals::requested(); ++i, ++pdus)
            sendEntity(options, i, sender);
        sender.flush();
        progress.update(pacer.elapsed_s(), sender.datagrams());
    }
    writeOutput("Sent " + counted(pdus, "Entity State PDU") + " in " +
                sendingText(sender, pacer.elapsed_s()));
    flushOutput();
    return sender.failures() > 0 ? theNetworkFailure : theSuccess;
}

}  // namespace RtiqnDis
