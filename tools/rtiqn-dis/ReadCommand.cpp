#include "ReadCommand.h"

#include <map>

#include "CaptureDatagrams.h"
#include "common/Console.h"
#include "common/StopSignals.h"

namespace RtiqnDis {

using namespace RtiqnTools;

namespace {

/// The texts of the senders of late; building one takes longer than looking it up.
class SenderTexts {
public:
    const std::string& text(const IpAddress& address, std::uint16_t port) {
        constexpr std::size_t enough = 4096;
        if (texts_.size() >= enough)
            texts_.clear();
        std::string& text = texts_[{address, port}];
        if (text.empty())
            text = endpointText(address, port);
        return text;
    }

private:
    std::map<std::pair<IpAddress, std::uint16_t>, std::string> texts_;
};

void tellWhatIsOdd(const ReadOptions& options, const CaptureDatagrams& capture,
                   TrafficStatistics& statistics) {
    if (!capture.damage().empty())
        printError(options.path + ": the rest cannot be read: " + capture.damage());
    if (statistics.datagrams() == 0)
        printError(options.path + ": no UDP datagram to port " +
                   std::to_string(options.report.port) + ", " + std::to_string(capture.others()) +
                   " to other ports; see --port");
}

}  // namespace

int runRead(const ReadOptions& options) {
    PduReport report(options.report);
    CaptureDatagrams capture(options.path, options.report.port, report.statistics());
    SenderTexts senders;
    const StopSignals signals;
    CapturedDatagram datagram;
    while (!report.isFull() && !signals.requested() && capture.next(datagram)) {
        const std::string& sender = senders.text(datagram.source, datagram.sourcePort);
        const Bundle& bundle = report.datagram(datagram.payload, sender, datagram.time_s);
        for (std::size_t i = 0; i < bundle.pdus.size() && !report.isFull(); ++i)
            report.pdu({datagram.time_s, sender, bundle.pdus[i], i + 1, bundle.pdus.size()});
    }
    const int status = report.finish();
    if (!report.isFull() && !signals.requested())
        tellWhatIsOdd(options, capture, report.statistics());
    return status;
}

}  // namespace RtiqnDis
