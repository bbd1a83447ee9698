// What the system refuses: room on a disk, descriptors, rights, an even clock. Each has to end in
// words that say so, and in an object that works once there is what was missing.
#include <algorithm>
#include <dirent.h>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <string>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include "DisSocket.h"
#include "InetDevice.h"
#include "PacketServerClient.h"
#include "Time.h"
#include "faults/Allocations.h"
#include "net/TcpSockets.h"
#include "support/Files.h"
#include "support/Notifications.h"
#include "support/Program.h"
#include "transport/PacketServerScript.h"

namespace OrynRti::Tests {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

DtInetEndpoint udpLoopback(unsigned short port = 0) {
    return DtInetEndpoint(DtInetAddr("127.0.0.1"), port, DtInetUdp);
}

// -------------------------------------------------------------------------------------------
// A full disk

/// A disk of 64 KiB of the test's own, seen by this process and its children only.
class FullDiskTest : public testing::Test {
protected:
    void SetUp() override {
        if (unshare(CLONE_NEWNS) != 0 || mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr))
            GTEST_SKIP() << "a disk of the test's own needs root";
        ASSERT_EQ(mount("disk", folder_.path().c_str(), "tmpfs", 0, "size=64k"), 0);
        mounted_ = true;
    }
    void TearDown() override {
        if (mounted_)
            umount(folder_.path().c_str());
    }

    std::string path(const char* name) const { return folder_.path(name); }

    void fill() const {
        std::ofstream filler(path("filler"));
        while (filler << std::string(4096, '#') << std::flush) {
        }
    }
    void makeRoom() const { std::filesystem::remove(path("filler")); }

private:
    const TemporaryFolder folder_;
    bool mounted_ = false;
};

TEST_F(FullDiskTest, LosesLogTextUntilThereIsRoom) {
    const std::string kept(4096, 'k');  // up to the end of a block of the disk
    DtFilePrinter log(path("run.log").c_str());
    log.write(kept, 2, true);
    fill();
    for (int i = 0; i < 1000; ++i)
        log.write("lost\n", 2, true);
    makeRoom();
    log.write("later\n", 2, true);
    EXPECT_EQ(readFile(path("run.log")), kept + "later\n");
}

#ifdef RTIQN_FOM_PROGRAM
TEST_F(FullDiskTest, LeavesAnEarlierModelAsItWas) {
    writeFile(path("merged.xml"), "as it was");
    fill();
    std::vector<std::string> words{RTIQN_FOM_PROGRAM, "merge", "--output", path("merged.xml")};
    for (const char* module : {"Base", "Cargo", "Datatypes", "Network", "Switches", "Traffic"})
        words.push_back(dataPath(std::string("fom/Harbour") + module + ".xml"));
    const Outcome merged = runToEnd(words);
    EXPECT_EQ(merged.status, 3);
    EXPECT_THAT(merged.err, HasSubstr("merged.xml: No space left on device"));
    EXPECT_EQ(readFile(path("merged.xml")), "as it was");
    makeRoom();
    const std::filesystem::directory_iterator left(path(""));
    EXPECT_EQ(std::distance(begin(left), end(left)), 1) << "nothing half written";
}

TEST_F(FullDiskTest, EndsARecordingWithWhatWasReceived) {
    RunningProgram listener({RTIQN_DIS_PROGRAM, "listen", "--bind", "127.0.0.1", "--port", "0",
                             "--for", "20", "--write", path("capture.pcap")});
    const std::string port = listener.awaitLine("listening on 127.0.0.1:");
    DtInetUdpSocket sender(udpLoopback(), 0, nullptr, theDtInetSockDefaultOptions, true);
    DtInetEndpoint to = udpLoopback(static_cast<unsigned short>(std::stoi(port)));
    std::string pdu(1400, '\0');
    pdu.replace(0, 12, std::string("\7\1\1\1\0\0\0\0\5\x78\0\0", 12));
    for (int i = 0; i < 100; ++i)
        sender.sendTo(pdu.data(), 1400, to, 0);
    const Outcome outcome = listener.finish();
    EXPECT_EQ(outcome.status, 3);
    EXPECT_THAT(outcome.err, HasSubstr("capture.pcap: No space left on device"));
    EXPECT_THAT(outcome.out, HasSubstr("datagrams with"));
    const Outcome read = runToEnd({RTIQN_DIS_PROGRAM, "read", path("capture.pcap")});
    EXPECT_THAT(read.out, HasSubstr("datagrams with")) << "what was written can be read";
}
#endif

// -------------------------------------------------------------------------------------------
// Out of descriptors

/// While it lives this process can open a given number of descriptors.
class FewDescriptors {
public:
    explicit FewDescriptors(rlim_t spare) {
        getrlimit(RLIMIT_NOFILE, &earlier_);
        for (int highest = highestOpen(), filler = 0; filler < highest;) {
            filler = fcntl(0, F_DUPFD_CLOEXEC, 0);
            fillers_.push_back(filler);
        }
        const rlimit few{static_cast<rlim_t>(fillers_.back()) + 1 + spare, earlier_.rlim_max};
        setrlimit(RLIMIT_NOFILE, &few);
    }
    FewDescriptors(const FewDescriptors&) = delete;
    FewDescriptors& operator=(const FewDescriptors&) = delete;
    ~FewDescriptors() {
        setrlimit(RLIMIT_NOFILE, &earlier_);
        for (const int filler : fillers_)
            close(filler);
    }

private:
    static int highestOpen() {
        int highest = 0;
        for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd"))
            highest = std::max(highest, std::stoi(entry.path().filename()));
        return highest;
    }

    rlimit earlier_{};
    std::vector<int> fillers_;
};

/// Makes something. Answers what was told beside warnings; nothing when all is well.
struct DescriptorCase {
    const char* name;
    std::function<std::string()> make;
};

constexpr unsigned int theQueues =
    theDtInetSockDefaultOptions | DtInetSockAsyncReceive | DtInetSockAsyncSend;

template <typename Socket>
std::string errorUnless(bool good, Socket& socket) {
    return good ? "" : "error: " + socket.getLastErrorString().stdString();
}

std::string openUdp(unsigned int options) {
    DtInetUdpSocket socket(udpLoopback(), 0, nullptr, options, true);
    return errorUnless(socket.state() == DtInetSockOpen, socket);
}

std::string openDis(unsigned int options) {
    DtDisSocket socket(udpLoopback(), 0, nullptr, options, true, true);
    return errorUnless(socket.state() == DtInetSockOpen, socket);
}

std::string openTcp(unsigned int options) {
    static ListeningServer server;
    DtInetTcpSocket client(server.endpoint, 0, nullptr, options, true), accepted;
    if (client.state() != DtInetSockOpen || !client.connectToDestination())
        return errorUnless(false, client);
    const bool good = server.socket.acceptConnection(&accepted, options);
    return errorUnless(good, server.socket);
}

const DescriptorCase theDescriptorCases[] = {
    {"UDP socket", [] { return openUdp(theDtInetSockDefaultOptions); }},
    {"UDP socket with queues", [] { return openUdp(theQueues); }},
    {"DIS socket", [] { return openDis(theDtInetSockDefaultOptions); }},
    {"DIS socket with queues", [] { return openDis(theQueues); }},
    {"TCP sockets", [] { return openTcp(theBlocking); }},
    {"TCP sockets with queues", [] { return openTcp(theAsync); }},
    {"descriptor for event loops",
     [] {
         DtInetUdpSocket socket(udpLoopback(), 0, nullptr, theDtInetSockDefaultOptions, true);
         if (socket.descriptor() < 0)
             return errorUnless(false, socket);
         return std::string(socket.pollDescriptor() >= 0 ? "" : "Too many open files");
     }},
    {"device", [] { return DtInetDevice("lo").isOk() ? "" : "no device"; }},
    {"log",
     [] {
         static const TemporaryFolder folder;
         DtFilePrinter log(folder.path("run.log").c_str());
         return log.isOpen() ? "" : "Too many open files";
     }},
    {"packet client",
     [] {
         DtPacketServerClient client;
         client.connect(99999);
         const std::string text = client.lastError().stdString();
         return text == "there is no packet server with key 99999" ? "" : text;
     }},
};

TEST(DescriptorsTest, TooFewAreToldAndNoneIsLost) {
    if (theBuildIsSanitized)
        GTEST_SKIP() << "sanitizers need descriptors to look at an object";
    for (const DescriptorCase& tried : theDescriptorCases) {
        SCOPED_TRACE(tried.name);
        EXPECT_EQ(tried.make(), "");
        const Holdings before = Holdings::now();
        std::string told;
        for (rlim_t spare = 0; spare == 0 || !told.empty(); ++spare) {
            const FewDescriptors few(spare);
            CapturedNotifications warnings(1);
            told = tried.make();
            told += told.empty() ? "" : warnings.take();
            EXPECT_TRUE(told.empty() ? spare > 0 : told.find("Too many open files") != told.npos)
                << told << " with " << spare;
        }
        EXPECT_EQ(Holdings::now().descriptors, before.descriptors);
    }
}

TEST(DescriptorsTest, ALogGoesOnWithTheOneItHas) {
    const TemporaryFolder folder;
    DtFilePrinter log(folder.path("run.log").c_str());
    {
        const FewDescriptors none(0);
        log.resetFile(folder.path("next.log").c_str());
        log.write("text\n", 2, true);
    }
    EXPECT_EQ(readFile(folder.path("next.log")), "text\n");
}

// -------------------------------------------------------------------------------------------
// No rights

/// Does the work as a user without rights, in a process of its own.
void asNobody(const std::function<void()>& work) {
    constexpr unsigned int nobody = 65534;
    if (geteuid() != 0)
        GTEST_SKIP() << "another user's files need root to be made";
    Child child([&] {
        if (setgid(nobody) != 0 || setuid(nobody) != 0)
            return 2;
        work();
        return testing::Test::HasFailure() ? 1 : 0;
    });
    EXPECT_EQ(child.wait(), 0);
}

bool hasPrivilegedPorts() {
    return readFile("/proc/sys/net/ipv4/ip_unprivileged_port_start") > "1\n";
}

TEST(RightsTest, APrivilegedPortIsRefused) {
    if (!hasPrivilegedPorts())
        GTEST_SKIP() << "any user may have any port here";
    asNobody([] {
        DtInetUdpSocket udp(udpLoopback(1), 0, nullptr, DtInetSockReceive, true);
        EXPECT_EQ(udp.getLastError(), EACCES);
        EXPECT_THAT(udp.getLastErrorString().stdString(), HasSubstr("bind: Permission denied"));
        udp.setLocalPort(0);
        EXPECT_TRUE(udp.openSocket());
        DtInetTcpSocket tcp(1, nullptr, DtInetUtils::IPv4, theBlocking, true);
        EXPECT_FALSE(tcp.listenForConnections());
        EXPECT_EQ(tcp.getLastError(), EACCES);
        EXPECT_THAT(tcp.getLastErrorString().stdString(), EndsWith("Permission denied"));
    });
}

TEST(RightsTest, MemoryAndSemaphoresOfAnotherUserAreRefused) {
    DtSharedMemoryPoolManager pool(uniquePoolName(), 1000);
    ASSERT_TRUE(pool.restrictToOwner());
    asNobody([&pool] {
        for (const auto& join : {+[](const DtString& name) { DtSharedMemoryPoolClient{name}; },
                                 +[](const DtString& name) {
                                     DtSharedMemoryPoolManager{name, 1000};
                                 }})
            EXPECT_THAT(problemOf([&] { join(pool.name()); }), EndsWith("Permission denied"));
    });
    const TestQueue open(1000, TestQueue::InSegment);
    open.open<Reader>(true, true);
    asNobody([&open] {
        const CapturedNotifications notifications;
        EXPECT_THAT(problemOf([&] { open.open<Writer>(false, true); }),
                    EndsWith("Permission denied"));
        EXPECT_EQ(notifications.text(), "setLock: Permission denied\n");
    });
}

TEST(RightsTest, ThePacketServerOfAnotherUserIsNotReached) {
    const ServerDirectory directory;
    const ScriptedServer server;
    asNobody([] {
        DtPacketServerClient client;
        EXPECT_FALSE(client.connect(ServerDirectory::theKey));
        EXPECT_THAT(client.lastError().stdString(),
                    EndsWith("cannot be reached: Permission denied"));
    });
}

TEST(RightsTest, ALogInAnothersFolderStaysClosedUntilItHasAPlace) {
    const TemporaryFolder folder;
    asNobody([&folder] {
        DtFilePrinter log(folder.path("run.log").c_str());
        EXPECT_FALSE(log.isOpen());
        log.write("lost\n", 2, true);
        const TemporaryFolder own;
        log.resetFile(own.path("run.log").c_str());
        log.write("kept\n", 2, true);
        EXPECT_EQ(readFile(own.path("run.log")), "kept\n");
    });
}

#ifdef RTIQN_FOM_PROGRAM
TEST(RightsTest, AModuleOfAnotherUserIsNamed) {
    const TemporaryFolder folder;
    writeFile(folder.path("module.xml"), readFile(dataPath("fom/HarbourBase.xml")));
    if (access(RTIQN_FOM_PROGRAM, X_OK) != 0)
        GTEST_SKIP() << "the program is in a folder of another user";
    asNobody([&folder] {
        const Outcome shown = runToEnd({RTIQN_FOM_PROGRAM, "show", folder.path("module.xml")});
        EXPECT_EQ(shown.status, 3) << shown.err;
        EXPECT_THAT(shown.err, HasSubstr("module.xml: Permission denied"));
    });
}
#endif

// -------------------------------------------------------------------------------------------
// A clock that is set

double theSeconds = 0;  ///< What the wall clock shows while a test has set it.

}  // namespace
}  // namespace OrynRti::Tests

/// In place of the system's, for the library as well.
extern "C" __attribute__((visibility("default"))) int gettimeofday(timeval* now, void*) noexcept {
    timespec true_{};
    clock_gettime(CLOCK_REALTIME, &true_);
    const double set = OrynRti::Tests::theSeconds;
    now->tv_sec = set != 0 ? static_cast<time_t>(set) : true_.tv_sec;
    now->tv_usec = set != 0 ? 0 : true_.tv_nsec / 1000;
    return 0;
}

namespace OrynRti::Tests {
namespace {

TEST(ClockTest, AClockThatIsSetBackGoesOnFromThere) {
    theSeconds = 100000;
    DtClock clock;
    theSeconds = 50000;
    EXPECT_EQ(clock.elapsedRealTime(), -50000);
    clock.setSimTime(7);
    EXPECT_EQ(clock.approximateElapsedRealTime(), -50000);
    const DtNetTimeStamp stamp(clock.elapsedRealTime(), DtTimeStampRelative);
    EXPECT_LT(stamp.time(), 3600);
    clock.init();
    theSeconds = 50001;
    EXPECT_EQ(clock.elapsedRealTime(), 1);
    theSeconds = 0;
}

/// No wait goes by the wall clock.
TEST(ClockTest, AClockThatIsSetBackHoldsNobodyUp) {
    Connection connection(theAsync, theAsync);
    theSeconds = 1;
    EXPECT_EQ(sendText(connection.client, "text"), 4);
    EXPECT_EQ(receiveText(connection.accepted), "text");
    EXPECT_EQ(connection.accepted.receiveTime(), 1);
    EXPECT_TRUE(connection.client.closeSocket());
    theSeconds = 0;
}

TEST(ClockTest, ALogRollsOnAfterItsClockIsSetBack) {
    struct Log : DtFilePrinter {
        time_t currentTime() override { return now; }
        time_t now = 100000;
    };
    const TemporaryFolder folder;
    Log log;
    log.resetFile(folder.path("run.log").c_str());
    log.setLogRollingInterval(60);
    for (const auto& [time, text] :
         {std::pair(50000, "back "), {50059, "same "}, {50061, "next"}}) {
        log.now = time;
        log.write(text, 2, false);
    }
    EXPECT_EQ(readFile(folder.path("run_1.log")), "back same ");
    EXPECT_EQ(readFile(folder.path("run.log")), "next");
}

}  // namespace
}  // namespace OrynRti::Tests
