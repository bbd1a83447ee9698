// A server that sends back whatever it receives, with a thread for each client:
//     echo_server PORT
// Without a port it takes a free one and serves a single client, which it plays itself.
#include <cstdlib>
#include <memory>
#include <string>
#include <sys/socket.h>
#include <thread>

#include "InetTcpSocket.h"
#include "Print.h"

using namespace OrynRti;

void echo(DtInetTcpSocket& connection) {
    char bytes[4096];
    int size = 0;
    while ((size = connection.recv(bytes, sizeof bytes, 0)) > 0)
        if (connection.send(bytes, size, 0) != size)
            break;
    if (connection.getTerminationCode() != DtInetTcpSocket::theEndOfStreamCode)
        DtWarn << connection.getLastErrorString() << std::endl;
}

std::unique_ptr<DtInetTcpSocket> listenOn(unsigned short port) {
    auto server = std::make_unique<DtInetTcpSocket>(port, nullptr, DtInetUtils::IPv4,
                                                    theDtInetSockDefaultOptions, true);
    server->listenForConnections();
    return server;
}

int serveForEver(unsigned short port) {
    const auto server = listenOn(port);
    while (server->state() == DtInetSockListening) {
        auto connection = std::make_shared<DtInetTcpSocket>();
        if (server->acceptConnection(connection.get(), theDtInetSockDefaultOptions))
            std::thread([connection] { echo(*connection); }).detach();
        else
            DtWarn << server->getLastErrorString() << std::endl;
    }
    DtWarn << server->getLastErrorString() << std::endl;
    return 1;
}

int serveItself() {
    auto server = listenOn(47000);
    for (unsigned short port = 47001; !server->isOk() && port < 47100; ++port)
        server = listenOn(port);
    const DtInetEndpoint local(DtInetAddr("127.0.0.1"), server->localPort(), DtInetTcp);
    std::thread client([&local] {
        DtInetTcpSocket socket(local, 0, nullptr, theDtInetSockDefaultOptions, true);
        if (!socket.connectToDestination())
            return;
        std::string text("hello");
        socket.send(text.data(), static_cast<int>(text.size()), 0);
        socket.recv(text.data(), static_cast<int>(text.size()), MSG_WAITALL);
        DtInfo("the server answered \"%s\"\n", text.c_str());
    });
    DtInetTcpSocket connection;
    const bool accepted = server->acceptConnection(&connection, theDtInetSockDefaultOptions);
    if (accepted)
        echo(connection);
    client.join();
    return accepted ? 0 : 1;
}

int main(int argc, char** argv) {
    if (argc > 1)
        return serveForEver(static_cast<unsigned short>(std::atoi(argv[1])));
    return serveItself();
}
