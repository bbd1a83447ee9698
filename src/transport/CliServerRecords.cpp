#include "CliServerRecords.h"

namespace OrynRti {

namespace {

struct Kind {
    const char* name;
    int size;
    bool overQueue;  ///< Where lengths are rounded up.
};

template <typename Record>
constexpr Kind describe(const char* name, bool overQueue) {
    return {name, int{sizeof(Record)}, overQueue};
}

/// By kind; 3 is none.
constexpr Kind theKinds[] = {describe<DtCsMsgWaitingRecord>("MsgWaiting", false),
                             describe<DtCsAddClientRecord>("AddClient", false),
                             describe<DtCsClientPacketRecord>("ClientPacket", true),
                             {nullptr, 0, false},
                             describe<DtCsControlReqRecord>("ControlReq", false),
                             describe<DtCsFilterRecord>("Filter", false),
                             describe<DtCsAckRecord>("Ack", false),
                             describe<DtCsCliQuotaRecord>("CliQuota", false),
                             describe<DtCsServerPacketRecord>("ServerPacket", true),
                             describe<DtCsStateReturnRecord>("StateReturn", true),
                             describe<DtCsCStateReturnRecord>("CStateReturn", true),
                             describe<DtCsWarningRecord>("Warning", true),
                             describe<DtCsNoticeRecord>("Notice", true),
                             describe<DtCsMulticastReqRecord>("MulticastReq", false)};

const Kind& kindAt(int kind) {
    const int count = int{sizeof theKinds / sizeof theKinds[0]};
    const int none = 3;
    return theKinds[kind >= 0 && kind < count ? kind : none];
}

/// What follows a ServerPacket of at least 16 bytes, by its own word.
int64_t packetBytes(const void* bytes) {
    DtCsServerPacketRecord record;
    std::memcpy(&record, bytes, sizeof record);
    return record.packetLength;
}

}  // namespace

int DtCsRecordSize(int kind) {
    return kindAt(kind).size;
}

const char* DtCsKindName(int kind) {
    return kindAt(kind).name;
}

int DtCsKindOf(const void* bytes, int length) {
    if (bytes == nullptr || length < 2)
        return -1;
    const auto* const header = static_cast<const uint8_t*>(bytes);
    const Kind& kind = kindAt(header[0]);
    if (kind.name == nullptr || header[1] != theDtCsVersion || length < kind.size)
        return -1;
    const int64_t size = kind.size + (header[0] == DtCsServerPacket ? packetBytes(bytes) : 0);
    const bool fits = length == size || (kind.overQueue && length == (size + 7) / 8 * 8);
    return fits ? header[0] : -1;
}

}  // namespace OrynRti
