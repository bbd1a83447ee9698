#include "Addresses.h"

#include <cerrno>

#include "Errors.h"

namespace RtiqnTools {

using namespace OrynRti;

namespace {

struct Split {
    std::string host;
    std::string suffix;
    int kind = DtInetUtils::NoSuffix;
};

Split split(const std::string& text) {
    DtString host, suffix;
    Split parts;
    DtInetUtils::parseNetResLoc(DtString(text.c_str()), host, suffix, parts.kind);
    parts.host = textOf(host);
    parts.suffix = textOf(suffix);
    return parts;
}

std::uint16_t portOf(const std::string& digits, const std::string& text) {
    const bool isNumber = !digits.empty() && digits.size() <= 5 &&
                          digits.find_first_not_of("0123456789") == std::string::npos;
    const int port = isNumber ? std::stoi(digits) : 0;
    if (port < 1 || port > 65535)
        throw UsageError("'" + text + "': the port must be 1 to 65535");
    return static_cast<std::uint16_t>(port);
}

DtInetEndpoint lookUp(const std::string& host, std::uint16_t port) {
    DtString text(host.c_str());
    DtInetEndpoint endpoint(text, port, DtInetUdp, DtInetUtils::NoFamily);
    if (!endpoint.isOk())
        throw NetworkError(textOf(endpoint.getLastErrorString()));
    return endpoint;
}

/// What to do about an error of the system.
const char* adviceOn(int error) {
    switch (error) {
        case EADDRNOTAVAIL:
            return "; 'ip address' lists the addresses of this host";
        case EADDRINUSE:
            return "; another program has that port for itself: end it, or take another port";
        case EACCES:
            return "; ports below 1024 are for those who may: take another one";
        case ENODEV:
        case ENETUNREACH:
            return "; there is no route there: name the network interface with --device";
        default:
            return "";
    }
}

}  // namespace

DtInetEndpoint parseTarget(const std::string& text, std::uint16_t defaultPort) {
    const Split parts = split(text);
    if (parts.host.empty() || parts.kind == DtInetUtils::NetmaskSuffix ||
        parts.kind == DtInetUtils::PrefixSuffix)
        throw UsageError("'" + text + "' is no destination");
    const bool hasPort = parts.kind == DtInetUtils::PortSuffix;
    return lookUp(parts.host, hasPort ? portOf(parts.suffix, text) : defaultPort);
}

DtInetAddr parseAddress(const std::string& text) {
    const Split parts = split(text);
    if (parts.host.empty() || parts.kind != DtInetUtils::NoSuffix)
        throw UsageError("'" + text + "' is no address");
    return lookUp(parts.host, 0).address();
}

DtInetAddr parseGroup(const std::string& text) {
    const DtInetAddr group = parseAddress(text);
    if (!group.isMulticast())
        throw UsageError("'" + text + "' is no multicast group");
    return group;
}

std::unique_ptr<DtInetDevice> openDevice(const std::string& text) {
    if (text.empty())
        return nullptr;
    auto device = std::make_unique<DtInetDevice>(DtString(text.c_str()));
    if (!device->isOk())
        throw NetworkError("cannot use device " + text + ": there is no such interface");
    return device;
}

std::string textOf(const DtString& text) {
    return text.c_str() ? text.c_str() : "";
}

std::string errorOf(const DtInetSocket& socket) {
    std::string text = textOf(socket.getLastErrorString());
    const std::string call = "(): ";  // of the library, which is nothing to its user
    if (const std::size_t end = text.find(call); end != std::string::npos)
        text.erase(0, end + call.size());
    for (std::size_t at = text.find('\n'); at != std::string::npos; at = text.find('\n', at))
        text.replace(at, 1, at + 1 == text.size() ? "" : ": ");
    return text + adviceOn(socket.getLastError());
}

}  // namespace RtiqnTools
