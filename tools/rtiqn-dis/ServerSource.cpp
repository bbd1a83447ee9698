#include "ServerSource.h"

#include <algorithm>
#include <chrono>

#include "Errors.h"
#include "OwnTimes.h"
#include "Time.h"
#include "common/Addresses.h"
#include "common/Console.h"

namespace RtiqnDis {

using namespace OrynRti;

namespace {

constexpr double theRetry_s = 0.5;
constexpr std::size_t theLargestPacket_bytes = 65536;

/// In whichever way takes fewer values. A set of all lets everything pass.
bool select(DtPacketServerClient& client, DtCsFilterTest test, const ByteSet& wanted) {
    const bool accept = wanted.count() <= wanted.size() / 2;
    std::vector<unsigned int> values;
    for (unsigned int value = 0; value < wanted.size(); ++value)
        if (wanted[value] == accept)
            values.push_back(value);
    return client.setFilter(test, accept ? DtPduAcceptListed : DtPduRejectListed,
                            static_cast<int>(values.size()), values.data());
}

}  // namespace

ServerSource::ServerSource(const ListenOptions& options, PduReport& report, CaptureWriter* record)
    : options_(options), report_(report), record_(record), buffer_(theLargestPacket_bytes) {
    for (const std::string& group : options.groups)
        if (!client_.joinGroup(parseGroup(group)))
            throw UsageError(textOf(client_.lastError()));
    if (connect())
        return;
    if (!options.waitForServer)
        throw NetworkError(textOf(client_.lastError()) + "; take --wait to wait for it");
    complain("waiting: " + textOf(client_.lastError()));
}

// -------------------------------------------------------------------------------------------
// Connection

/// A server that hands out whole datagrams would test the first PDU of each only. So the filters
/// are set once it is known to be none.
bool ServerSource::connect() {
    for (const DtCsFilterTest test : {DtCsTestProtocolVersion, DtCsTestExerciseId, DtCsTestPduKind})
        client_.clearFilter(test);
    DtPacketServerClientOptions options;
    options.allowOthers = options_.allowOthers;
    if (!client_.connect(options_.serverKey, options))
        return false;
    if (client_.serverUnbundles() && !setFilters()) {
        client_.close();  // half of a filter loses what is wanted
        return false;
    }
    complaint_.clear();
    printError(formatted("listening through %s%s, which reads port %u", title().c_str(),
                         isSuccessor_ ? " again" : "", client_.serverState().serverPort));
    isSuccessor_ = true;
    return true;
}

bool ServerSource::setFilters() {
    const PduSelection& selection = options_.report.selection;
    return select(client_, DtCsTestProtocolVersion, selection.versions) &&
           select(client_, DtCsTestExerciseId, selection.exercises) &&
           select(client_, DtCsTestPduKind, selection.kinds);
}

bool ServerSource::tryAgain() {
    if (connect())
        return true;
    complain("waiting: " + textOf(client_.lastError()));
    return false;
}

void ServerSource::complain(const std::string& text) {
    if (text != complaint_)
        printError(text);
    complaint_ = text;
}

double ServerSource::longestWait_s() {
    return descriptor() >= 0 ? 3600 : theRetry_s;
}

// -------------------------------------------------------------------------------------------
// Packets

bool ServerSource::receive() {
    if (!client_.isConnected())
        return tryAgain();
    OwnTimer timer;
    int length = 0;
    const DtPacketOutcome outcome =
        client_.receive(buffer_.data(), static_cast<int>(buffer_.size()), length, 0, &sender_);
    if (outcome == DtPacketReceived) {
        timer.stop(report_.statistics().ownTimes(), ReceiveCall);
        take(length);
        return true;
    }
    if (outcome != DtPacketNone)
        printError(textOf(client_.lastError()) + "; waiting for its successor");
    return false;
}

/// Until the server has the filters it may send what is not wanted; that is no loss.
void ServerSource::take(int length) {
    const ByteView bytes(reinterpret_cast<const std::uint8_t*>(buffer_.data()),
                         std::min(static_cast<std::size_t>(length), buffer_.size()));
    if (client_.serverUnbundles() && bytes.size() >= theHeaderSize_bytes &&
        options_.report.selection.rejects(PduHeader::read(bytes)))
        return;
    const double time_s = DtAbsRealTime();
    const std::string sender = textOf(sender_.toDtString(false));
    const Bundle& bundle = report_.datagram(bytes, sender, time_s);
    for (std::size_t i = 0; i < bundle.pdus.size() && !report_.isFull(); ++i)
        report_.pdu({time_s, sender, bundle.pdus[i], i + 1, bundle.pdus.size()});
    if (record_ != nullptr) {
        const auto port = static_cast<unsigned short>(client_.serverState().serverPort);
        record_->add(sender_,
                     DtInetEndpoint(DtInetAddr::inaddrAny(DtInetUtils::IPv4), port, DtInetUdp),
                     bytes, time_s);
    }
}

/// The answer comes behind what is in the queue, which nobody asks for any more.
void ServerSource::askForLosses() {
    constexpr double limit_s = 0.5;
    const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(limit_s);
    const std::uint64_t before = client_.statistics().stateAnswers;
    missedAtEnd_ = client_.statistics().missed;
    if (!client_.isConnected() || !client_.requestState())
        return;
    int length = 0;
    while (client_.isConnected() && client_.statistics().stateAnswers == before &&
           std::chrono::steady_clock::now() < end)
        client_.receive(nullptr, 0, length, 0.01);
}

std::vector<std::pair<Loss, std::uint64_t>> ServerSource::losses() const {
    const DtPacketServerClientStatistics& statistics = client_.statistics();
    const std::uint64_t missed = missedAtEnd_.value_or(statistics.missed);
    const std::uint64_t unwritten =
        std::min<std::uint64_t>(missed, client_.clientState().droppedNewCount);
    return {{Loss::ServerOverwritten, missed - unwritten},
            {Loss::ServerUnwritten, unwritten},
            {Loss::ServerUnreadable, statistics.unreadable}};
}

std::string ServerSource::title() const {
    return formatted("the packet server with key %d", options_.serverKey);
}

}  // namespace RtiqnDis
