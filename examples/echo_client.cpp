// A client whose sends and receives go through queues, so that it never waits but in poll():
//     echo_client HOST PORT TEXT
// sends the text and prints what comes back. Without arguments it talks to a socket of its own.
#include <cstdlib>
#include <poll.h>
#include <string>

#include "InetTcpSocket.h"
#include "Print.h"

using namespace OrynRti;

constexpr unsigned int theQueues = DtInetSockAsyncSend | DtInetSockAsyncReceive;
constexpr unsigned int theOptions = theDtInetSockDefaultOptions | theQueues;

/// What has come from the peer when it is `size` bytes, or when there is no more.
std::string receive(DtInetTcpSocket& socket, std::size_t size) {
    std::string all;
    std::string chunk(DtInetUtils::getMaxPacketBufferSize(), '\0');
    while (all.size() < size) {
        const int received = socket.recv(chunk.data(), static_cast<int>(chunk.size()), 0);
        if (received < 0)
            break;
        all.append(chunk, 0, static_cast<std::size_t>(received));
        pollfd waited{socket.pollDescriptor(), POLLIN, 0};
        if (received == 0)
            poll(&waited, 1, -1);
    }
    return all;
}

bool exchange(const DtInetEndpoint& server, std::string text) {
    DtInetTcpSocket client(server, 0, nullptr, theOptions, true);
    if (!client.connectToDestination() ||
        client.send(text.data(), static_cast<int>(text.size()), 0) < 0) {
        DtWarn << client.getLastErrorString() << std::endl;
        return false;
    }
    const std::string answer = receive(client, text.size());
    DtInfo("%s\n", answer.c_str());
    return answer == text;
}

/// Plays the server as well: since nothing waits, one thread can do both by turns.
bool talkToItself() {
    const unsigned int options = theDtInetSockDefaultOptions;
    unsigned short port = 47100;
    DtInetTcpSocket server(port, nullptr, DtInetUtils::IPv4, options, true);
    while (!server.listenForConnections() && ++port < 47200) {
        server.closeSocket();
        server.setLocalPort(port);
        server.openSocket();
    }
    const DtInetEndpoint local(DtInetAddr("127.0.0.1"), port, DtInetTcp);
    DtInetTcpSocket client(local, 0, nullptr, theOptions, true);
    DtInetTcpSocket connection;
    if (!client.connectToDestination() || !server.acceptConnection(&connection, theOptions))
        return false;
    std::string text("hello");
    client.send(text.data(), static_cast<int>(text.size()), 0);
    std::string echoed = receive(connection, text.size());
    connection.send(echoed.data(), static_cast<int>(echoed.size()), 0);
    const std::string answer = receive(client, text.size());
    DtInfo("the socket answered \"%s\"\n", answer.c_str());
    return answer == text;
}

int main(int argc, char** argv) {
    if (argc < 4)
        return talkToItself() ? 0 : 1;
    DtString host(argv[1]);
    const auto port = static_cast<unsigned short>(std::atoi(argv[2]));
    DtInetEndpoint server(host, port, DtInetTcp, DtInetUtils::IPv4);
    if (!server.isOk()) {
        DtWarn << server.getLastErrorString() << std::endl;
        return 1;
    }
    return exchange(server, argv[3]) ? 0 : 1;
}
