#include <cstring>
#include <string>

#include "CliServer.h"
#include "Print.h"

namespace OrynRti {

namespace {

const char* modeText(uint8_t mode) {
    if (mode == DtCsExternal)
        return "external";
    return mode == DtCsInternal ? "internal" : "but not well";
}

const char* clientWord(int count) {
    return count == 1 ? "client" : "clients";
}

void print(const DtCsStateReturnRecord& state) {
    const std::string most =
        state.maxPacketClients < 0 ? "no" : std::to_string(state.maxPacketClients);
    DtInfo("    quarn server on port %d is alive (%s) \n", static_cast<int>(state.serverPort),
           modeText(state.serverMode));
    DtInfo("    %sperforming unbundling\n", state.unbundling != 0 ? "" : "not ");
    DtInfo("    %d packet %s (%s maximum)\n", state.packetClients, clientWord(state.packetClients),
           most.c_str());
    DtInfo("    %d control %s\n", state.controlClients, clientWord(state.controlClients));
}

std::string modeFlags(uint16_t bits) {
    // By bit, from bit 0.
    static constexpr const char* theFlags[] = {
        " Read",   " Write",        " SvrDropOldest", " CliDropOldest", " SvrWait",      " CliWait",
        " Notify", " SvrBlockRead", " SvrBlockWrite", " CliBlockRead",  " CliBlockWrite"};
    std::string set;
    int bit = 0;
    for (const char* flag : theFlags)
        if ((bits >> bit++ & 1) != 0)
            set += flag;
    return set;
}

void print(const DtCsCStateReturnRecord& state) {
    DtInfo("    (%s) client %u (process %d): server sent %d, rcvd %d msgs\n",
           state.clientType == DtCsControlClient ? "control" : "packet", state.clientId,
           state.processId, static_cast<int>(state.sentCount),
           static_cast<int>(state.receivedCount));
    DtInfo("    dropped %d old and %d new - ", static_cast<int>(state.droppedOldCount),
           static_cast<int>(state.droppedNewCount));
    DtInfo("sendQ %d bytes - recvQ %d bytes\n", state.sendQueueSize, state.receiveQueueSize);
    DtInfo("    Mode%s\n", modeFlags(state.modeBits).c_str());
}

void print(const DtCsWarningRecord& warning) {
    const int length = static_cast<int>(strnlen(warning.text, sizeof warning.text));
    DtInfo("    Server warning %d: %.*s\n", warning.number, length, warning.text);
}

void print(const DtCsNoticeRecord& notice) {
    switch (notice.code) {
        case DtCsNowExternal:
            DtInfo("    Packet server now external\n");
            break;
        case DtCsNowInternal:
            DtInfo("    Packet server now internal\n");
            break;
        case DtCsQuotaExceeded:
            DtInfo("    Closing socket: server external client quota exceeded\n");
            break;
        case DtCsPing:
            DtInfo("    ClientSocket: ping\n");
            break;
        case DtCsClosing:
            DtInfo("    Packet server is closing socket\n");
            break;
        default:
            break;
    }
}

}  // namespace

template <typename Record>
void DtClientServerMsg::printFields() const {
    Record record;
    copyOut(&record, sizeof record);
    OrynRti::print(record);
}

void DtClientServerMsg::print() const {
    const char* const name = DtCsKindName(kind());
    if (name == nullptr) {
        DtWarn("Unknown msg kind (%d) in  DtClientServerMsg::print()", kind());
        return;
    }
    DtInfo("%s message (version %d):\n", name, version());
    switch (kind()) {
        case DtCsStateReturn:
            return printFields<DtCsStateReturnRecord>();
        case DtCsCStateReturn:
            return printFields<DtCsCStateReturnRecord>();
        case DtCsWarning:
            return printFields<DtCsWarningRecord>();
        case DtCsNotice:
            return printFields<DtCsNoticeRecord>();
        default:
            return;
    }
}

}  // namespace OrynRti
