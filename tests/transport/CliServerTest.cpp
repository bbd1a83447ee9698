#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <netinet/in.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <tuple>
#include <unistd.h>
#include <utility>

#include "CliServer.h"
#include "ShmReader.h"
#include "ShmWriter.h"
#include "support/Files.h"
#include "support/Notifications.h"
#include "transport/ShmSupport.h"

using namespace OrynRti;
using namespace OrynRti::Tests;

namespace {

constexpr int theWarningLevel = 1;
constexpr int theInfoLevel = 2;

std::string bytesOf(const DtBaseMsg& message) {
    return std::string(message.data(), static_cast<size_t>(message.length()));
}

template <typename Field>
void append(std::string& bytes, Field field) {
    bytes.append(reinterpret_cast<const char*>(&field), sizeof field);
}

/// A record of version 3 with these fields, one behind the other.
template <typename... Fields>
std::string record(int kind, Fields... fields) {
    std::string bytes{static_cast<char>(kind), '\3'};
    (append(bytes, fields), ...);
    return bytes;
}

/// The same with zeros up to a size, and with another version.
std::string zeros(int kind, size_t size, int version = 3) {
    std::string bytes{static_cast<char>(kind), static_cast<char>(version)};
    bytes.resize(size);
    return bytes;
}

template <typename Message>
std::optional<Message> taken(const std::string& bytes) {
    return Message::fromRecord(bytes.data(), static_cast<int>(bytes.size()));
}

std::string printed(const DtClientServerMsg& message, int level = theInfoLevel) {
    CapturedNotifications captured;
    message.print();
    EXPECT_EQ(captured.text(), captured.text(level));
    return captured.text(level);
}

/// Closes it with this object.
struct Handle {
    explicit Handle(int handle) : number(handle) {}
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    ~Handle() { close(); }
    void close() { ::close(std::exchange(number, -1)); }
    int number;
};

/// Two datagram sockets, connected to one another.
struct Pair {
    Pair() {
        int made[2] = {-1, -1};
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK, 0, made), 0);
        near.number = made[0];
        far.number = made[1];
    }
    Handle near{-1};
    Handle far{-1};
};

std::string receivedFrom(int handle) {
    char buffer[300];
    const ssize_t length = recv(handle, buffer, sizeof buffer, 0);
    return length < 0 ? "nothing" : std::string(buffer, static_cast<size_t>(length));
}

/// What sending an Ack comes to: result, errno, and what is said about it.
using Sending = std::tuple<int, int, std::string>;

Sending sendAck(int handle) {
    CapturedNotifications captured;
    errno = 0;
    const int result = DtCsAckMsg(handle).send();
    return {result, errno, captured.text(theWarningLevel)};
}

/// A queue in shared memory with its two ends.
struct Queue : TestQueue {
    Queue()
        : TestQueue(400),
          writer(open<DtShmMsgQueueWriter>(true, true)),
          reader(open<DtShmMsgQueueReader>(false, true)) {}

    std::string next() const {
        char buffer[400];
        int status = 0;
        const int length = reader->Read(buffer, sizeof buffer, &status);
        return length < 0 ? "nothing" : std::string(buffer, static_cast<size_t>(length));
    }

    std::unique_ptr<DtShmMsgQueueWriter> writer;
    std::unique_ptr<DtShmMsgQueueReader> reader;
};

/// Sockets in a folder of the test's own.
class CliServerPaths : public testing::Test {
protected:
    CliServerPaths() { EXPECT_TRUE(DtSetPacketServerDirectory(folder_.path())); }
    ~CliServerPaths() override { DtSetPacketServerDirectory("/tmp"); }

    static std::string pathOf(int key, int which) {
        char path[theDtRequestPathSize];
        DtPacketServerRequestPath(key, path, which);
        return path;
    }

    TemporaryFolder folder_;
};

}  // namespace

// -------------------------------------------------------------------------------------------
// The buffer

TEST(DtBaseMsg, BytesAreInsertedAndRemovedWhereAsked) {
    DtBaseMsg message;
    EXPECT_TRUE(message.initMsg("abcdef", 6));
    EXPECT_TRUE(message.insertBytes(6, "YZ", 2) && message.insertBytes(0, "01", 2));
    EXPECT_TRUE(message.insertBytes(4, "--", 2) && message.insertBytes(4, nullptr, 0));
    EXPECT_EQ(bytesOf(message), "01ab--cdefYZ");
    EXPECT_TRUE(message.deleteBytes(4, 2) && message.deleteBytes(8, 100));
    EXPECT_TRUE(message.deleteBytes(8, 1));
    EXPECT_EQ(bytesOf(message), "01abcdef");
}

TEST(DtBaseMsg, LengthAndBufferGrowAndShrink) {
    DtBaseMsg message;
    EXPECT_TRUE(message.initMsg("abcdef", 6) && message.changeSize(2) && message.changeSize(4));
    EXPECT_EQ(bytesOf(message), std::string("ab\0\0", 4));
    EXPECT_TRUE(message.changeBufferSize(1) && message.changeSize(3));
    EXPECT_EQ(bytesOf(message), std::string("a\0\0", 3));
    EXPECT_TRUE(message.newInternalBuffer(50));
    EXPECT_EQ(message.length(), 0);
    EXPECT_EQ(message.bufferSize(), 50);
}

TEST(DtBaseMsg, RefusesWhatCannotBe) {
    DtBaseMsg message;
    message.initMsg("abc", 3);
    EXPECT_FALSE(message.initMsg("x", -1) || message.initMsg(nullptr, 1));
    EXPECT_FALSE(message.insertBytes(4, "x", 1) || message.insertBytes(-1, "x", 1));
    EXPECT_FALSE(message.insertBytes(0, "x", -1) || message.insertBytes(0, "x", 0x7FFFFFFF));
    EXPECT_FALSE(message.insertBytes(0, nullptr, 1) || message.deleteBytes(4, 1));
    EXPECT_FALSE(message.deleteBytes(0, -1) || message.changeSize(-1));
    EXPECT_FALSE(message.changeBufferSize(-1) || message.newInternalBuffer(-1));
    EXPECT_EQ(bytesOf(message), "abc");
    message.clearAll();
    EXPECT_EQ(message.length(), 0);
}

// -------------------------------------------------------------------------------------------
// Records

TEST(CliServerRecords, FieldsLieWhereTheOtherEndLooksForThem) {
    DtCsFilterMsg filter;
    filter.setTest(DtCsTestPduKind);
    filter.setAction(DtCsAddValue);
    filter.setClientId(0x01020304);
    filter.setValue(7);
    EXPECT_EQ(bytesOf(filter), record(5, '\2', '\2', 0x01020304, 7));

    DtCsMulticastReqMsg group;
    group.setRequest(DtCsLeaveGroup);
    group.setAddr(0x010000EF);
    group.setClientId(7);
    EXPECT_EQ(bytesOf(group), record(13, uint16_t{1}, 0x010000EF, 7));

    DtCsControlReqMsg control;
    control.setRequest(DtCsLeave);
    control.setClientId(9);
    EXPECT_EQ(bytesOf(control), record(4, uint16_t{4}, 9));

    const std::string bytes = record(6, '\1', '\0', 2, 3, 4, 5, 6);
    const auto ack = taken<DtCsAckMsg>(bytes);
    EXPECT_EQ(bytesOf(*ack), bytes);
    EXPECT_EQ(ack->code(), DtCsAlive);
    EXPECT_EQ(ack->clientId(), 2u);
    EXPECT_EQ(ack->readCount(), 3u);
    EXPECT_EQ(ack->missedCount(), 4u);
    EXPECT_EQ(ack->processId(), 5);
    EXPECT_EQ(ack->queueSize(), 6);
}

TEST(CliServerRecords, PortAndSequenceNumberShareAWord) {
    DtCsServerPacketMsg packet;
    packet.setSequenceNumber(0xFFFE);
    packet.setSender(0x0100007F, 3000);
    packet.setPacket("hello", 5);
    EXPECT_EQ(bytesOf(packet), record(8, uint16_t{0}, 5, 0x0100007F, 0xFFFE0BB8u));
    packet.setSequenceNumber(1);
    EXPECT_EQ(packet.senderPort(), 3000);
    EXPECT_EQ(packet.sequenceNumber(), 1);
}

TEST(CliServerRecords, NamesMayFillTheirField) {
    DtCsAddClientMsg message;
    EXPECT_TRUE(message.setPoolName(DtString(std::string(160, 'n'))));
    EXPECT_STREQ(message.poolName().c_str(), std::string(160, 'n').c_str());
    EXPECT_FALSE(message.setPoolName(DtString(std::string(200, 'm'))));
    EXPECT_STREQ(message.poolName().c_str(), std::string(160, 'm').c_str());
    EXPECT_TRUE(message.setPoolName("pool"));
    message.setModeBits(DtCsRead | DtCsNotify);
    message.setProcessId(4711);
    message.setQueueSize(65536);
    message.setClientType(DtCsControlClient);
    EXPECT_EQ(bytesOf(message),
              record(1, uint16_t{65}, 4711, 65536, 1) + "pool" + std::string(156, '\0'));
}

TEST(CliServerRecords, OnlyWholeRecordsOfTheVersionAreTaken) {
    const std::tuple<const char*, int, bool> kinds[] = {
        {"MsgWaiting", 2, false},  {"AddClient", 176, false},   {"ClientPacket", 8, true},
        {nullptr, 0, false},       {"ControlReq", 8, false},    {"Filter", 12, false},
        {"Ack", 24, false},        {"CliQuota", 2, false},      {"ServerPacket", 16, true},
        {"StateReturn", 16, true}, {"CStateReturn", 40, true},  {"Warning", 164, true},
        {"Notice", 4, true},       {"MulticastReq", 12, false}, {nullptr, 0, false}};
    int kind = 0;
    for (const auto& [name, size, overQueue] : kinds) {
        const std::string bytes = zeros(kind, 300);
        for (int length = 0; length <= 300; ++length) {
            const bool rounded = overQueue && length == (size + 7) / 8 * 8;
            const int expected = name != nullptr && (length == size || rounded) ? kind : -1;
            EXPECT_EQ(DtCsKindOf(bytes.data(), length), expected) << kind << ", " << length;
        }
        EXPECT_STREQ(DtCsKindName(kind), name);
        EXPECT_EQ(DtCsKindOf(zeros(kind++, 300, 2).data(), size), -1);
    }
    EXPECT_EQ(DtCsKindOf(nullptr, 2), -1);
    EXPECT_FALSE(taken<DtCsAckMsg>(zeros(5, 12)).has_value());
}

TEST(CliServerRecords, PacketIsExactlyAsLongAsItSays) {
    const std::string bytes = record(8, uint16_t{0}, 10, 0, 0) + std::string(16, 'p');
    for (int length = 0; length <= 32; ++length)
        EXPECT_EQ(DtCsKindOf(bytes.data(), length), length == 26 || length == 32 ? 8 : -1);
    const auto message = DtCsServerPacketMsg::fromRecord(bytes.data(), 32);
    EXPECT_EQ(message->packet(), bytes.data() + 16);
    EXPECT_EQ(message->packetLength(), 10);
    EXPECT_EQ(DtCsKindOf(record(8, uint16_t{0}, 0xFFFFFFFFu, 0, 0).data(), 16), -1);
}

// -------------------------------------------------------------------------------------------
// Printing

TEST(CliServerPrint, UnknownKindsAreKeptAndTold) {
    for (const int kind : {3, 14, 255}) {
        const std::string told = "Unknown msg kind (" + std::to_string(kind) + ") in  ";
        CapturedNotifications captured;
        const DtClientServerMsg message(zeros(kind, 2).data());
        EXPECT_EQ(captured.take(), told + "DtClientServerMsg()");
        EXPECT_EQ(message.length(), 0);
        EXPECT_EQ(message.kind(), kind);
        EXPECT_EQ(printed(message, theWarningLevel), told + "DtClientServerMsg::print()");
    }
}

TEST(CliServerPrint, OtherKindsSayTheirNameAndVersion) {
    const std::string added = zeros(1, 176, 9);
    EXPECT_EQ(printed(DtClientServerMsg(added.data())), "AddClient message (version 9):\n");
    EXPECT_EQ(printed(DtCsControlReqMsg()), "ControlReq message (version 3):\n");
    EXPECT_EQ(printed(DtCsMulticastReqMsg()), "MulticastReq message (version 3):\n");
}

TEST(CliServerPrint, StateOfTheServer) {
    using U16 = uint16_t;
    const std::string all = record(9, '\1', '\1', U16{1}, U16{2}, 16, 3000);
    EXPECT_EQ(printed(DtClientServerMsg(all.data())),
              "StateReturn message (version 3):\n"
              "    quarn server on port 3000 is alive (internal) \n"
              "    performing unbundling\n"
              "    1 packet client (16 maximum)\n"
              "    2 control clients\n");
    const std::string least = record(9, '\0', '\0', U16{0}, U16{1}, -1, 0);
    EXPECT_EQ(printed(*taken<DtCsStateReturnMsg>(least)),
              "StateReturn message (version 3):\n"
              "    quarn server on port 0 is alive (external) \n"
              "    not performing unbundling\n"
              "    0 packet clients (no maximum)\n"
              "    1 control client\n");
    DtCsStateReturnMsg message;
    message.setServerMode(9);
    EXPECT_THAT(printed(message), testing::HasSubstr(" is alive (but not well) \n"));
}

TEST(CliServerPrint, StateOfAClient) {
    auto message = taken<DtCsCStateReturnMsg>(
        record(10, uint16_t{0xFFFF}, '\1', '\2', '\3', '\0', -1, -2, 3, 4, 5, 6, 7, 8));
    EXPECT_EQ(printed(*message),
              "CStateReturn message (version 3):\n"
              "    (control) client 4294967295 (process -2): server sent 3, rcvd 4 msgs\n"
              "    dropped 5 old and 6 new - sendQ 7 bytes - recvQ 8 bytes\n"
              "    Mode Read Write SvrDropOldest CliDropOldest SvrWait CliWait Notify SvrBlockRead"
              " SvrBlockWrite CliBlockRead CliBlockWrite\n");
    message->setClientType(DtCsPacketClient);
    message->setModeBits(DtCsRead | DtCsSvrDropOldest | DtCsNotify | DtCsCliBlockRead);
    EXPECT_THAT(
        printed(*message),
        testing::AllOf(testing::HasSubstr("    (packet) client "),
                       testing::EndsWith("    Mode Read SvrDropOldest Notify CliBlockRead\n")));
}

TEST(CliServerPrint, WarningsAndNoticesSayWhatIsMeant) {
    DtCsWarningMsg warning;
    warning.setNumber(DtCsTooManyGroups);
    warning.setText(DtString(std::string(160, 'w')));
    EXPECT_EQ(printed(warning), "Warning message (version 3):\n    Server warning 4: " +
                                    std::string(160, 'w') + "\n");
    const char* const texts[] = {"    Packet server now external\n",
                                 "    Packet server now internal\n",
                                 "    Closing socket: server external client quota exceeded\n",
                                 "    ClientSocket: ping\n",
                                 "    Packet server is closing socket\n",
                                 ""};
    uint16_t code = 0;
    for (const char* text : texts) {
        DtCsNoticeMsg notice;
        notice.setCode(code++);
        EXPECT_EQ(printed(notice), std::string("Notice message (version 3):\n") + text);
    }
}

// -------------------------------------------------------------------------------------------
// Sending

TEST(DtSocketMsg, WholeRecordIsOneDatagram) {
    Pair pair;
    DtCsAddClientMsg message(pair.near.number);
    EXPECT_EQ(message.send(), 176);
    EXPECT_EQ(receivedFrom(pair.far.number), bytesOf(message));
    EXPECT_EQ(DtSocketMsg(message.data(), -1).send(), 0);
    message.clearAll();
    EXPECT_EQ(message.send(), 0);
    EXPECT_EQ(receivedFrom(pair.far.number), "nothing");
}

// A peer that turns away without having read resets the connection.
TEST(DtSocketMsg, ResetAndMissingDestinationAreNotTold) {
    Pair pair;
    EXPECT_EQ(sendAck(pair.near.number), (Sending{24, 0, ""}));
    sockaddr nobody{};
    nobody.sa_family = AF_UNSPEC;
    ASSERT_EQ(connect(pair.far.number, &nobody, sizeof nobody), 0);
    EXPECT_EQ(sendAck(pair.near.number), (Sending{-1, ECONNRESET, ""}));
    const Handle unconnected(socket(AF_INET, SOCK_DGRAM, 0));
    EXPECT_EQ(sendAck(unconnected.number), (Sending{-1, EDESTADDRREQ, ""}));
}

TEST(DtSocketMsg, FullSocketIsNoError) {
    Pair pair;
    int sent = 0;
    while (sent < 100000 && DtCsAckMsg(pair.near.number).send() == 24)
        ++sent;
    EXPECT_EQ(sendAck(pair.near.number), (Sending{0, EAGAIN, ""}));
    receivedFrom(pair.far.number);
    EXPECT_EQ(sendAck(pair.near.number), (Sending{24, 0, ""}));
}

TEST(DtSocketMsg, OtherErrorsAreTold) {
    Pair pair;
    pair.far.close();
    EXPECT_EQ(sendAck(pair.near.number),
              (Sending{-1, ECONNREFUSED, "DtSocketMsg write: Connection refused\n"}));
    const Handle unconnected(socket(AF_UNIX, SOCK_DGRAM, 0));
    EXPECT_EQ(sendAck(unconnected.number),
              (Sending{-1, ENOTCONN, "DtSocketMsg write: Transport endpoint is not connected\n"}));
}

// Files are what the system writes in part in a way that a test can foresee.
TEST(DtSocketMsg, PartIsToldAndCountsAsNothing) {
    const TemporaryFolder folder;
    const Handle file(open(folder.path("file").c_str(), O_WRONLY | O_CREAT, 0600));
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    const rlimit small{10, limit.rlim_max};
    setrlimit(RLIMIT_FSIZE, &small);
    const Sending sending = sendAck(file.number);
    setrlimit(RLIMIT_FSIZE, &limit);
    EXPECT_EQ(sending, (Sending{0, 0, "DtSocket partial write 10 of 24\n"}));
}

TEST(DtShmMsg, RecordsComeOutOfTheQueue) {
    const Queue queue;
    DtCsNoticeMsg message;
    message.setCode(DtCsPing);
    EXPECT_EQ(message.send(), 0);
    message.setWriter(queue.writer.get());
    EXPECT_EQ(message.send(), 4);
    const auto received = taken<DtCsNoticeMsg>(queue.next());
    ASSERT_TRUE(received.has_value());
    EXPECT_EQ(received->code(), DtCsPing);
    EXPECT_EQ(received->length(), 4);
}

TEST(DtShmMsg, PacketFollowsItsRecord) {
    const Queue queue;
    DtCsServerPacketMsg message;
    EXPECT_EQ(message.send(), 0);
    message.setWriter(queue.writer.get());
    message.setPacket("twelve bytes and more", 12);
    EXPECT_EQ(message.send(), 12);
    const std::string record = queue.next();
    const auto received = taken<DtCsServerPacketMsg>(record);
    ASSERT_TRUE(received.has_value());
    EXPECT_EQ(std::string(received->packet(), 12), "twelve bytes");
    message.setPacket(nullptr, 12);
    EXPECT_EQ(message.send(), 16);
    EXPECT_EQ(queue.next(), zeros(8, 16));
    const std::string large(400, 'x');
    message.setPacket(large.data(), 400);
    EXPECT_EQ(message.send(), -1);
}

TEST(DtShmMsg, ClientPacketsAreNoLongerMade) {
    const Queue queue;
    CapturedNotifications captured;
    DtCsClientPacketMsg message(queue.writer.get());
    EXPECT_EQ(captured.take(), "Should no longer be trying to create new DtCsClientPacketMsgs\n");
    EXPECT_EQ(message.length(), 8);
    EXPECT_EQ(message.send(), -1);
    EXPECT_EQ(captured.take(), "Should no longer be trying to send DtCsClientPacketMsgs\n");
    EXPECT_EQ(queue.next(), "nothing");
}

// -------------------------------------------------------------------------------------------
// Paths and sockets

TEST_F(CliServerPaths, KeyHasFiveDigits) {
    DtSetPacketServerDirectory("/tmp");
    EXPECT_EQ(pathOf(123, 1), "/tmp/qnd-00123");
    EXPECT_EQ(pathOf(99999, 2), "/tmp/qns-99999");
    EXPECT_EQ(pathOf(0, 3), "/tmp/qns-00000");
    for (const int which : {0, 4, -1})
        EXPECT_EQ(pathOf(123, which), "00123");
}

TEST_F(CliServerPaths, KeyOutOfRangeIsToldAndReduced) {
    DtSetPacketServerDirectory("/tmp");
    CapturedNotifications captured;
    const std::string told = "RequestPath key should be between 0 and 99999\n";
    for (const auto& [key, digits] : {std::pair{100123, "00123"}, std::pair{-1, "99999"},
                                      std::pair{-2147483647 - 1, "16352"}}) {
        EXPECT_EQ(pathOf(key, 2), std::string("/tmp/qns-") + digits);
        EXPECT_EQ(captured.take(), told);
    }
    EXPECT_EQ(DtPacketServerIsAlive(100000), 0);
    EXPECT_EQ(captured.take(), told);
}

TEST_F(CliServerPaths, DirectoryLeavesRoomForTheName) {
    const std::string longest(97, 'd');
    EXPECT_TRUE(DtSetPacketServerDirectory(DtString(longest)));
    EXPECT_FALSE(DtSetPacketServerDirectory(DtString(longest + "d")));
    EXPECT_FALSE(DtSetPacketServerDirectory(""));
    EXPECT_EQ(pathOf(5, 1), longest + "/qnd-00005");
}

TEST_F(CliServerPaths, ServerIsAliveByWhatItServes) {
    EXPECT_EQ(DtPacketServerIsAlive(7), 0);
    writeFile(pathOf(7, DtRequestPathControl), "");
    EXPECT_EQ(DtPacketServerIsAlive(7), -1);
    writeFile(pathOf(7, DtRequestPathPackets), "");
    EXPECT_EQ(DtPacketServerIsAlive(7), 1);
    unlink(pathOf(7, DtRequestPathControl).c_str());
    EXPECT_EQ(DtPacketServerIsAlive(7), 1);
}

TEST_F(CliServerPaths, SocketReplacesAnOldFileAndIsOpenToEverybody) {
    const std::string path = pathOf(8, DtRequestPathPackets);
    writeFile(path, "left behind");
    const Handle server(DtOpenUnixDgram(path.c_str(), DtUnixDgramServe));
    struct stat found {};
    ASSERT_EQ(stat(path.c_str(), &found), 0);
    EXPECT_EQ(found.st_mode, mode_t{S_IFSOCK | 0777});
    const Handle client(DtOpenUnixDgram(path.c_str(), DtUnixDgramConnect, "client"));
    EXPECT_EQ(fcntl(client.number, F_GETFD), FD_CLOEXEC);
    DtCsCliQuotaMsg message(client.number);
    EXPECT_EQ(message.send(), 2);
    EXPECT_EQ(receivedFrom(server.number), bytesOf(message));
}

TEST_F(CliServerPaths, FailuresAreToldWithTheLabel) {
    const std::string missing = folder_.path("none"), inside = missing + "/socket";
    const std::string tooLong = folder_.path(std::string(108, 's'));
    const struct {
        std::string path;
        int action;
        const char* label;
        int error;
        std::string told;
    } cases[] = {
        {missing, DtUnixDgramConnect, nullptr, ENOENT, ""},
        {missing, DtUnixDgramConnect, "probe", ENOENT, "probe connect " + missing + " failed"},
        {inside, DtUnixDgramServe, nullptr, ENOENT, "DtOpenUnixDgram bind " + inside + " failed"},
        {tooLong, DtUnixDgramServe, "a", ENAMETOOLONG, "a bind " + tooLong + " failed"},
        {tooLong, DtUnixDgramConnect, "a", ENAMETOOLONG, "a connect " + tooLong + " failed"},
        {"", DtUnixDgramServe, "a", EINVAL, "a bind  failed"},
        {missing, 2, "a", EINVAL, "a socket failed"},
    };
    for (const auto& one : cases) {
        CapturedNotifications captured;
        EXPECT_EQ(DtOpenUnixDgram(one.path.c_str(), one.action, one.label), -1);
        EXPECT_EQ(errno, one.error);
        const std::string reason = std::string(": ") + strerror(one.error) + "\n";
        EXPECT_EQ(captured.text(), one.told.empty() ? "" : one.told + reason);
    }
}
