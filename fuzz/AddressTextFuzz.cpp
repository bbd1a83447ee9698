// Addresses, locators and netmasks from text. Nothing here may reach the name service: what
// would resolve other texts is given literals only.
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>

#include "InetAddr.h"
#include "InetAddrUtils.h"
#include "InetEndpoint.h"

using namespace OrynRti;

namespace {

void require(bool holds) {
    if (!holds)
        std::abort();
}

/// What a locator's address part gives, another reading of it must give again.
void buildLiteral(const DtString& addr, const DtString& suffix,
                  DtInetUtils::DtInetAddrFamily family) {
    const DtInetAddr value(addr, suffix);
    require(value.family() == family);
    require(DtInetUtils::isLoopbackAddrString(addr) == value.isLoopback());
    require(DtInetUtils::isMulticastAddrString(addr) == value.isMulticast());
    require(DtInetAddr(value.toU128(), family) == value);
    const DtInetEndpoint endpoint(value, 3000, DtInetUdp);
    require(DtInetAddr(value.toDtString()) == value);
    require(!endpoint.toDtString(true).isEmpty());
}

void splitLocator(const DtString& text) {
    DtString addr;
    DtString suffix;
    int kind = 9;
    const auto family = DtInetUtils::parseNetResLoc(text, addr, suffix, kind);
    require(kind >= DtInetUtils::NoSuffix && kind <= DtInetUtils::PrefixSuffix);
    if (family != DtInetUtils::NoFamily) {
        buildLiteral(addr, suffix, family);
        DtString endpointText(text);
        DtInetEndpoint endpoint;
        require(endpoint.hostLookup(endpointText, 3000, DtInetUtils::NoFamily));
        require(endpoint.port() == 3000 && endpoint.family() == family);
    }
}

void askKinds(const DtString& text) {
    DtInetUtils::addrStringFamily(text);
    DtInetUtils::isLinkLocalAddrString(text);
    DtInetUtils::isBroadcastAddrString(text, "255.255.0.0");
    DtInetUtils::isBroadcastAddrString("10.0.255.255", text);
}

void readNetmasks(const DtString& text) {
    const unsigned int netmask = DtInetUtils::convertStringToNetmask(text);
    const unsigned int length = DtInetUtils::convertStringToPrefixLen(text);
    require(length == 0 || length == DtInetUtils::netmaskToPrefixLen(netmask));
    DtHexStringToInetAddr(text.c_str());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    const DtString text(bytes.c_str());
    splitLocator(text);
    askKinds(text);
    readNetmasks(text);
    return 0;
}
