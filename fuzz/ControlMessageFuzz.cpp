// Records from outside, as they come from a socket or out of a queue, through the check, every
// accessor and print() of every kind. The first byte chooses what is done to a record that passes.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "CliServer.h"
#include "Print.h"

using namespace OrynRti;

namespace {

void require(bool holds) {
    if (!holds)
        std::abort();
}

class DiscardingPrinter : public DtPrinter {
public:
    void write(const std::string& text, int, bool) override { printed_ += text.size(); }

private:
    size_t printed_ = 0;
};

/// Kinds without fields.
void look(const DtClientServerMsg&) {}

void look(DtCsAddClientMsg& message) {
    const DtString name = message.poolName();
    require(name.size() <= theDtCsTextSize && message.setPoolName(name));
    require(message.poolName() == name);
}

void look(DtCsWarningMsg& message) {
    const DtString text = message.text();
    require(text.size() <= theDtCsTextSize && message.setText(text));
    require(message.text() == text);
}

void look(DtCsServerPacketMsg& message) {
    const std::string packet(message.packet(), static_cast<size_t>(message.packetLength()));
    require(packet.size() == message.record().packetLength);
    const uint16_t port = message.senderPort();
    const uint16_t number = message.sequenceNumber();
    message.setSender(message.senderAddress(), port);
    message.setSequenceNumber(number);
    require(message.senderPort() == port && message.sequenceNumber() == number);
}

void look(DtCsControlReqMsg& message) {
    message.setRequest(message.request());
    message.setClientId(message.clientId());
}

void look(DtCsFilterMsg& message) {
    message.setTest(message.test());
    message.setAction(message.action());
    message.setClientId(message.clientId());
    message.setValue(message.value());
}

void look(DtCsAckMsg& message) {
    message.setCode(message.code());
    message.setReadCount(message.readCount());
    message.setMissedCount(message.missedCount());
    message.setProcessId(message.processId());
    message.setQueueSize(message.queueSize());
}

void look(DtCsMulticastReqMsg& message) {
    message.setRequest(message.request());
    message.setAddr(message.addr());
    message.setClientId(message.clientId());
}

void look(DtCsStateReturnMsg& message) {
    message.setServerMode(message.serverMode());
    message.setMaxPacketClients(message.maxPacketClients());
    message.setServerPort(message.serverPort());
    require(message.packetClients() == message.record().packetClients);
    require(message.unbundling() == (message.record().unbundling != 0));
}

void look(DtCsCStateReturnMsg& message) {
    message.setModeBits(message.modeBits());
    message.setClientType(message.clientType());
    message.setSentCount(message.sentCount());
    message.setReceiveQueueSize(message.receiveQueueSize());
}

void look(DtCsNoticeMsg& message) {
    message.setCode(message.code());
}

/// Takes fields away, or moves them; accessors and print() must not mind.
void change(DtBaseMsg& message, int how) {
    if ((how & 1) != 0)
        message.changeSize(how / 2);
    if ((how & 2) != 0)
        message.deleteBytes(how / 16, how / 4);
    if ((how & 4) != 0)
        message.insertBytes(how / 8, "inserted", 8);
    if ((how & 8) != 0)
        message.changeBufferSize(how / 2);
}

/// Whether the bytes were a record of that kind.
template <typename Message>
bool take(const void* bytes, int length, int how) {
    auto message = Message::fromRecord(bytes, length);
    if (!message)
        return false;
    look(*message);
    require(DtCsKindOf(message->data(), message->length()) >= 0 ||
            message->kind() == DtCsServerPacket);
    require(message->send() <= 0);  // there is no way out
    message->print();
    change(*message, how);
    message->record();
    message->print();
    return true;
}

template <typename... Messages>
int takeAll(const void* bytes, int length, int how) {
    return (... + (take<Messages>(bytes, length, how) ? 1 : 0));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static DiscardingPrinter printer;
    DtSetQuarnPrinter(&printer);
    if (size == 0)
        return 0;
    const int length = static_cast<int>(size - 1);
    // Exactly as large as the record, so that a step outside is seen.
    const auto bytes = std::make_unique<std::uint8_t[]>(size - 1);
    std::copy(data + 1, data + size, bytes.get());
    const int kinds =
        takeAll<DtCsMsgWaitingMsg, DtCsAddClientMsg, DtCsClientPacketMsg, DtCsControlReqMsg,
                DtCsFilterMsg, DtCsAckMsg, DtCsCliQuotaMsg, DtCsServerPacketMsg, DtCsStateReturnMsg,
                DtCsCStateReturnMsg, DtCsWarningMsg, DtCsNoticeMsg, DtCsMulticastReqMsg>(
            bytes.get(), length, data[0]);
    const bool sound = DtCsKindOf(bytes.get(), length) >= 0;
    require(kinds == (sound ? 1 : 0));
    const auto any = DtClientServerMsg::fromRecord(bytes.get(), length);
    require(any.has_value() == sound);
    if (any)
        any->print();
    return 0;
}
