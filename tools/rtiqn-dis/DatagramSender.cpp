#include "DatagramSender.h"

#include "Errors.h"
#include "OwnTimes.h"
#include "Unbundler.h"
#include "common/Addresses.h"
#include "common/Console.h"

namespace RtiqnDis {

using namespace OrynRti;

namespace {

constexpr unsigned int theOptions = DtInetSockSend | DtInetSockBroadcast | DtInetSockMcastLoopback;

std::vector<DtInetEndpoint> parseTargets(const SendingOptions& options) {
    std::vector<DtInetEndpoint> targets;
    for (const std::string& text : options.targets) {
        targets.push_back(parseTarget(text, options.port));
        if (targets.back().family() != targets.front().family())
            throw UsageError("cannot send to both IPv4 and IPv6: '" + options.targets.front() +
                             "', '" + text + "'");
    }
    return targets;
}

DtInetEndpoint anyPort(DtInetUtils::DtInetAddrFamily family) {
    return {DtInetAddr::inaddrAny(family), 0, DtInetUdp};
}

}  // namespace

DatagramSender::DatagramSender(const SendingOptions& options)
    : options_(options),
      targets_(parseTargets(options)),
      socket_(anyPort(targets_.front().family()), 0, openDevice(options.device).release(),
              theOptions, false, false) {
    open();
}

void DatagramSender::open() {
    if (!socket_.openSocket())
        throw NetworkError("cannot open a socket: " + errorOf(socket_));
    const bool ready = (!socket_.hostIf() || socket_.setSendMcastDevice(socket_.hostIf())) &&
                       (options_.ttl < 0 || (socket_.setMcastTtlOption(options_.ttl) &&
                                             socket_.setTtlOption(options_.ttl)));
    if (!ready)
        throw NetworkError("cannot set up the socket: " + errorOf(socket_));
    if (bundles())
        socket_.setBundling(options_.bundle_bytes, 0, 0, false);
}

void DatagramSender::sendDatagram(std::vector<char>& bytes) {
    sendToAll(bytes.data(), bytes.size());
}

void DatagramSender::sendPdu(char* bytes, std::size_t size, std::uint8_t version) {
    if (bundles() && version != bundledVersion_) {
        flush();
        bundledVersion_ = version;
        socket_.setBundleByteAlignment(paddingAfter(1, version) > 0 ? 8 : 1);
    }
    sendToAll(bytes, size);
}

void DatagramSender::flush() {
    if (bundles() && socket_.flush() != 1)
        tellFirstFailure();
}

void DatagramSender::sendToAll(char* bytes, std::size_t size) {
    for (DtInetEndpoint& target : targets_) {
        OwnTimer timer;
        const int sent = socket_.sendTo(bytes, static_cast<int>(size), target, 0);
        timer.stop(ownTimes_, SendCall);
        if (sent < static_cast<int>(size)) {
            ++failures_;
            tellFirstFailure();
        }
    }
}

void DatagramSender::tellFirstFailure() {
    if (!toldFailure_)
        printError("cannot send: " + errorOf(socket_));
    toldFailure_ = true;
}

std::string sendingText(const DatagramSender& sender, double duration_s) {
    std::string text = counted(sender.datagrams(), "datagram") + ", " +
                       counted(sender.bytes(), "byte") + formatted(" in %.3f s", duration_s);
    if (duration_s > 0)
        text += formatted(": %.1f datagrams/s, %.3f Mbit/s",
                          static_cast<double>(sender.datagrams()) / duration_s,
                          static_cast<double>(sender.bytes()) * 8e-6 / duration_s);
    text += '\n' + ownTimeText(sender.ownTimes(), SendCall);
    if (sender.failures() > 0)
        text += counted(sender.failures(), "datagram") + " could not be sent\n";
    return text;
}

}  // namespace RtiqnDis
