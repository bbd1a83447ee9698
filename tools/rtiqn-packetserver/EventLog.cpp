#include "EventLog.h"

#include <algorithm>
#include <poll.h>
#include <unistd.h>
#include <utility>

namespace RtiqnPacketServer {

using namespace OrynRti;

EventLog::EventLog(bool quiet) : quiet_(quiet) {
    if (quiet)
        DtNotifyLevel = 0;
    DtSetQuarnPrinter(this);
}

EventLog::~EventLog() {
    DtSetQuarnPrinter(&DtStandardErrorConsole);
}

void EventLog::line(const std::string& text) {
    if (!quiet_)
        put("rtiqn-packetserver: " + text + "\n");
}

void EventLog::write(const std::string& text, int, bool) {
    constexpr int theMostPieces = 32;
    const std::time_t now = std::time(nullptr);
    if (std::exchange(second_, now) != now)
        piecesInSecond_ = 0;
    if (++piecesInSecond_ <= theMostPieces)
        put(text);
}

void EventLog::put(const std::string& text) {
    constexpr std::size_t theMost_bytes = 4096;  // for which a pipe that is writable has room
    pollfd out{STDERR_FILENO, POLLOUT, 0};
    if (::poll(&out, 1, 0) != 1 || (out.revents & POLLOUT) == 0)
        return;
    [[maybe_unused]] const ssize_t written =
        ::write(STDERR_FILENO, text.data(), std::min(text.size(), theMost_bytes));
}

}  // namespace RtiqnPacketServer
