// Clients and servers are killed at random moments.
#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iterator>
#include <random>
#include <set>
#include <sys/ipc.h>

#include "PoolName.h"
#include "Print.h"
#include "tools-packetserver/PacketServer.h"

namespace RtiqnPacketServer {
namespace {

using namespace Tests;
using testing::HasSubstr;
using testing::IsEmpty;

const std::string theAny = ofSize(200);

/// The names of the pools that there are of a key, with the files they go by.
std::vector<std::string> poolsOf(int key) {
    std::vector<std::string> names;
    for (const auto& file : std::filesystem::directory_iterator("/tmp")) {
        const auto name = PoolName::parse(file.path().stem().string());
        if (name && name->key == key)
            names.push_back(file.path().string());
    }
    return names;
}

/// The lines of a table of the system, in numbers.
std::vector<std::vector<long>> tableOf(const char* path) {
    std::istringstream lines(readFile(path));
    std::vector<std::vector<long>> table;
    for (std::string line; std::getline(lines, line);) {
        std::istringstream numbers(line);
        table.emplace_back(std::istream_iterator<long>(numbers), std::istream_iterator<long>());
    }
    return table;
}

/// What the system has of processes that may be gone, to be asked in the end.
class Traces {
public:
    void remember(int key, pid_t process) {
        processes_.insert(process);
        for (const std::string& file : poolsOf(key))
            keys_.insert(::ftok(file.c_str(), 0));
    }

    std::vector<std::string> left() const {
        std::vector<std::string> left;
        for (const auto& segment : tableOf("/proc/sysvipc/shm"))
            if (segment.size() > 4 && processes_.count(static_cast<pid_t>(segment[4])) > 0)
                left.push_back("segment " + std::to_string(segment[1]));
        for (const auto& semaphores : tableOf("/proc/sysvipc/sem"))
            if (semaphores.size() > 1 && isOurs(static_cast<key_t>(semaphores[0])))
                left.push_back("semaphores " + std::to_string(semaphores[1]));
        return left;
    }

private:
    /// Not another program's that has got the same key since.
    bool isOurs(key_t key) const {
        if (key == -1 || keys_.count(key) == 0)
            return false;
        for (const auto& file : std::filesystem::directory_iterator("/tmp"))
            if (::ftok(file.path().c_str(), 0) == key)
                return false;
        return true;
    }

    std::set<pid_t> processes_;
    std::set<key_t> keys_;
};

/// Receives for ever, from one server after the other.
int receiveForEver(const PacketServer& server) {
    DtNotifyLevel = 0;
    Client client;
    client.options.queueSize_bytes = 2048;
    client.options.timeout_s = 0.1;
    for (;;)
        if (!client.isConnected())
            client.connect(server.key(), client.options);
        else if (client.next(0.005) == std::to_string(DtPacketNone))
            client.requestState();  // finds out when there is none
}

class Kill : public testing::Test {
protected:
    /// Some traffic, all of which the survivor gets.
    void serve(int count) {
        for (int i = 0; i < count; ++i)
            serveDuring([] {});
    }

    /// The same, with something that happens while packets are under way.
    template <typename Event>
    void serveDuring(Event event) {
        const int count = upTo(5) + 1;
        for (int i = 0; i < count; ++i)
            server.send(theAny);
        event();
        for (int i = 0; i < count; ++i)
            ASSERT_EQ(survivor.next(), theAny);
    }

    /// Ends with the server whose packets are under way.
    void killServer() {
        for (int i = upTo(20); i > 0; --i)
            server.send(theAny);
        server.program().kill();
        const std::string gone = std::to_string(DtPacketServerGone);
        for (std::string got; got != gone; got = survivor.next(0.001))
            if (got == std::to_string(DtPacketNone))
                survivor.requestState();
        server.start();
        survivor.join(server);
    }

    int upTo(int most) { return std::uniform_int_distribution<int>(0, most)(random); }

    PacketServer server;
    Client survivor{server};
    std::mt19937 random{std::random_device{}()};
    Traces traces;
};

TEST_F(Kill, ClientsAndServersLeaveNothingAndHarmNobody) {
    constexpr int theClientKills = 100, theKillsPerServer = 5;
    std::unique_ptr<Child> clients[3];
    for (int kill = 0; kill < theClientKills; ++kill) {
        std::unique_ptr<Child>& client = clients[upTo(2)];
        client = std::make_unique<Child>([&] { return receiveForEver(server); });
        serve(upTo(100));
        traces.remember(server.key(), client->pid());
        serveDuring([&] { client->kill(); });
        if (kill % theKillsPerServer == 0)
            killServer();
        serve(3);
    }
    for (std::unique_ptr<Child>& client : clients)
        client.reset();
    EXPECT_EQ(survivor.statistics().missed, 0u);
    survivor.close();
    server.stop();
    EXPECT_THAT(poolsOf(server.key()), IsEmpty());
    EXPECT_THAT(traces.left(), IsEmpty());
    EXPECT_TRUE(std::filesystem::is_empty(server.folder()));
}

/// Before its parent has learned of its end, and after.
TEST_F(Kill, AClientThatItsParentForgetsIsRemovedWhenTheParentRemembers) {
    Child client([&] { return receiveForEver(server); });
    const std::string process = "(process " + std::to_string(client.pid()) + ")";
    server.program().awaitLine(process + " added");
    ::kill(client.pid(), SIGKILL);
    server.program().awaitLine(process + " ended without a word");
    EXPECT_THAT(poolsOf(server.key()), testing::SizeIs(2));
    client.wait();
    while (poolsOf(server.key()).size() > 1)
        serve(1);
    EXPECT_THAT(server.stop().out, HasSubstr("1  queues removed that killed clients had left"));
}

}  // namespace
}  // namespace RtiqnPacketServer
