#include "CliServer.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <string>
#include <unistd.h>

#include "Fatal.h"
#include "Print.h"
#include "net/SystemCall.h"

namespace OrynRti {

namespace {

constexpr int theServerPacketSize = int{sizeof(DtCsServerPacketRecord)};

/// A text that may go on to the last byte of its field.
DtString boundedText(const char (&field)[theDtCsTextSize]) {
    return DtString(std::string(field, strnlen(field, sizeof field)));
}

/// Fills the field up with zeros. False when the text is too long for it.
bool copyText(const DtString& text, char (&field)[theDtCsTextSize]) {
    const char* const from = text.c_str() != nullptr ? text.c_str() : "";
    const size_t size = std::strlen(from);
    std::memset(field, 0, sizeof field);
    std::memcpy(field, from, std::min(size, sizeof field));
    return size <= sizeof field;
}

}  // namespace

// -------------------------------------------------------------------------------------------
// DtBaseMsg

DtBaseMsg::DtBaseMsg() = default;

DtBaseMsg::~DtBaseMsg() = default;

bool DtBaseMsg::initMsg(const void* bytes, int length) {
    if (length < 0 || (bytes == nullptr && length > 0))
        return false;
    length_ = 0;
    changeSize(length);
    copyOver(bytes, length);
    return true;
}

bool DtBaseMsg::newInternalBuffer(int size) {
    if (size < 0)
        return false;
    buffer_ = std::vector<char>(static_cast<size_t>(size));
    length_ = 0;
    return true;
}

bool DtBaseMsg::changeSize(int size) {
    if (size < 0)
        return false;
    if (size > bufferSize())
        changeBufferSize(size);
    if (size > length_)
        std::memset(&buffer_[static_cast<size_t>(length_)], 0, static_cast<size_t>(size - length_));
    length_ = size;
    return true;
}

bool DtBaseMsg::changeBufferSize(int size) {
    if (size < 0)
        return false;
    buffer_.resize(static_cast<size_t>(size));
    length_ = std::min(length_, size);
    return true;
}

bool DtBaseMsg::insertBytes(int at, const void* bytes, int count) {
    if (at < 0 || at > length_ || count < 0 || count > INT_MAX - length_)
        return false;
    if (count == 0)
        return true;
    if (bytes == nullptr)
        return false;
    const auto behind = static_cast<size_t>(length_ - at);
    changeSize(length_ + count);
    char* const place = &buffer_[static_cast<size_t>(at)];
    std::memmove(place + count, place, behind);
    std::memcpy(place, bytes, static_cast<size_t>(count));
    return true;
}

bool DtBaseMsg::deleteBytes(int at, int count) {
    if (at < 0 || at > length_ || count < 0)
        return false;
    const int removed = std::min(count, length_ - at);
    if (removed == 0)
        return true;
    char* const place = &buffer_[static_cast<size_t>(at)];
    std::memmove(place, place + removed, static_cast<size_t>(length_ - at - removed));
    length_ -= removed;
    return true;
}

void DtBaseMsg::clearAll() {
    length_ = 0;
}

void DtBaseMsg::copyOut(void* bytes, int size) const {
    if (const int count = std::min(size, length_); count > 0)
        std::memcpy(bytes, buffer_.data(), static_cast<size_t>(count));
}

void DtBaseMsg::copyOver(const void* bytes, int size) {
    if (const int count = std::min(size, length_); count > 0)
        std::memcpy(buffer_.data(), bytes, static_cast<size_t>(count));
}

// -------------------------------------------------------------------------------------------
// DtClientServerMsg

DtClientServerMsg::DtClientServerMsg(const void* record)
    : kind_(*static_cast<const uint8_t*>(record)) {
    if (const int size = DtCsRecordSize(kind_); size > 0)
        initMsg(record, size);
    else
        DtWarn("Unknown msg kind (%d) in  DtClientServerMsg()", kind_);
}

std::optional<DtClientServerMsg> DtClientServerMsg::fromRecord(const void* bytes, int length) {
    if (DtCsKindOf(bytes, length) < 0)
        return std::nullopt;
    return DtClientServerMsg(bytes);
}

uint8_t DtClientServerMsg::kind() const {
    uint8_t kind = kind_;
    copyOut(&kind, 1);
    return kind;
}

uint8_t DtClientServerMsg::version() const {
    uint8_t header[2] = {};
    copyOut(header, 2);
    return header[1];
}

// -------------------------------------------------------------------------------------------
// DtSocketMsg

DtSocketMsg::DtSocketMsg(const void* record, int descriptor)
    : DtClientServerMsg(record), descriptor_(descriptor) {}

// A message of an unknown kind has no bytes; writing none would still send a datagram.
int DtSocketMsg::send() {
    if (descriptor_ < 0 || length() == 0)
        return 0;
    const ssize_t written = repeatedCall(
        [this] { return ::write(descriptor_, data(), static_cast<size_t>(length())); });
    if (written == length())
        return length();
    if (written >= 0) {
        DtWarn("DtSocket partial write %d of %d\n", static_cast<int>(written), length());
        return 0;
    }
    if (errno == ENOBUFS || errno == EAGAIN)
        return 0;
    if (errno != EDESTADDRREQ && errno != ECONNRESET)
        DtWarnNetPerror("DtSocketMsg write");
    return -1;
}

// -------------------------------------------------------------------------------------------
// DtShmMsg

DtShmMsg::DtShmMsg(const void* record, DtShmMsgQueueWriter* writer)
    : DtClientServerMsg(record), writer_(writer) {}

int DtShmMsg::send() {
    return writer_ == nullptr ? 0 : writer_->Write(data(), length());
}

// -------------------------------------------------------------------------------------------
// The kinds

DtString DtCsAddClientMsg::poolName() const {
    return boundedText(record().poolName);
}

bool DtCsAddClientMsg::setPoolName(const DtString& name) {
    DtCsAddClientRecord changed = record();
    const bool whole = copyText(name, changed.poolName);
    copyOver(&changed, sizeof changed);
    return whole;
}

DtString DtCsWarningMsg::text() const {
    return boundedText(record().text);
}

bool DtCsWarningMsg::setText(const DtString& text) {
    DtCsWarningRecord changed = record();
    const bool whole = copyText(text, changed.text);
    copyOver(&changed, sizeof changed);
    return whole;
}

DtCsClientPacketMsg::DtCsClientPacketMsg(DtShmMsgQueueWriter* writer) : DtCsMsg(writer) {
    DtWarn("Should no longer be trying to create new DtCsClientPacketMsgs\n");
}

int DtCsClientPacketMsg::send() {
    DtWarn("Should no longer be trying to send DtCsClientPacketMsgs\n");
    return -1;
}

// -------------------------------------------------------------------------------------------
// DtCsServerPacketMsg

std::optional<DtCsServerPacketMsg> DtCsServerPacketMsg::fromRecord(const void* bytes, int length,
                                                                   DtShmMsgQueueWriter* writer) {
    auto message = DtCsMsg::fromRecord(bytes, length, writer);
    if (message) {
        message->packet_ = static_cast<const char*>(bytes) + theServerPacketSize;
        message->packetLength_ = static_cast<int>(message->record().packetLength);
    }
    return message;
}

uint16_t DtCsServerPacketMsg::senderPort() const {
    return static_cast<uint16_t>(record().portAndSequence & 0xFFFF);
}

uint16_t DtCsServerPacketMsg::sequenceNumber() const {
    return static_cast<uint16_t>(record().portAndSequence >> 16);
}

void DtCsServerPacketMsg::setPacket(const char* packet, int length_bytes) {
    packet_ = packet;
    packetLength_ = packet == nullptr ? 0 : std::max(length_bytes, 0);
    set(&DtCsServerPacketRecord::packetLength, static_cast<uint32_t>(packetLength_));
}

void DtCsServerPacketMsg::setSender(uint32_t address, uint16_t port) {
    DtCsServerPacketRecord changed = record();
    changed.senderAddress = address;
    changed.portAndSequence = (changed.portAndSequence & 0xFFFF0000U) | port;
    copyOver(&changed, sizeof changed);
}

void DtCsServerPacketMsg::setSequenceNumber(uint16_t number) {
    DtCsServerPacketRecord changed = record();
    changed.portAndSequence = (uint32_t{number} << 16) | (changed.portAndSequence & 0xFFFF);
    copyOver(&changed, sizeof changed);
}

int DtCsServerPacketMsg::send() {
    if (writer() == nullptr)
        return 0;
    const char* const pieces[] = {data(), packet_};
    const int lengths[] = {length(), packetLength_};
    const int written = writer()->Writev(pieces, lengths, 2);
    return written > theServerPacketSize ? written - theServerPacketSize : written;
}

}  // namespace OrynRti
