#include "PacketServerClient.h"

#include <arpa/inet.h>
#include <string>
#include <vector>

#include "transport/PacketServerClientPimpl.h"

namespace OrynRti {

namespace {

bool isTest(DtCsFilterTest test) {
    return test <= DtCsTestSender;
}

/// The value as it goes into the record; false when the test has no such value.
bool toRecord(DtCsFilterTest test, unsigned int value, uint32_t& converted) {
    converted = test == DtCsTestSender ? htonl(value) : value;
    return test == DtCsTestSender || value <= 255;
}

}  // namespace

DtPacketServerClient::DtPacketServerClient()
    : pimpl_(std::make_unique<DtPacketServerClientPimpl>()) {}

DtPacketServerClient::~DtPacketServerClient() = default;

// -------------------------------------------------------------------------------------------
// Connection

bool DtPacketServerClient::connect(int key, const DtPacketServerClientOptions& options) {
    return pimpl_->connect(key, options);
}

bool DtPacketServerClient::isConnected() const {
    return pimpl_->isConnected();
}

void DtPacketServerClient::close() {
    pimpl_->close();
}

// -------------------------------------------------------------------------------------------
// Wishes

bool DtPacketServerClient::setFilter(DtCsFilterTest test, DtPduTestOperator op, int count,
                                     const unsigned int* values) {
    if (!isTest(test) || count < 0 || (count > 0 && values == nullptr))
        return pimpl_->fail("there is no such filter");
    std::vector<uint32_t> converted(static_cast<size_t>(count));
    for (size_t i = 0; i < converted.size(); ++i)
        if (!toRecord(test, values[i], converted[i]))
            return pimpl_->fail("a filter of bytes has no value " + std::to_string(values[i]));
    PacketFilterWish wish(op, std::move(converted));
    if (!wish.fits())
        return pimpl_->fail("a filter has at most " +
                            std::to_string(PacketFilterWish::theMostValues) + " values");
    return pimpl_->setFilter(test, std::move(wish));
}

bool DtPacketServerClient::clearFilter(DtCsFilterTest test) {
    return isTest(test) ? pimpl_->setFilter(test, PacketFilterWish())
                        : pimpl_->fail("there is no such filter");
}

bool DtPacketServerClient::joinGroup(const DtInetAddr& group) {
    if (!group.isIPv4() || !group.isMulticast())
        return pimpl_->fail(std::string("no IPv4 group: ") + group.toDtString().c_str());
    return pimpl_->join(htonl(group.toULong()));
}

bool DtPacketServerClient::leaveGroup(const DtInetAddr& group) {
    return pimpl_->leave(htonl(group.toULong()));
}

// -------------------------------------------------------------------------------------------
// Packets and figures

DtPacketOutcome DtPacketServerClient::receive(char* buffer, int size, int& length, double timeout_s,
                                              DtInetEndpoint* sender) {
    return pimpl_->receive(buffer, size, length, timeout_s, sender);
}

int DtPacketServerClient::pollDescriptor() {
    return pimpl_->pollDescriptor();
}

const DtPacketServerClientStatistics& DtPacketServerClient::statistics() const {
    return pimpl_->statistics;
}

bool DtPacketServerClient::requestState() {
    return pimpl_->requestState();
}

const DtCsStateReturnRecord& DtPacketServerClient::serverState() const {
    return pimpl_->serverState;
}

const DtCsCStateReturnRecord& DtPacketServerClient::clientState() const {
    return pimpl_->clientState;
}

bool DtPacketServerClient::serverUnbundles() const {
    return pimpl_->serverState.unbundling != 0;
}

const DtString& DtPacketServerClient::lastError() const {
    return pimpl_->lastError;
}

}  // namespace OrynRti
