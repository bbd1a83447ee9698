#ifndef RTIQN_PACKETSERVER_EVENT_LOG_H
#define RTIQN_PACKETSERVER_EVENT_LOG_H

#include <ctime>
#include <string>

#include "Print.h"

namespace RtiqnPacketServer {

/// What the server tells its operator on standard error. A line for which there is no room, since
/// nobody reads it, is lost: the server waits for nobody.
///
/// While it lives the library's streams print here, too, as far as they keep within some pieces of
/// text per second: bad packets make them say a lot.
class EventLog : public OrynRti::DtPrinter {
public:
    /// Quiet, it prints nothing but errors.
    explicit EventLog(bool quiet);
    ~EventLog() override;
    EventLog(const EventLog&) = delete;
    EventLog& operator=(const EventLog&) = delete;

    void line(const std::string& text);

    void write(const std::string& text, int level, bool endOfLine) override;

private:
    static void put(const std::string& text);

    bool quiet_;
    std::time_t second_ = 0;
    int piecesInSecond_ = 0;
};

}  // namespace RtiqnPacketServer

#endif
