#ifndef TESTS_TOOLS_PACKETSERVER_PACKETSERVER_H
#define TESTS_TOOLS_PACKETSERVER_PACKETSERVER_H

#include <arpa/inet.h>
#include <memory>
#include <stdexcept>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "CliServer.h"
#include "PacketServerClient.h"
#include "support/Program.h"
#include "transport/DisPdus.h"
#include "transport/ShmSupport.h"

namespace RtiqnPacketServer::Tests {

using namespace OrynRti;
using namespace OrynRti::Tests;

/// The server program, with its paths in a folder of the test's own, on a port of 127.0.0.1 that
/// the system has chosen. This process finds it, too.
class PacketServer {
public:
    explicit PacketServer(const std::vector<std::string>& options = {}) {
        ::chmod(folder_.path().c_str(), 0755);
        DtSetPacketServerDirectory(DtString(folder_.path().c_str()));
        start(options);
    }

    /// Is back when the server serves. It reads the port that it has had before.
    void start(const std::vector<std::string>& options = {}) {
        std::vector<std::string> words = command("run");
        words.insert(words.end(), {"--bind", "127.0.0.1", "--port", port_});
        words.insert(words.end(), options.begin(), options.end());
        program_ = std::make_unique<RunningProgram>(words);
        const std::string line = program_->awaitLine("reading 127.0.0.1:");
        port_ = line.substr(0, line.find(','));
    }

    /// Runs another command on it to the end.
    Outcome ask(const std::string& name, const std::vector<std::string>& options = {}) const {
        std::vector<std::string> words = command(name);
        words.insert(words.end(), options.begin(), options.end());
        return runToEnd(words);
    }

    /// Ends it in order; what it has left.
    Outcome stop() {
        EXPECT_EQ(ask("stop").status, 0);
        return program_->finish();
    }

    RunningProgram& program() { return *program_; }
    const std::string& folder() const { return folder_.path(); }

    int key() const { return key_; }
    const std::string& port() const { return port_; }

    /// Groups are sent to over the loopback interface.
    void send(const std::string& datagram, const char* address = "127.0.0.1") const {
        sockaddr_in to{};
        to.sin_family = AF_INET;
        to.sin_port = htons(static_cast<std::uint16_t>(std::stoi(port_)));
        to.sin_addr.s_addr = ::inet_addr(address);
        sender_->sendTo(to, datagram);
    }
    std::uint16_t senderPort() const { return sender_->port(); }

private:
    /// A bare socket.
    class Sender {
    public:
        Sender() : socket_(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
            sockaddr_in address = any();
            ::bind(socket_, reinterpret_cast<sockaddr*>(&address), sizeof address);
            ::setsockopt(socket_, IPPROTO_IP, IP_MULTICAST_IF, &address.sin_addr,
                         sizeof address.sin_addr);
        }
        ~Sender() { ::close(socket_); }
        Sender(const Sender&) = delete;
        Sender& operator=(const Sender&) = delete;

        void sendTo(const sockaddr_in& to, const std::string& bytes) const {
            ::sendto(socket_, bytes.data(), bytes.size(), 0, reinterpret_cast<const sockaddr*>(&to),
                     sizeof to);
        }

        std::uint16_t port() const {
            sockaddr_in address{};
            socklen_t size = sizeof address;
            ::getsockname(socket_, reinterpret_cast<sockaddr*>(&address), &size);
            return ntohs(address.sin_port);
        }

    private:
        static sockaddr_in any() {
            sockaddr_in address{};
            address.sin_family = AF_INET;
            address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
            return address;
        }

        int socket_;
    };

    std::vector<std::string> command(const std::string& name) const {
        return {RTIQN_PACKETSERVER_PROGRAM, name, "--directory", folder_.path(), "--key",
                std::to_string(key_)};
    }

    TemporaryFolder folder_;
    int key_ = static_cast<int>(::getpid() % 100000);
    std::string port_ = "0";
    std::unique_ptr<Sender> sender_ = std::make_unique<Sender>();
    std::unique_ptr<RunningProgram> program_;
};

/// A client in this process.
class Client : public DtPacketServerClient {
public:
    static constexpr double theLongTime_s = 20;

    Client() { options.timeout_s = theLongTime_s; }
    explicit Client(const PacketServer& server) : Client() { join(server); }

    void join(const PacketServer& server) {
        if (!connect(server.key(), options))
            throw std::runtime_error(lastError().c_str());
    }

    /// The next packet, or the number of another outcome.
    std::string next(double timeout_s = theLongTime_s) {
        buffer_.resize(65536);
        int length = 0;
        const DtPacketOutcome outcome =
            receive(buffer_.data(), static_cast<int>(buffer_.size()), length, timeout_s, &sender);
        return outcome == DtPacketReceived
                   ? std::string(buffer_.data(), static_cast<std::size_t>(length))
                   : std::to_string(outcome);
    }

    /// Is back when the server has done what was asked of it. There must be no packets under way.
    void settle() {
        const std::uint64_t answers = statistics().stateAnswers;
        EXPECT_TRUE(requestState()) << lastError();
        while (isConnected() && statistics().stateAnswers == answers)
            next(0.01);
    }

    void accept(DtCsFilterTest test, std::vector<unsigned int> values) {
        setFilter(test, DtPduAcceptListed, static_cast<int>(values.size()), values.data());
    }

    DtPacketServerClientOptions options;
    DtInetEndpoint sender;

private:
    std::vector<char> buffer_;
};

}  // namespace RtiqnPacketServer::Tests

#endif
