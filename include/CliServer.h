#ifndef RTIQNUTIL_CLISERVER_H
#define RTIQNUTIL_CLISERVER_H

#include <cstdint>
#include <optional>
#include <type_traits>
#include <vector>

#include "CliServerRecords.h"
#include "Export.h"
#include "ShmWriter.h"
#include "String.h"

namespace OrynRti {

// -------------------------------------------------------------------------------------------
// Where the server is

/// Which of the server's two sockets a path leads to.
enum DtRequestPath : int {
    DtRequestPathNone = 0,     ///< The five digits of the key alone.
    DtRequestPathControl = 1,  ///< "/tmp/qnd-": there for all the server's life.
    DtRequestPathPackets = 2   ///< "/tmp/qns-": there while packet clients are served. 3 too.
};

/// Bytes that a path to a socket can take, with its final zero.
constexpr int theDtRequestPathSize = 108;

/// Writes the path of a server's socket: "/tmp/qns-00123" for key 123 and which 2. A key outside
/// 0 to 99999 is brought into it modulo 100000, with a line on DtWarn. A `which` other than 1, 2
/// and 3 counts as 0. `buffer` holds theDtRequestPathSize bytes (the caller owes that).
DT_EXPORT void DtPacketServerRequestPath(int key, char* buffer, int which);

/// Puts the sockets into another directory than "/tmp", without a final '/': for tests. Call it
/// before other threads use what is in this header. False, and nothing changes, when a path would
/// be longer than a socket's can be, or for an empty name.
DT_EXPORT bool DtSetPacketServerDirectory(const DtString& directory);

/// Whether a server with that key is there, by its sockets' paths: 1 when it serves packet
/// clients, -1 when it serves control clients only, 0 when there is none. A server that was
/// killed leaves its paths: ask it for its state to be sure.
DT_EXPORT int DtPacketServerIsAlive(int key);

/// What DtOpenUnixDgram makes a socket for.
enum DtUnixDgramAction : int { DtUnixDgramServe = 0, DtUnixDgramConnect = 1 };

/// Makes a Unix-domain datagram socket. To serve, an old file at `path` is removed, the socket
/// bound to it and opened to everybody (mode 0777); to connect, it is connected to `path`.
///
/// Returns the descriptor, which is closed on exec and is the caller's to close; or -1 with errno
/// and a line on DtWarn that begins with `label`, or with "DtOpenUnixDgram" for null. Only
/// without a label, connecting to a path that is not there says nothing. A path that is empty or
/// does not fit is an error.
DT_EXPORT int DtOpenUnixDgram(const char* path, int action, const char* label = nullptr);

// -------------------------------------------------------------------------------------------
// What messages are made of

/// A buffer of bytes that grows: what a message is kept in.
///
/// The buffer may be larger than the bytes in it, length() of them. Counts below 0 and places
/// behind the end are refused: false, and nothing changes. Bytes to be taken may not be the
/// buffer's own.
///
/// Ownership: a value; copies are independent
/// Cost:      allocates when the buffer grows
class DT_EXPORT DtBaseMsg {
public:
    DtBaseMsg();
    /// Copy the bytes. @{
    DtBaseMsg(const DtBaseMsg&) = default;
    DtBaseMsg& operator=(const DtBaseMsg&) = default;
    /// @}
    virtual ~DtBaseMsg();

    /// Takes over a copy of these bytes in place of those it has.
    bool initMsg(const void* bytes, int length);

    /// A new buffer for `size` bytes, with none in it.
    bool newInternalBuffer(int size);

    /// Makes the length `size`: bytes at the end go, or zeros are appended.
    bool changeSize(int size);

    /// Makes the buffer as large as `size`; bytes that find no room in it go.
    bool changeBufferSize(int size);

    /// Puts them in front of what is `at` bytes from the beginning; at length(), appends them.
    bool insertBytes(int at, const void* bytes, int count);

    /// Removes `count` bytes, or as many as there are from `at`.
    bool deleteBytes(int at, int count);

    /// No bytes any more; the buffer stays.
    void clearAll();

    int length() const { return length_; }                               ///< Bytes held.
    int bufferSize() const { return static_cast<int>(buffer_.size()); }  ///< Bytes of room.
    const char* data() const { return buffer_.data(); }  ///< Good until the next change.

protected:
    /// Copies up to `size` bytes from the front, as many as there are, out of the buffer or over
    /// what is in it. @{
    void copyOut(void* bytes, int size) const;
    void copyOver(const void* bytes, int size);
    /// @}

private:
    std::vector<char> buffer_;
    int length_ = 0;
};

/// One record of whatever kind, to look at or print.
///
/// print() works for every kind, also through this class.
class DT_EXPORT DtClientServerMsg : public DtBaseMsg {
public:
    /// Copies a record: as many bytes as its kind says, which must be there (the caller owes
    /// that; see DtCsKindOf for a record from outside). For an unknown kind the length is 0, and
    /// DtWarn gets a message, without an end of line.
    explicit DtClientServerMsg(const void* record);

    /// Nothing when the bytes are not a sound record, see DtCsKindOf.
    static std::optional<DtClientServerMsg> fromRecord(const void* bytes, int length);

    uint8_t kind() const;     ///< Of the record, or of the unknown one it was made from.
    uint8_t version() const;  ///< Of the record; 0 without one.

    /// Writes name and version of the kind, and what the state, warning and notice kinds say,
    /// to DtInfo. An unknown kind is told to DtWarn, without an end of line.
    ///
    /// Counts above 2147483647 are printed as negative numbers.
    void print() const;

private:
    template <typename Record>
    void printFields() const;

    uint8_t kind_;
};

/// A message that goes through a socket.
///
/// Ownership: borrows the descriptor
class DT_EXPORT DtSocketMsg : public DtClientServerMsg {
public:
    /// What a message of this class goes through: a descriptor, below 0 for none. @{
    using Way = int;
    static constexpr Way theNoWay = -1;
    /// @}

    /// As DtClientServerMsg.
    explicit DtSocketMsg(const void* record, int descriptor = theNoWay);

    /// What send() writes to. @{
    int descriptor() const { return descriptor_; }
    void setDescriptor(int descriptor) { descriptor_ = descriptor; }
    /// @}

    /// Writes the record to the socket, in one piece. Returns its length; 0 without a descriptor,
    /// when the system has no room for it just now, and when it was written in part only (told
    /// on DtWarn); -1 with errno when it cannot be sent. ECONNRESET and EDESTADDRREQ are not told,
    /// every other error is, also ECONNREFUSED and ENOTCONN of a server that is gone.
    virtual int send();

private:
    int descriptor_;
};

/// A message that goes through a queue in shared memory.
///
/// Ownership: borrows the writer
class DT_EXPORT DtShmMsg : public DtClientServerMsg {
public:
    /// What a message of this class goes through; null for none. @{
    using Way = DtShmMsgQueueWriter*;
    static constexpr Way theNoWay = nullptr;
    /// @}

    /// As DtClientServerMsg.
    explicit DtShmMsg(const void* record, DtShmMsgQueueWriter* writer = theNoWay);

    /// What send() writes to. @{
    DtShmMsgQueueWriter* writer() const { return writer_; }
    void setWriter(DtShmMsgQueueWriter* writer) { writer_ = writer; }
    /// @}

    /// Writes the record to the queue. Returns its length; 0 without a writer; -1 when the queue
    /// does not take it.
    virtual int send();

private:
    DtShmMsgQueueWriter* writer_;
};

/// What the messages of all kinds have in common: the record, field by field. `Carrier` is
/// DtSocketMsg or DtShmMsg.
///
///     DtCsAckMsg ack(descriptor);              // an empty record of its kind
///     ack.setCode(DtCsAlive);
///     ack.send();
///     ...
///     if (const auto ack = DtCsAckMsg::fromRecord(buffer, length))
///         served = ack->readCount();
template <typename Message, typename Record, typename Carrier>
class DT_EXPORT DtCsMsg : public Carrier {
public:
    using Way = typename Carrier::Way;  ///< A descriptor or a writer.

    /// Made from a record from outside; nothing when that is not a sound one of this kind, see
    /// DtCsKindOf.
    static std::optional<Message> fromRecord(const void* bytes, int length,
                                             Way way = Carrier::theNoWay) {
        if (DtCsKindOf(bytes, length) != Record::theKind)
            return std::nullopt;
        std::optional<Message> message(way);
        message->copyOver(bytes, sizeof(Record));
        return message;
    }

    /// A copy; fields that changeSize() and its like have cut off are 0.
    Record record() const {
        Record copy;
        this->copyOut(&copy, sizeof copy);
        return copy;
    }

protected:
    /// An empty record of the kind.
    explicit DtCsMsg(Way way) : DtCsMsg(Record(), way) {}

    /// One field of the record.
    template <typename Field>
    Field get(Field Record::*field) const {
        return record().*field;
    }

    /// Changes one field of the record.
    template <typename Field>
    void set(Field Record::*field, typename std::common_type<Field>::type value) {
        Record changed = record();
        changed.*field = value;
        this->copyOver(&changed, sizeof changed);
    }

private:
    DtCsMsg(const Record& record, Way way) : Carrier(&record, way) {}
};

// -------------------------------------------------------------------------------------------
// From the client to the server. Every class takes the descriptor that it is sent through.

/// A client adds itself.
class DT_EXPORT DtCsAddClientMsg
    : public DtCsMsg<DtCsAddClientMsg, DtCsAddClientRecord, DtSocketMsg> {
public:
    /// An empty record, and its fields: see DtCsAddClientRecord. @{
    explicit DtCsAddClientMsg(int descriptor = theNoWay) : DtCsMsg(descriptor) {}

    uint16_t modeBits() const { return get(&DtCsAddClientRecord::modeBits); }
    int processId() const { return get(&DtCsAddClientRecord::processId); }
    int queueSize() const { return get(&DtCsAddClientRecord::queueSize); }
    int clientType() const { return get(&DtCsAddClientRecord::clientType); }
    DtString poolName() const;

    void setModeBits(uint16_t bits) { set(&DtCsAddClientRecord::modeBits, bits); }
    void setProcessId(int processId) { set(&DtCsAddClientRecord::processId, processId); }
    void setQueueSize(int size_bytes) { set(&DtCsAddClientRecord::queueSize, size_bytes); }
    void setClientType(int type) { set(&DtCsAddClientRecord::clientType, type); }

    /// Copies at most 160 bytes; false when the name is longer.
    bool setPoolName(const DtString& name);
    /// @}
};

/// A client asks something of the server.
class DT_EXPORT DtCsControlReqMsg
    : public DtCsMsg<DtCsControlReqMsg, DtCsControlReqRecord, DtSocketMsg> {
public:
    /// An empty record, and its fields: see DtCsControlReqRecord. @{
    explicit DtCsControlReqMsg(int descriptor = theNoWay) : DtCsMsg(descriptor) {}

    uint16_t request() const { return get(&DtCsControlReqRecord::request); }
    uint32_t clientId() const { return get(&DtCsControlReqRecord::clientId); }

    void setRequest(uint16_t request) { set(&DtCsControlReqRecord::request, request); }
    void setClientId(uint32_t clientId) { set(&DtCsControlReqRecord::clientId, clientId); }
    /// @}
};

/// A client changes one of its filters.
class DT_EXPORT DtCsFilterMsg : public DtCsMsg<DtCsFilterMsg, DtCsFilterRecord, DtSocketMsg> {
public:
    /// An empty record, and its fields: see DtCsFilterRecord. @{
    explicit DtCsFilterMsg(int descriptor = theNoWay) : DtCsMsg(descriptor) {}

    uint8_t test() const { return get(&DtCsFilterRecord::test); }
    uint8_t action() const { return get(&DtCsFilterRecord::action); }
    uint32_t clientId() const { return get(&DtCsFilterRecord::clientId); }
    uint32_t value() const { return get(&DtCsFilterRecord::value); }

    void setTest(uint8_t test) { set(&DtCsFilterRecord::test, test); }
    void setAction(uint8_t action) { set(&DtCsFilterRecord::action, action); }
    void setClientId(uint32_t clientId) { set(&DtCsFilterRecord::clientId, clientId); }
    void setValue(uint32_t value) { set(&DtCsFilterRecord::value, value); }
    /// @}
};

/// A client is ready for packets, or alive.
class DT_EXPORT DtCsAckMsg : public DtCsMsg<DtCsAckMsg, DtCsAckRecord, DtSocketMsg> {
public:
    /// An empty record, and its fields: see DtCsAckRecord. @{
    explicit DtCsAckMsg(int descriptor = theNoWay) : DtCsMsg(descriptor) {}

    uint8_t code() const { return get(&DtCsAckRecord::code); }
    uint32_t clientId() const { return get(&DtCsAckRecord::clientId); }
    uint32_t readCount() const { return get(&DtCsAckRecord::readCount); }
    uint32_t missedCount() const { return get(&DtCsAckRecord::missedCount); }
    int processId() const { return get(&DtCsAckRecord::processId); }
    int queueSize() const { return get(&DtCsAckRecord::queueSize); }

    void setCode(uint8_t code) { set(&DtCsAckRecord::code, code); }
    void setClientId(uint32_t clientId) { set(&DtCsAckRecord::clientId, clientId); }
    void setReadCount(uint32_t packets) { set(&DtCsAckRecord::readCount, packets); }
    void setMissedCount(uint32_t packets) { set(&DtCsAckRecord::missedCount, packets); }
    void setProcessId(int processId) { set(&DtCsAckRecord::processId, processId); }
    void setQueueSize(int size_bytes) { set(&DtCsAckRecord::queueSize, size_bytes); }
    /// @}
};

/// A client wants a group to be read, or no longer.
class DT_EXPORT DtCsMulticastReqMsg
    : public DtCsMsg<DtCsMulticastReqMsg, DtCsMulticastReqRecord, DtSocketMsg> {
public:
    /// An empty record, and its fields: see DtCsMulticastReqRecord. @{
    explicit DtCsMulticastReqMsg(int descriptor = theNoWay) : DtCsMsg(descriptor) {}

    uint16_t request() const { return get(&DtCsMulticastReqRecord::request); }
    uint32_t addr() const { return get(&DtCsMulticastReqRecord::address); }  ///< Network order.
    uint32_t clientId() const { return get(&DtCsMulticastReqRecord::clientId); }

    void setRequest(uint16_t request) { set(&DtCsMulticastReqRecord::request, request); }
    void setAddr(uint32_t address) { set(&DtCsMulticastReqRecord::address, address); }
    void setClientId(uint32_t clientId) { set(&DtCsMulticastReqRecord::clientId, clientId); }
    /// @}
};

/// A packet from a client to the network. Clients have sockets of their own for that: making or
/// sending one warns.
class DT_EXPORT DtCsClientPacketMsg
    : public DtCsMsg<DtCsClientPacketMsg, DtCsClientPacketRecord, DtShmMsg> {
public:
    explicit DtCsClientPacketMsg(DtShmMsgQueueWriter* writer = theNoWay);  ///< Warns.

    /// -1
    int send() override;
};

// -------------------------------------------------------------------------------------------
// From the server to the client. The first two go through the socket, the rest through the queue.

/// The queue has records.
class DT_EXPORT DtCsMsgWaitingMsg
    : public DtCsMsg<DtCsMsgWaitingMsg, DtCsMsgWaitingRecord, DtSocketMsg> {
public:
    /// An empty record.
    explicit DtCsMsgWaitingMsg(int descriptor = theNoWay) : DtCsMsg(descriptor) {}
};

/// The client was not added.
class DT_EXPORT DtCsCliQuotaMsg : public DtCsMsg<DtCsCliQuotaMsg, DtCsCliQuotaRecord, DtSocketMsg> {
public:
    /// An empty record.
    explicit DtCsCliQuotaMsg(int descriptor = theNoWay) : DtCsMsg(descriptor) {}
};

/// A packet from the network. Make one and send it again and again: nothing is allocated then.
///
/// Ownership: borrows the packet
class DT_EXPORT DtCsServerPacketMsg
    : public DtCsMsg<DtCsServerPacketMsg, DtCsServerPacketRecord, DtShmMsg> {
public:
    /// An empty packet.
    explicit DtCsServerPacketMsg(DtShmMsgQueueWriter* writer = theNoWay) : DtCsMsg(writer) {}

    /// As DtCsMsg; the packet is borrowed from `bytes`, behind the record.
    static std::optional<DtCsServerPacketMsg> fromRecord(const void* bytes, int length,
                                                         DtShmMsgQueueWriter* writer = nullptr);

    const char* packet() const { return packet_; }      ///< Borrowed.
    int packetLength() const { return packetLength_; }  ///< Bytes.
    /// As setSender() and setSequenceNumber() take them. @{
    uint32_t senderAddress() const { return get(&DtCsServerPacketRecord::senderAddress); }
    uint16_t senderPort() const;
    uint16_t sequenceNumber() const;
    /// @}

    /// A length below 0, or null, is an empty packet.
    void setPacket(const char* packet, int length_bytes);

    /// Address in network order, 0 for one that is not IPv4; port in the host's order.
    void setSender(uint32_t address, uint16_t port);
    void setSequenceNumber(uint16_t number);  ///< Of the packet for this client, from 0.

    /// Writes record and packet as one message. Returns the length of the packet (that of the
    /// record, 16, for an empty packet); 0 without a writer; -1 when the queue does not take it.
    int send() override;

private:
    const char* packet_ = nullptr;
    int packetLength_ = 0;
};

/// The state of the server.
class DT_EXPORT DtCsStateReturnMsg
    : public DtCsMsg<DtCsStateReturnMsg, DtCsStateReturnRecord, DtShmMsg> {
public:
    /// An empty record, and its fields: see DtCsStateReturnRecord. @{
    explicit DtCsStateReturnMsg(DtShmMsgQueueWriter* writer = theNoWay) : DtCsMsg(writer) {}

    uint8_t serverMode() const { return get(&DtCsStateReturnRecord::serverMode); }
    bool unbundling() const { return get(&DtCsStateReturnRecord::unbundling) != 0; }
    uint16_t packetClients() const { return get(&DtCsStateReturnRecord::packetClients); }
    uint16_t controlClients() const { return get(&DtCsStateReturnRecord::controlClients); }
    int maxPacketClients() const { return get(&DtCsStateReturnRecord::maxPacketClients); }
    uint32_t serverPort() const { return get(&DtCsStateReturnRecord::serverPort); }

    void setServerMode(uint8_t mode) { set(&DtCsStateReturnRecord::serverMode, mode); }
    void setUnbundling(bool on) { set(&DtCsStateReturnRecord::unbundling, on ? 1 : 0); }
    void setPacketClients(uint16_t count) { set(&DtCsStateReturnRecord::packetClients, count); }
    void setControlClients(uint16_t count) { set(&DtCsStateReturnRecord::controlClients, count); }
    void setMaxPacketClients(int count) { set(&DtCsStateReturnRecord::maxPacketClients, count); }
    void setServerPort(uint32_t port) { set(&DtCsStateReturnRecord::serverPort, port); }
    /// @}
};

/// What the server knows of a client.
class DT_EXPORT DtCsCStateReturnMsg
    : public DtCsMsg<DtCsCStateReturnMsg, DtCsCStateReturnRecord, DtShmMsg> {
public:
    /// An empty record, and its fields: see DtCsCStateReturnRecord. @{
    explicit DtCsCStateReturnMsg(DtShmMsgQueueWriter* writer = theNoWay) : DtCsMsg(writer) {}

    uint16_t modeBits() const { return get(&DtCsCStateReturnRecord::modeBits); }
    uint8_t clientType() const { return get(&DtCsCStateReturnRecord::clientType); }
    uint8_t filterCount() const { return get(&DtCsCStateReturnRecord::filterCount); }
    uint8_t groupCount() const { return get(&DtCsCStateReturnRecord::groupCount); }
    uint32_t clientId() const { return get(&DtCsCStateReturnRecord::clientId); }
    int processId() const { return get(&DtCsCStateReturnRecord::processId); }
    uint32_t sentCount() const { return get(&DtCsCStateReturnRecord::sentCount); }
    uint32_t receivedCount() const { return get(&DtCsCStateReturnRecord::receivedCount); }
    uint32_t droppedOldCount() const { return get(&DtCsCStateReturnRecord::droppedOldCount); }
    uint32_t droppedNewCount() const { return get(&DtCsCStateReturnRecord::droppedNewCount); }
    int sendQueueSize() const { return get(&DtCsCStateReturnRecord::sendQueueSize); }
    int receiveQueueSize() const { return get(&DtCsCStateReturnRecord::receiveQueueSize); }

    void setModeBits(uint16_t bits) { set(&DtCsCStateReturnRecord::modeBits, bits); }
    void setClientType(uint8_t type) { set(&DtCsCStateReturnRecord::clientType, type); }
    void setFilterCount(uint8_t count) { set(&DtCsCStateReturnRecord::filterCount, count); }
    void setGroupCount(uint8_t count) { set(&DtCsCStateReturnRecord::groupCount, count); }
    void setClientId(uint32_t clientId) { set(&DtCsCStateReturnRecord::clientId, clientId); }
    void setProcessId(int processId) { set(&DtCsCStateReturnRecord::processId, processId); }
    void setSentCount(uint32_t count) { set(&DtCsCStateReturnRecord::sentCount, count); }
    void setReceivedCount(uint32_t count) { set(&DtCsCStateReturnRecord::receivedCount, count); }
    void setDroppedOldCount(uint32_t count) {
        set(&DtCsCStateReturnRecord::droppedOldCount, count);
    }
    void setDroppedNewCount(uint32_t count) {
        set(&DtCsCStateReturnRecord::droppedNewCount, count);
    }
    void setSendQueueSize(int size_bytes) {
        set(&DtCsCStateReturnRecord::sendQueueSize, size_bytes);
    }
    void setReceiveQueueSize(int size_bytes) {
        set(&DtCsCStateReturnRecord::receiveQueueSize, size_bytes);
    }
    /// @}
};

/// The server has refused something.
class DT_EXPORT DtCsWarningMsg : public DtCsMsg<DtCsWarningMsg, DtCsWarningRecord, DtShmMsg> {
public:
    /// An empty record, and its fields: see DtCsWarningRecord. @{
    explicit DtCsWarningMsg(DtShmMsgQueueWriter* writer = theNoWay) : DtCsMsg(writer) {}

    uint16_t number() const { return get(&DtCsWarningRecord::number); }
    DtString text() const;

    void setNumber(uint16_t number) { set(&DtCsWarningRecord::number, number); }

    /// Copies at most 160 bytes; false when the text is longer.
    bool setText(const DtString& text);
    /// @}
};

/// The server tells what becomes of a client.
class DT_EXPORT DtCsNoticeMsg : public DtCsMsg<DtCsNoticeMsg, DtCsNoticeRecord, DtShmMsg> {
public:
    /// An empty record, and its fields: see DtCsNoticeRecord. @{
    explicit DtCsNoticeMsg(DtShmMsgQueueWriter* writer = theNoWay) : DtCsMsg(writer) {}

    uint16_t code() const { return get(&DtCsNoticeRecord::code); }
    void setCode(uint16_t code) { set(&DtCsNoticeRecord::code, code); }
    /// @}
};

}  // namespace OrynRti

#endif
