#ifndef RTIQNUTIL_CLISERVERRECORDS_H
#define RTIQNUTIL_CLISERVERRECORDS_H

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "Export.h"

/// @file
/// The records that the packet server and its clients exchange. Numbers are in the order of the
/// host's bytes; both ends are on one host. IPv4 addresses are in network order, as in
/// struct in_addr. Every record begins with its kind and the version; the kind fixes the size.
///
///     0      1         2
///     +------+---------+--------//
///     | kind | version | fields
///     +------+---------+--------//
///
/// A new record is an empty one of its kind, with all fields 0. What the fields are for is told in
/// docs/packet-server.md.

namespace OrynRti {

/// The first byte of a record.
enum DtCsKind : uint8_t {
    DtCsMsgWaiting = 0,
    DtCsAddClient = 1,
    DtCsClientPacket = 2,
    DtCsControlReq = 4,
    DtCsFilter = 5,
    DtCsAck = 6,
    DtCsCliQuota = 7,
    DtCsServerPacket = 8,
    DtCsStateReturn = 9,
    DtCsCStateReturn = 10,
    DtCsWarning = 11,
    DtCsNotice = 12,
    DtCsMulticastReq = 13
};

constexpr uint8_t theDtCsVersion = 3;  ///< Of all records.
constexpr int theDtCsTextSize = 160;   ///< Bytes for a name or a text; 160 characters have no end.

/// How a client and the server use the queue: these bits or'ed. A client asks for DtCsRead and,
/// when it waits in poll, DtCsNotify; the server answers with DtCsRead, DtCsSvrDropOldest,
/// DtCsCliBlockRead and what it grants of DtCsNotify.
enum DtCsMode : uint16_t {
    DtCsRead = 1 << 0,
    DtCsWrite = 1 << 1,
    DtCsSvrDropOldest = 1 << 2,
    DtCsCliDropOldest = 1 << 3,
    DtCsSvrWait = 1 << 4,
    DtCsCliWait = 1 << 5,
    DtCsNotify = 1 << 6,
    DtCsSvrBlockRead = 1 << 7,
    DtCsSvrBlockWrite = 1 << 8,
    DtCsCliBlockRead = 1 << 9,
    DtCsCliBlockWrite = 1 << 10
};

/// What a client wants of the server.
enum DtCsClientType : uint8_t { DtCsPacketClient = 0, DtCsControlClient = 1 };

/// What a ControlReq asks for.
enum DtCsRequest : uint16_t {
    DtCsAskState = 0,      ///< StateReturn and CStateReturn are the answer.
    DtCsTurnExternal = 1,  ///< Serve packet clients.
    DtCsTurnInternal = 2,  ///< Let all packet clients go.
    DtCsStop = 3,          ///< End.
    DtCsLeave = 4,         ///< Let this client go.
    DtCsAskFigures = 5     ///< Of control clients only: what the server has counted, as JSON.
};

/// Which byte of a packet a filter looks at, or its sender.
enum DtCsFilterTest : uint8_t {
    DtCsTestProtocolVersion = 0,
    DtCsTestExerciseId = 1,
    DtCsTestPduKind = 2,
    DtCsTestSender = 3
};

/// What a Filter does with its value.
enum DtCsFilterAction : uint8_t {
    DtCsAcceptOnly = 0,   ///< The value; forgets earlier values.
    DtCsReject = 1,       ///< The value; forgets earlier values.
    DtCsAddValue = 2,     ///< To the list.
    DtCsRemoveValue = 3,  ///< From the list.
    DtCsPassAll = 4       ///< Without regard to the value.
};

/// What an Ack says.
enum DtCsAckCode : uint8_t { DtCsReady = 0, DtCsAlive = 1 };

/// Whether the server reads the network for packet clients (external) or not (internal).
enum DtCsServerMode : uint8_t {
    DtCsExternal = 0,
    DtCsInternal = 1,
    DtCsNotWell = 2  ///< As is every other value.
};

/// Why there is a Warning.
enum DtCsWarningNumber : uint16_t {
    DtCsNotUnderstood = 1,
    DtCsFilterRefused = 2,
    DtCsGroupRefused = 3,
    DtCsTooManyGroups = 4
};

/// What a Notice says.
enum DtCsNoticeCode : uint16_t {
    DtCsNowExternal = 0,    ///< Packet clients are served.
    DtCsNowInternal = 1,    ///< Packet clients have been let go.
    DtCsQuotaExceeded = 2,  ///< There are too many: this client has been let go.
    DtCsPing = 3,           ///< Only a sign of life.
    DtCsClosing = 4         ///< The server ends: this client has been let go.
};

/// What a MulticastReq asks for.
enum DtCsGroupRequest : uint16_t { DtCsJoinGroup = 0, DtCsLeaveGroup = 1 };

// -------------------------------------------------------------------------------------------
// Layouts

/// 2 bytes: MsgWaiting and CliQuota have no fields.
template <DtCsKind Kind>
struct DtCsEmptyRecord {
    /// Kind and version. @{
    static constexpr DtCsKind theKind = Kind;
    uint8_t kind = Kind;
    uint8_t version = theDtCsVersion;
    /// @}
};
using DtCsMsgWaitingRecord = DtCsEmptyRecord<DtCsMsgWaiting>;  ///< The queue has records.
using DtCsCliQuotaRecord = DtCsEmptyRecord<DtCsCliQuota>;      ///< The client was not added.

static_assert(sizeof(DtCsMsgWaitingRecord) == 2);
static_assert(offsetof(DtCsMsgWaitingRecord, version) == 1);

/// A client adds itself, and names the queue it has made.
///
///     +------+---------+------+---------+---------+---------+-----------//
///     | kind | version | mode | process | queue   | client  | pool name
///     |      |         | bits | id      | size    | type    |
///     +------+---------+------+---------+---------+---------+-----------//
///     0      1         2      4         8         12        16        176
struct DtCsAddClientRecord {
    /// Kind and version. @{
    static constexpr DtCsKind theKind = DtCsAddClient;
    uint8_t kind = theKind;
    uint8_t version = theDtCsVersion;
    /// @}
    uint16_t modeBits = 0;                ///< DtCsMode.
    int32_t processId = 0;                ///< Of the client.
    int32_t queueSize = 0;                ///< Bytes of the queue's area of records.
    int32_t clientType = 0;               ///< DtCsClientType.
    char poolName[theDtCsTextSize] = {};  ///< Of the client's shared memory.
};

static_assert(sizeof(DtCsAddClientRecord) == 176);
static_assert(offsetof(DtCsAddClientRecord, modeBits) == 2);
static_assert(offsetof(DtCsAddClientRecord, processId) == 4);
static_assert(offsetof(DtCsAddClientRecord, queueSize) == 8);
static_assert(offsetof(DtCsAddClientRecord, clientType) == 12);
static_assert(offsetof(DtCsAddClientRecord, poolName) == 16);

/// 8 bytes; no longer used, its fields mean nothing.
struct DtCsClientPacketRecord {
    /// Kind and version. @{
    static constexpr DtCsKind theKind = DtCsClientPacket;
    uint8_t kind = theKind;
    uint8_t version = theDtCsVersion;
    /// @}
    uint8_t unused[6] = {};  ///< 0
};

static_assert(sizeof(DtCsClientPacketRecord) == 8);

/// A client asks something of the server, a DtCsRequest.
///
///     +------+---------+---------+-----------+
///     | kind | version | request | client id |
///     +------+---------+---------+-----------+
///     0      1         2         4           8
struct DtCsControlReqRecord {
    /// Kind and version. @{
    static constexpr DtCsKind theKind = DtCsControlReq;
    uint8_t kind = theKind;
    uint8_t version = theDtCsVersion;
    /// @}
    uint16_t request = 0;   ///< DtCsRequest.
    uint32_t clientId = 0;  ///< 0 for requests that need no client.
};

static_assert(sizeof(DtCsControlReqRecord) == 8);
static_assert(offsetof(DtCsControlReqRecord, request) == 2);
static_assert(offsetof(DtCsControlReqRecord, clientId) == 4);

/// A client changes one of its filters.
///
///     +------+---------+------+--------+-----------+-------+
///     | kind | version | test | action | client id | value |
///     +------+---------+------+--------+-----------+-------+
///     0      1         2      3        4           8      12
struct DtCsFilterRecord {
    /// Kind and version. @{
    static constexpr DtCsKind theKind = DtCsFilter;
    uint8_t kind = theKind;
    uint8_t version = theDtCsVersion;
    /// @}
    uint8_t test = 0;       ///< DtCsFilterTest.
    uint8_t action = 0;     ///< DtCsFilterAction.
    uint32_t clientId = 0;  ///< As the server has told it.
    uint32_t value = 0;     ///< A byte, or an IPv4 address.
};

static_assert(sizeof(DtCsFilterRecord) == 12);
static_assert(offsetof(DtCsFilterRecord, test) == 2);
static_assert(offsetof(DtCsFilterRecord, action) == 3);
static_assert(offsetof(DtCsFilterRecord, clientId) == 4);
static_assert(offsetof(DtCsFilterRecord, value) == 8);

/// A client is ready for packets, or alive.
///
///     +------+---------+------+---+-----------+-------+--------+---------+------------+
///     | kind | version | code |   | client id | read  | missed | process | queue size |
///     +------+---------+------+---+-----------+-------+--------+---------+------------+
///     0      1         2      3   4           8       12       16        20          24
struct DtCsAckRecord {
    /// Kind and version. @{
    static constexpr DtCsKind theKind = DtCsAck;
    uint8_t kind = theKind;
    uint8_t version = theDtCsVersion;
    /// @}
    uint8_t code = 0;          ///< DtCsAckCode.
    uint8_t unused = 0;        ///< 0
    uint32_t clientId = 0;     ///< As the server has told it.
    uint32_t readCount = 0;    ///< Packets that the client has read.
    uint32_t missedCount = 0;  ///< Packets that were lost before, by their numbers.
    int32_t processId = 0;     ///< Of the client.
    int32_t queueSize = 0;     ///< Bytes of the queue's area of records.
};

static_assert(sizeof(DtCsAckRecord) == 24);
static_assert(offsetof(DtCsAckRecord, code) == 2);
static_assert(offsetof(DtCsAckRecord, clientId) == 4);
static_assert(offsetof(DtCsAckRecord, readCount) == 8);
static_assert(offsetof(DtCsAckRecord, missedCount) == 12);
static_assert(offsetof(DtCsAckRecord, processId) == 16);
static_assert(offsetof(DtCsAckRecord, queueSize) == 20);

/// A packet from the network; its bytes follow the record.
///
///     +------+---------+---+--------+---------+-----------------+--------//
///     | kind | version |   | packet | sender  | port, sequence  | packet
///     |      |         |   | length | address | number << 16    |
///     +------+---------+---+--------+---------+-----------------+--------//
///     0      1         2   4        8         12               16
struct DtCsServerPacketRecord {
    /// Kind and version. @{
    static constexpr DtCsKind theKind = DtCsServerPacket;
    uint8_t kind = theKind;
    uint8_t version = theDtCsVersion;
    /// @}
    uint16_t unused = 0;           ///< 0
    uint32_t packetLength = 0;     ///< Exact: the record on the queue is padded to a multiple of 8.
    uint32_t senderAddress = 0;    ///< IPv4; 0 for any other.
    uint32_t portAndSequence = 0;  ///< The sequence number counts the packets for this client.
};

static_assert(sizeof(DtCsServerPacketRecord) == 16);
static_assert(offsetof(DtCsServerPacketRecord, packetLength) == 4);
static_assert(offsetof(DtCsServerPacketRecord, senderAddress) == 8);
static_assert(offsetof(DtCsServerPacketRecord, portAndSequence) == 12);

/// The state of the server.
///
///     +------+---------+--------+------+---------+---------+-----------+--------+
///     | kind | version | server | un-  | packet  | control | most      | server |
///     |      |         | mode   |bundle| clients | clients | clients   | port   |
///     +------+---------+--------+------+---------+---------+-----------+--------+
///     0      1         2        3      4         6         8           12      16
struct DtCsStateReturnRecord {
    /// Kind and version. @{
    static constexpr DtCsKind theKind = DtCsStateReturn;
    uint8_t kind = theKind;
    uint8_t version = theDtCsVersion;
    /// @}
    uint8_t serverMode = 0;        ///< DtCsServerMode.
    uint8_t unbundling = 0;        ///< 1: packets are PDUs; 0: whole datagrams.
    uint16_t packetClients = 0;    ///< How many there are.
    uint16_t controlClients = 0;   ///< How many there are.
    int32_t maxPacketClients = 0;  ///< Negative for no limit.
    uint32_t serverPort = 0;       ///< The UDP port that is read.
};

static_assert(sizeof(DtCsStateReturnRecord) == 16);
static_assert(offsetof(DtCsStateReturnRecord, serverMode) == 2);
static_assert(offsetof(DtCsStateReturnRecord, unbundling) == 3);
static_assert(offsetof(DtCsStateReturnRecord, packetClients) == 4);
static_assert(offsetof(DtCsStateReturnRecord, controlClients) == 6);
static_assert(offsetof(DtCsStateReturnRecord, maxPacketClients) == 8);
static_assert(offsetof(DtCsStateReturnRecord, serverPort) == 12);

/// What the server knows of a client.
///
///     +------+---------+------+--------+---------+--------+---+-----------+---------+
///     | kind | version | mode | client | filters | groups |   | client id | process |
///     |      |         | bits | type   |         |        |   |           | id      |
///     +------+---------+------+--------+---------+--------+---+-----------+---------+
///     0      1         2      4        5         6        7   8           12       16
///     +------+----------+---------+---------+------------+---------------+
///     | sent | received | dropped | dropped | send queue | receive queue |
///     |      |          | old     | new     | size       | size          |
///     +------+----------+---------+---------+------------+---------------+
///     16     20         24        28        32           36             40
struct DtCsCStateReturnRecord {
    /// Kind and version. @{
    static constexpr DtCsKind theKind = DtCsCStateReturn;
    uint8_t kind = theKind;
    uint8_t version = theDtCsVersion;
    /// @}
    uint16_t modeBits = 0;         ///< DtCsMode.
    uint8_t clientType = 0;        ///< DtCsClientType.
    uint8_t filterCount = 0;       ///< Filters that are set, 0 to 4.
    uint8_t groupCount = 0;        ///< Groups that the client has asked for.
    uint8_t unused = 0;            ///< 0
    uint32_t clientId = 0;         ///< The client's number, from 1.
    int32_t processId = 0;         ///< Of the client.
    uint32_t sentCount = 0;        ///< Records sent to the client.
    uint32_t receivedCount = 0;    ///< Requests received from the client.
    uint32_t droppedOldCount = 0;  ///< Records overwritten unread.
    uint32_t droppedNewCount = 0;  ///< Records that could not be written.
    int32_t sendQueueSize = 0;     ///< Bytes of the queue to the client.
    int32_t receiveQueueSize = 0;  ///< 0: there is none.
};

static_assert(sizeof(DtCsCStateReturnRecord) == 40);
static_assert(offsetof(DtCsCStateReturnRecord, modeBits) == 2);
static_assert(offsetof(DtCsCStateReturnRecord, clientType) == 4);
static_assert(offsetof(DtCsCStateReturnRecord, filterCount) == 5);
static_assert(offsetof(DtCsCStateReturnRecord, groupCount) == 6);
static_assert(offsetof(DtCsCStateReturnRecord, clientId) == 8);
static_assert(offsetof(DtCsCStateReturnRecord, processId) == 12);
static_assert(offsetof(DtCsCStateReturnRecord, sentCount) == 16);
static_assert(offsetof(DtCsCStateReturnRecord, receivedCount) == 20);
static_assert(offsetof(DtCsCStateReturnRecord, droppedOldCount) == 24);
static_assert(offsetof(DtCsCStateReturnRecord, droppedNewCount) == 28);
static_assert(offsetof(DtCsCStateReturnRecord, sendQueueSize) == 32);
static_assert(offsetof(DtCsCStateReturnRecord, receiveQueueSize) == 36);

/// The server has refused something.
///
///     +------+---------+--------+-------//
///     | kind | version | number | text
///     +------+---------+--------+-------//
///     0      1         2        4     164
struct DtCsWarningRecord {
    /// Kind and version. @{
    static constexpr DtCsKind theKind = DtCsWarning;
    uint8_t kind = theKind;
    uint8_t version = theDtCsVersion;
    /// @}
    uint16_t number = 0;              ///< DtCsWarningNumber.
    char text[theDtCsTextSize] = {};  ///< The same in words.
};

static_assert(sizeof(DtCsWarningRecord) == 164);
static_assert(offsetof(DtCsWarningRecord, number) == 2);
static_assert(offsetof(DtCsWarningRecord, text) == 4);

/// The server tells what becomes of a client.
///
///     +------+---------+------+
///     | kind | version | code |
///     +------+---------+------+
///     0      1         2      4
struct DtCsNoticeRecord {
    /// Kind and version. @{
    static constexpr DtCsKind theKind = DtCsNotice;
    uint8_t kind = theKind;
    uint8_t version = theDtCsVersion;
    /// @}
    uint16_t code = 0;  ///< DtCsNoticeCode.
};

static_assert(sizeof(DtCsNoticeRecord) == 4);
static_assert(offsetof(DtCsNoticeRecord, code) == 2);

/// A client wants a group to be read, or no longer.
///
///     +------+---------+---------+---------+-----------+
///     | kind | version | request | address | client id |
///     +------+---------+---------+---------+-----------+
///     0      1         2         4         8          12
struct DtCsMulticastReqRecord {
    /// Kind and version. @{
    static constexpr DtCsKind theKind = DtCsMulticastReq;
    uint8_t kind = theKind;
    uint8_t version = theDtCsVersion;
    /// @}
    uint16_t request = 0;   ///< DtCsGroupRequest.
    uint32_t address = 0;   ///< Of the group.
    uint32_t clientId = 0;  ///< As the server has told it.
};

static_assert(sizeof(DtCsMulticastReqRecord) == 12);
static_assert(offsetof(DtCsMulticastReqRecord, request) == 2);
static_assert(offsetof(DtCsMulticastReqRecord, address) == 4);
static_assert(offsetof(DtCsMulticastReqRecord, clientId) == 8);

// -------------------------------------------------------------------------------------------
// Questions about records

/// Bytes of a record of the kind; 0 for an unknown kind.
DT_EXPORT int DtCsRecordSize(int kind);

/// "AddClient" for 1; null for an unknown kind.
DT_EXPORT const char* DtCsKindName(int kind);

/// The kind of a record that came from outside, or -1 when it is none: too short for a header, of
/// an unknown kind, of another version, or of another size than its kind has. A kind that comes
/// over a queue may have its size rounded up to a multiple of 8, as queues do; a ServerPacket
/// must have all of its packet behind it.
DT_EXPORT int DtCsKindOf(const void* bytes, int length);

/// Copies a record from outside; false, and `record` stays as it is, when the bytes are not a
/// record of its kind.
template <typename Record>
bool DtCsReadRecord(const void* bytes, int length, Record& record) {
    if (DtCsKindOf(bytes, length) != Record::theKind)
        return false;
    std::memcpy(&record, bytes, sizeof record);
    return true;
}

}  // namespace OrynRti

#endif
