#include "ListenCommand.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <memory>
#include <optional>
#include <poll.h>
#include <stdexcept>

#include "Console.h"
#include "Errors.h"
#include "ListenSocket.h"
#include "StopSignals.h"
#include "Targets.h"

namespace RtiqnDis {

using namespace OrynRti;

namespace {

using Clock = std::chrono::steady_clock;

constexpr unsigned int theReceiveBuffer_bytes = 8U << 20;

/// The address to listen on: the one asked for, else all of the family of the groups.
DtInetAddr localAddress(const ListenOptions& options, const std::vector<DtInetAddr>& groups) {
    const DtInetAddr local =
        options.bind.empty()
            ? DtInetAddr::inaddrAny(groups.empty() ? DtInetUtils::IPv4 : groups.front().family())
            : parseAddress(options.bind);
    for (const DtInetAddr& group : groups)
        if (group.family() != local.family())
            throw UsageError("IPv4 and IPv6 cannot be listened to at once: group " +
                             textOf(group.toDtString()) + ", address " +
                             textOf(local.toDtString()));
    return local;
}

std::vector<DtInetAddr> parseGroups(const std::vector<std::string>& texts) {
    std::vector<DtInetAddr> groups;
    for (const std::string& text : texts) {
        groups.push_back(parseAddress(text));
        if (!groups.back().isMulticast())
            throw UsageError("'" + text + "' is no multicast group");
    }
    return groups;
}

class Listener {
public:
    Listener(const ListenOptions& options, PduReport& report)
        : options_(options), report_(report), groups_(parseGroups(options.groups)) {
        if (!options.recordPath.empty())
            record_ = std::make_unique<CaptureWriter>(options.recordPath);
        const DtInetEndpoint local(localAddress(options, groups_), options.report.port, DtInetUdp);
        socket_.emplace(local, openDevice(options.device).release(), options.report.selection,
                        report, record_.get());
        open();
    }

    /// Until an end that the options name, or a signal.
    void run() {
        const Clock::time_point start = Clock::now();
        while (!isOver(start)) {
            drain(start);
            flush();
            if (!isOver(start))
                wait(start);
        }
        flush();
    }

    void reportLosses() { socket_->reportLosses(); }

private:
    void open() {
        socket_->setReceiveBufferSize(theReceiveBuffer_bytes);
        if (!socket_->openSocket())
            throw NetworkError("cannot listen on " +
                               textOf(socket_->localEndpoint().toDtString(false)) + ": " +
                               errorOf(*socket_));
        for (const DtInetAddr& group : groups_)
            if (!socket_->joinMulticastGroup(group, socket_->hostIf()))
                throw NetworkError("cannot join group " + textOf(group.toDtString()) + ": " +
                                   errorOf(*socket_));
        if (socket_->pollDescriptor() < 0)
            throw NetworkError("cannot wait for datagrams: " + errorOf(*socket_));
        printError("listening on " + textOf(socket_->localEndpoint().toDtString(false)));
    }

    bool isOver(Clock::time_point start) const {
        return StopSignals::requested() || report_.isFull() ||
               (options_.duration_s > 0 && remaining_s(start) <= 0);
    }

    double remaining_s(Clock::time_point start) const {
        return options_.duration_s - std::chrono::duration<double>(Clock::now() - start).count();
    }

    void drain(Clock::time_point start) {
        while (!isOver(start) && socket_->receivePdu()) {
        }
    }

    /// Before waiting, so that readers of the output and of the recording see everything.
    void flush() {
        if (record_)
            record_->flush();
        flushOutput();
    }

    void wait(Clock::time_point start) {
        constexpr double longest_s = 3600;
        const double wait_s =
            options_.duration_s > 0 ? std::clamp(remaining_s(start), 0.0, longest_s) : longest_s;
        pollfd events[] = {{socket_->pollDescriptor(), POLLIN, 0},
                           {StopSignals::descriptor(), POLLIN, 0}};
        ::poll(events, 2, static_cast<int>(wait_s * 1000) + 1);
    }

    const ListenOptions& options_;
    PduReport& report_;
    std::vector<DtInetAddr> groups_;
    std::unique_ptr<CaptureWriter> record_;
    std::optional<ListenSocket> socket_;
};

}  // namespace

/// What was received is reported also when the network or the recording fails in the end.
int runListen(const ListenOptions& options) {
    const StopSignals signals;
    PduReport report(options.report);
    Listener listener(options, report);
    std::exception_ptr failure;
    try {
        listener.run();
    } catch (const std::runtime_error&) {
        failure = std::current_exception();
    }
    listener.reportLosses();
    const int status = report.finish();
    if (failure)
        std::rethrow_exception(failure);
    if (report.statistics().datagrams() == 0 && options.duration_s > 0)
        printError(formatted("nothing received within %g s", options.duration_s));
    return status;
}

}  // namespace RtiqnDis
