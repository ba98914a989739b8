#include "platform/network/NetworkState.h"

#include <net/if_arp.h>
#include <sys/socket.h>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <utility>

namespace lumvik {

namespace {

bool canPassTraffic(const NetworkInterface &interface) {
    return interface.isUp && interface.isRunning && !interface.isLoopback;
}

} // namespace

bool InterfaceAddress::reachesOthers() const {
    if (bytes == AddressBytes{})
        return false;
    if (family == AF_INET)
        return bytes[0] != 127 && !(bytes[0] == 169 && bytes[1] == 254);
    constexpr AddressBytes loopback{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};
    return bytes != loopback && !(bytes[0] == 0xfe && (bytes[1] & 0xc0) == 0x80);
}

NetworkState networkInUse(const NetworkState &state) {
    NetworkState inUse;
    for (const NetworkInterface &interface : state.interfaces) {
        if (!canPassTraffic(interface))
            continue;
        NetworkInterface used = interface;
        used.name.clear();
        std::erase_if(used.addresses,
                      [](const InterfaceAddress &address) { return !address.reachesOthers(); });
        const std::size_t routesBefore = inUse.defaultRoutes.size();
        std::ranges::copy_if(
            state.defaultRoutes, std::back_inserter(inUse.defaultRoutes),
            [&](const DefaultRoute &route) { return route.interfaceIndex == interface.index; });
        const bool hasRoute = inUse.defaultRoutes.size() != routesBefore;
        const bool isVirtualBridge = used.isBridge && !used.bridgesHardware;
        used.isBridge = used.bridgesHardware = false;
        if (hasRoute || (!used.addresses.empty() && !isVirtualBridge))
            inUse.interfaces.push_back(std::move(used));
    }
    return inUse;
}

NetworkPathSignature networkPathSignature(const NetworkState &state) {
    NetworkPathSignature signature;
    for (const NetworkInterface &interface : networkInUse(state).interfaces) {
        signature.isSatisfied = true;
        if (interface.isWireless)
            signature.usesWiFi = true;
        else if (interface.hardwareType == ARPHRD_ETHER)
            signature.usesEthernet = true;
        else
            signature.usesOther = true;
    }
    return signature;
}

} // namespace lumvik
