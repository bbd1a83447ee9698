#include "PacketFilter.h"

#include <algorithm>

namespace RtiqnPacketServer {

using namespace OrynRti;

bool ByteTest::change(std::uint8_t action, std::uint32_t value) {
    constexpr std::uint32_t theLargestByte = 255;
    if (action > DtCsPassAll || (action != DtCsPassAll && value > theLargestByte))
        return false;
    if (action == DtCsAcceptOnly)
        change(DtPduAcceptListed, value);
    if (action == DtCsReject)
        change(DtPduRejectListed, value);
    if (action == DtCsAddValue && !isListed(value))
        count_ += test_.extendTest(1, &value);
    if (action == DtCsRemoveValue && isListed(value))
        count_ -= test_.reduceTest(1, &value);
    if (action == DtCsPassAll) {
        test_.disableTest();
        accepts_ = false;
        count_ = 0;
    }
    return true;
}

void ByteTest::change(DtPduTestOperator op, unsigned int value) {
    count_ = test_.setTest(op, 1, &value);
    accepts_ = op == DtPduAcceptListed;
}

bool ByteTest::isListed(unsigned int value) {
    auto byte = static_cast<unsigned char>(value);
    return test_.evalTest(&byte, 0, DtPduFilterByte) == accepts_;
}

bool ByteTest::passes(const Packet& packet, int index) {
    // It only reads what it is given.
    return !isSet() || test_.evalTest(const_cast<char*>(packet.bytes), index, DtPduFilterByte);
}

// -------------------------------------------------------------------------------------------

bool SenderTest::change(std::uint8_t action, std::uint32_t address) {
    if (action > DtCsPassAll ||
        (action == DtCsAddValue && !isListed(address) && addresses_.size() == theMostValues))
        return false;
    if (action == DtCsRemoveValue)
        addresses_.erase(std::remove(addresses_.begin(), addresses_.end(), address),
                         addresses_.end());
    if (action == DtCsAddValue && !isListed(address))
        addresses_.push_back(address);
    if (action == DtCsAcceptOnly || action == DtCsReject)
        addresses_.assign(1, address);
    if (action == DtCsPassAll)
        addresses_.clear();
    if (action != DtCsAddValue && action != DtCsRemoveValue)
        accepts_ = action == DtCsAcceptOnly;
    return true;
}

bool SenderTest::isListed(std::uint32_t address) const {
    return std::find(addresses_.begin(), addresses_.end(), address) != addresses_.end();
}

// -------------------------------------------------------------------------------------------

bool PacketFilter::change(const DtCsFilterRecord& request) {
    const bool changed =
        request.test < bytes_.size() ? bytes_[request.test].change(request.action, request.value)
        : request.test == DtCsTestSender ? sender_.change(request.action, request.value)
                                         : false;
    isSet_ = count() > 0;
    return changed;
}

bool PacketFilter::passes(const Packet& packet) {
    if (!isSet_)
        return true;
    for (std::size_t i = 0; i < bytes_.size(); ++i)
        if (!bytes_[i].passes(packet, static_cast<int>(i)))
            return false;
    return sender_.passes(packet);
}

int PacketFilter::count() const {
    const auto set = std::count_if(bytes_.begin(), bytes_.end(),
                                   [](const ByteTest& test) { return test.isSet(); });
    return static_cast<int>(set) + (sender_.isSet() ? 1 : 0);
}

}  // namespace RtiqnPacketServer
