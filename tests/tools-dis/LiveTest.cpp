#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include "LiveTable.h"
#include "tools-dis/Program.h"

namespace RtiqnDis {
namespace {

using namespace Tests;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

class LiveTableTest : public testing::Test {
protected:
    void add(std::uint8_t kind, const std::string& sender, int count) {
        BundledPdu pdu;
        pdu.header.kind = kind;
        pdu.size_bytes = 125;
        for (int i = 0; i < count; ++i)
            statistics.addPdu(pdu, sender);
    }

    std::vector<std::string> lines(std::size_t columns, std::size_t lines) const {
        std::vector<std::string> texts;
        for (const LiveLine& line :
             table.lines({"127.0.0.1:3000", statistics, losses, messages}, {columns, lines}))
            texts.push_back(line.text);
        return texts;
    }

    TrafficStatistics statistics;
    std::vector<std::pair<Loss, std::uint64_t>> losses;
    std::vector<std::string> messages;
    LiveTable table;
};

TEST_F(LiveTableTest, ShowsTheRatesSinceTheLastUpdateTheBusiestFirst) {
    add(1, "a:1", 10);
    add(2, "b:1", 40);
    table.update(statistics, 1);
    add(1, "a:1", 100);
    table.update(statistics, 3);
    losses.emplace_back(Loss::KernelDropped, 7);
    statistics.addLoss(Loss::TooShort, "c:1", 9);
    messages = {"the network is down"};
    EXPECT_THAT(
        lines(80, 24),
        ElementsAre("listening on 127.0.0.1:3000 for 0:00:03; Ctrl-C ends, and leaves the table",
                    "0 datagrams with 150 PDUs; now 50.0 PDUs/s, 50.0 kbit/s", "",
                    "kind  name          sender  PDUs  PDUs/s  kbit/s",
                    "   1  Entity State  a:1      110    50.0    50.0",
                    "   2  Fire          b:1       40     0.0     0.0", "", "Not delivered",
                    "         9  datagram shorter than a PDU header: c:1",
                    "         7  datagram dropped by the system before it was read", "",
                    "the network is down"));
}

TEST_F(LiveTableTest, FitsIntoAnyTerminal) {
    for (int i = 0; i < 100; ++i) {
        add(static_cast<std::uint8_t>(i), "[2001:db8::1:" + std::to_string(i) + "]:3000", i);
        statistics.addLoss(Loss::WrongAlignment, std::to_string(i));
    }
    table.update(statistics, 1);
    messages = {"one", "two"};
    EXPECT_EQ(lines(80, 24)[14], "      ... and 89 more");
    for (const std::size_t columns : {1, 7, 40, 80, 200})
        for (const std::size_t rows : {1, 2, 5, 10, 24, 300}) {
            const std::vector<std::string> shown = lines(columns, rows);
            EXPECT_LE(shown.size(), rows);
            for (const std::string& line : shown)
                EXPECT_LE(line.size(), columns);
        }
}

/// A terminal without anybody before it.
class Terminal {
public:
    Terminal() : master_(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)) {
        ::grantpt(master_);
        ::unlockpt(master_);
        const winsize size{24, 80, 0, 0};
        ::ioctl(master_, TIOCSWINSZ, &size);
        slave_ = ::open(path().c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);  // lives as long as this
        ::setenv("TERM", "xterm", 1);
        ::unsetenv("NO_COLOR");
    }
    ~Terminal() {
        ::close(slave_);
        ::close(master_);
    }
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    std::string path() const { return ::ptsname(master_); }

    /// All that was shown up to and with the text.
    std::string awaitText(const std::string& text) {
        while (shown_.find(text) == std::string::npos) {
            char bytes[4096];
            const ssize_t size = ::read(master_, bytes, sizeof bytes);
            if (size <= 0)
                throw std::runtime_error("the terminal is gone: " + shown_);
            shown_.append(bytes, static_cast<std::size_t>(size));
        }
        return shown_;
    }

private:
    int master_;
    int slave_;
    std::string shown_;
};

TEST(LiveView, GivesTheScreenBackWithTheTableAtTheEnd) {
    Terminal terminal;
    RunningProgram program(
        {RTIQN_DIS_PROGRAM, "listen", "--bind", "127.0.0.1", "--port", "0", "--live"},
        terminal.path());
    const std::string port = program.awaitLine("listening on 127.0.0.1:");
    EXPECT_EQ(
        run({"replay", dataPath("dis/harbour.pcap"), "--to", "127.0.0.1:" + port, "--top-speed"})
            .status,
        0);
    const std::string live = terminal.awaitText("14 datagrams with 18 PDUs; now");
    EXPECT_THAT(live, StartsWith("\033[?1049h"));
    program.signal(SIGINT);
    const std::string shown = terminal.awaitText("coupled Attribute PDU missing or broken");
    const std::string after = shown.substr(shown.rfind("\033[?1049l"));
    EXPECT_THAT(after, AllOf(HasSubstr("14 datagrams with 18 PDUs and 2 coupled Attribute PDUs in"),
                             HasSubstr("\033[31mNot delivered\033[0m")));
    const Outcome outcome = program.finish();
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.err, HasSubstr("rtiqn-dis: Failed to read expected Coupled Attribute PDU"));
}

}  // namespace
}  // namespace RtiqnDis
