#include "EventLog.h"

#include <algorithm>
#include <poll.h>
#include <unistd.h>
#include <utility>

#include "Print.h"
#include "common/Console.h"

namespace RtiqnPacketServer {

using namespace OrynRti;
using namespace RtiqnTools;

EventLog::EventLog(bool quiet) : quiet_(quiet) {
    if (quiet)
        DtNotifyLevel = 0;
    divertErrors([this](const std::string& text) { message(text); });
    messages_.emplace();
}

EventLog::~EventLog() {
    messages_.reset();
    divertErrors(nullptr);
}

void EventLog::line(const std::string& text) {
    if (!quiet_)
        put(text);
}

void EventLog::message(const std::string& text) {
    constexpr int theMostLines = 16;
    const std::time_t now = std::time(nullptr);
    if (std::exchange(second_, now) != now)
        linesInSecond_ = 0;
    if (++linesInSecond_ <= theMostLines)
        put(text);
}

void EventLog::put(const std::string& line) {
    const std::string text = "rtiqn-packetserver: " + line + "\n";
    constexpr std::size_t theMost_bytes = 4096;  // for which a pipe that is writable has room
    pollfd out{STDERR_FILENO, POLLOUT, 0};
    if (::poll(&out, 1, 0) != 1 || (out.revents & POLLOUT) == 0)
        return;
    [[maybe_unused]] const ssize_t written =
        ::write(STDERR_FILENO, text.data(), std::min(text.size(), theMost_bytes));
}

}  // namespace RtiqnPacketServer
