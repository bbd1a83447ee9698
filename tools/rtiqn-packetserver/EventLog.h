#ifndef RTIQN_PACKETSERVER_EVENT_LOG_H
#define RTIQN_PACKETSERVER_EVENT_LOG_H

#include <ctime>
#include <optional>
#include <string>

#include "common/LibraryMessages.h"

namespace RtiqnPacketServer {

/// What the server tells its operator on standard error. A line for which there is no room, since
/// nobody reads it, is lost: the server waits for nobody.
///
/// While it lives the library's messages come here, too (see LibraryMessages), as far as they keep
/// within some lines per second: bad packets make it say a lot.
class EventLog {
public:
    /// Quiet, it prints nothing but errors.
    explicit EventLog(bool quiet);
    ~EventLog();
    EventLog(const EventLog&) = delete;
    EventLog& operator=(const EventLog&) = delete;

    void line(const std::string& text);

private:
    void message(const std::string& text);
    static void put(const std::string& line);

    bool quiet_;
    std::time_t second_ = 0;
    int linesInSecond_ = 0;
    std::optional<RtiqnTools::LibraryMessages> messages_;
};

}  // namespace RtiqnPacketServer

#endif
