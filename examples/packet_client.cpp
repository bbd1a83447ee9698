// Prints the sender and the kind of a hundred PDUs of one exercise, as the packet server of this
// host receives them:
//     packet_client KEY EXERCISE
// Without a server it says so and ends.
#include <cstdlib>
#include <poll.h>

#include "PacketServerClient.h"
#include "Print.h"

using namespace OrynRti;

/// All that have come; false when there will be no more.
bool printPackets(DtPacketServerClient& client) {
    char pdu[65536];
    int length = 0;
    DtInetEndpoint sender;
    for (;;) {
        const DtPacketOutcome outcome = client.receive(pdu, sizeof pdu, length, 0, &sender);
        if (outcome == DtPacketNone)
            return true;
        if (outcome != DtPacketReceived)
            return false;
        if (length >= 12)
            DtInfo << sender.toDtString() << " sent a PDU of kind "
                   << int{static_cast<unsigned char>(pdu[2])} << std::endl;
    }
}

int main(int argc, char** argv) {
    const int key = argc > 1 ? std::atoi(argv[1]) : 0;
    const unsigned int exercise = argc > 2 ? static_cast<unsigned int>(std::atoi(argv[2])) : 1;
    DtPacketServerClient client;
    if (!client.setFilter(DtCsTestExerciseId, DtPduAcceptListed, 1, &exercise) ||
        !client.connect(key)) {
        DtInfo << client.lastError() << "; \"rtiqn-packetserver run --key " << key
               << "\" starts one" << std::endl;
        return 0;
    }
    // The descriptor could wait along with others, which receive() with a timeout could not.
    pollfd waited{client.pollDescriptor(), POLLIN, 0};
    while (client.statistics().read < 100 && printPackets(client))
        poll(&waited, 1, -1);
    DtInfo << client.statistics().read << " packets read, " << client.statistics().missed
           << " missed " << client.lastError() << std::endl;
    return 0;
}
